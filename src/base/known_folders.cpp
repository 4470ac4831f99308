#include "base/known_folders.h"

#include "base/text.h"

namespace tessaroven {
namespace {

constexpr std::string_view kKeyHead = "XDG_";
constexpr std::string_view kKeyTail = "_DIR";

std::string_view TrimSpace(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

struct UserDirValue {
  bool belowHome = false;  // began with an unescaped "$HOME" or "${HOME}"
  std::string rest;        // what follows that reference, escapes resolved
};

// The quoted value that opens `text`; nullopt when it is not quoted or the closing
// quote is missing. Only a reference at the very start is expanded, and only when
// it is not escaped, as the shell that also reads this file would do.
std::optional<UserDirValue> QuotedValue(std::string_view text) {
  if (text.empty() || text.front() != '"') return std::nullopt;
  UserDirValue value;
  std::size_t i = 1;
  for (const std::string_view reference : {std::string_view("$HOME"), std::string_view("${HOME}")}) {
    const std::size_t after = 1 + reference.size();
    if (text.substr(1, reference.size()) == reference && after < text.size() &&
        (text[after] == '/' || text[after] == '"')) {
      value.belowHome = true;
      i = after;
      break;
    }
  }
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') return value;
    if (c == '\\' && i + 1 < text.size()) {
      value.rest.push_back(text[++i]);
    } else {
      value.rest.push_back(c);
    }
  }
  return std::nullopt;
}

std::u16string WithoutTrailingSlashes(std::u16string path) {
  while (path.size() > 1 && path.back() == u'/') path.pop_back();
  return path;
}

}  // namespace

std::map<std::string, std::u16string> ParseXdgUserDirs(std::string_view content, std::u16string_view home) {
  const std::u16string homeFolder = WithoutTrailingSlashes(std::u16string(home));
  std::map<std::string, std::u16string> folders;
  while (!content.empty()) {
    const auto end = content.find('\n');
    std::string_view line = content.substr(0, end);
    content = end == std::string_view::npos ? std::string_view() : content.substr(end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);

    line = TrimSpace(line);
    if (line.empty() || line.front() == '#') continue;
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string_view key = TrimSpace(line.substr(0, equals));
    if (key.size() <= kKeyHead.size() + kKeyTail.size() || key.substr(0, kKeyHead.size()) != kKeyHead ||
        key.substr(key.size() - kKeyTail.size()) != kKeyTail)
      continue;
    const auto value = QuotedValue(TrimSpace(line.substr(equals + 1)));
    if (!value) continue;

    std::u16string path;
    if (value->belowHome) {
      if (homeFolder.empty()) continue;  // nothing to expand it to
      path = homeFolder == u"/" ? std::u16string() : homeFolder;
      path += Utf8ToUtf16(value->rest);
      if (path.empty()) path.push_back(u'/');
    } else if (!value->rest.empty() && value->rest.front() == '/') {
      path = Utf8ToUtf16(value->rest);
    } else {
      continue;  // relative paths are not allowed in the file
    }
    path = WithoutTrailingSlashes(std::move(path));
    if (path == homeFolder) path.clear();  // the user's way of switching the folder off
    folders[std::string(key.substr(kKeyHead.size(), key.size() - kKeyHead.size() - kKeyTail.size()))] = std::move(path);
  }
  return folders;
}

}  // namespace tessaroven
