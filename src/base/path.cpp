#include "base/path.h"

#include <array>

#include "base/platform.h"
#include "base/text.h"

namespace tessaroven {
namespace {

constexpr char16_t kOtherSeparator = kPathSeparator == u'\\' ? u'/' : u'\\';
constexpr std::size_t kMaxComponent = 255;

// Length of the root prefix of `path` that sanitising must leave alone: "/" on
// Linux; "X:\", "\\server\share\" and "\\?\X:\" on Windows. 0 when there is none.
std::size_t RootLength(std::u16string_view path) {
  if constexpr (!kIsWindows) {
    return !path.empty() && path[0] == u'/' ? 1 : 0;
  } else {
    std::size_t start = 0;
    if (path.substr(0, 4) == u"\\\\?\\") start = 4;
    const std::u16string_view rest = path.substr(start);
    if (rest.size() >= 3 && rest[1] == u':' && rest[2] == u'\\' &&
        ((rest[0] >= u'A' && rest[0] <= u'Z') || (rest[0] >= u'a' && rest[0] <= u'z')))
      return start + 3;
    if (start == 0 && rest.substr(0, 2) == u"\\\\") {
      // \\server\share\ : the server and share names end the root.
      const std::size_t server = rest.find(u'\\', 2);
      if (server == std::u16string_view::npos) return rest.size();
      const std::size_t share = rest.find(u'\\', server + 1);
      return share == std::u16string_view::npos ? rest.size() : share + 1;
    }
    return start;
  }
}

char16_t Replacement(char16_t c, bool keepSeparators) {
  switch (c) {
    case u'"': return u'\'';
    case u'<': return u'\u00AB';
    case u'>': return u'\u00BB';
    case u'?': return u'\u00BF';
    case u':': return u';';
    case u'*':
    case u'|':
    case kOtherSeparator: return u'-';
    case kPathSeparator: return keepSeparators ? c : u'-';
    default: return c;
  }
}

bool IsReservedDeviceName(std::u16string_view component) {
  // Stored in mixed case on purpose: they only ever match through the fold.
  static constexpr std::array<std::u16string_view, 4> kReserved = {u"cOn", u"aUx", u"pRn", u"nUl"};
  for (const auto name : kReserved)
    if (AsciiFoldEquals(component, name)) return true;
  return false;
}

}  // namespace

bool IsPathSeparator(char16_t c) { return c == kPathSeparator; }

bool IsAbsolutePath(std::u16string_view path) {
  if constexpr (kIsWindows) {
    if (!path.empty() && (path[0] == u'\\' || path[0] == u'/')) return true;
  }
  return RootLength(path) > 0;
}

std::u16string WithTrailingSeparator(std::u16string_view path) {
  if (path.empty()) return {};
  std::size_t end = path.size();
  while (end > 0 && IsPathSeparator(path[end - 1])) --end;
  std::u16string result(path.substr(0, end));
  result.push_back(kPathSeparator);
  return result;
}

std::u16string_view FileNameOf(std::u16string_view path) {
  const std::size_t at = path.rfind(kPathSeparator);
  return at == std::u16string_view::npos ? path : path.substr(at + 1);
}

std::u16string_view FolderOf(std::u16string_view path) {
  const std::size_t at = path.rfind(kPathSeparator);
  return at == std::u16string_view::npos ? std::u16string_view{} : path.substr(0, at + 1);
}

std::u16string_view ExtensionOf(std::u16string_view path) {
  const std::u16string_view name = FileNameOf(path);
  const std::size_t dot = name.rfind(u'.');
  return dot == std::u16string_view::npos ? std::u16string_view{} : name.substr(dot);
}

bool SamePath(std::u16string_view a, std::u16string_view b, std::size_t n) {
  if (n > 0) {
    // A prefix test in the manner of wcsnicmp: a string that ends inside the first
    // n characters only matches one that ends at the same place.
    if (a.size() > n) a = a.substr(0, n);
    if (b.size() > n) b = b.substr(0, n);
  }
  if (a.size() != b.size()) return false;
  if constexpr (kPathsFoldCase) return AsciiFoldCompare(a, b) == 0;
  return a == b;
}

bool PathStartsWith(std::u16string_view path, std::u16string_view prefix) {
  return !prefix.empty() && path.size() >= prefix.size() && SamePath(path, prefix, prefix.size());
}

std::u16string AddLongPathPrefix(std::u16string_view path, std::size_t limit) {
  if (path.size() >= limit && path.substr(0, 2) != u"\\\\") return u"\\\\?\\" + std::u16string(path);
  return std::u16string(path);
}

std::u16string MakeLongPath(std::u16string_view path, std::size_t limit) {
  if constexpr (kIsWindows) return AddLongPathPrefix(path, limit);
  return std::u16string(path);
}

bool IsRootPath(std::u16string_view path) { return !path.empty() && RootLength(path) == path.size(); }

std::u16string MakeValidFileName(std::u16string_view text, bool keepSeparators) {
  const std::size_t rootLength = keepSeparators ? RootLength(text) : 0;
  const std::u16string root(text.substr(0, rootLength));

  // 1. Forbidden characters become look-alikes.
  std::u16string body(text.substr(rootLength));
  for (auto& c : body) c = Replacement(c, keepSeparators);

  // 2. and 3. Every component at most 255 characters; device names made harmless.
  std::u16string cleaned;
  cleaned.reserve(body.size() + 4);
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = body.find(kPathSeparator, start);
    std::u16string_view component =
        std::u16string_view(body).substr(start, end == std::u16string::npos ? std::u16string::npos : end - start);
    if (component.size() > kMaxComponent) component = component.substr(0, kMaxComponent);
    cleaned += component;
    if (IsReservedDeviceName(component)) cleaned.push_back(u'_');
    if (end == std::u16string::npos) break;
    cleaned.push_back(kPathSeparator);
    start = end + 1;
  }

  // 4. Dots and spaces before a separator go, however many there are.
  std::u16string trimmed;
  trimmed.reserve(cleaned.size());
  for (char16_t c : cleaned) {
    if (c == kPathSeparator)
      while (!trimmed.empty() && (trimmed.back() == u'.' || trimmed.back() == u' ')) trimmed.pop_back();
    trimmed.push_back(c);
  }

  // 5. No trailing separator; the root keeps its own, which is not part of `trimmed`.
  if (!trimmed.empty() && trimmed.back() == kPathSeparator) trimmed.pop_back();
  return root + trimmed;
}

}  // namespace tessaroven
