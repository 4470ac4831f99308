#include "base/reg_file.h"

#include <cstring>

#include "base/settings.h"
#include "base/text.h"

namespace tessaroven {
namespace {

bool IsBlankChar(char16_t c) { return c == u' ' || c == u'\t'; }

std::u16string_view TrimLeft(std::u16string_view s) {
  std::size_t p = 0;
  while (p < s.size() && IsBlankChar(s[p])) ++p;
  return s.substr(p);
}

std::u16string_view Trim(std::u16string_view s) {
  s = TrimLeft(s);
  while (!s.empty() && IsBlankChar(s.back())) s.remove_suffix(1);
  return s;
}

bool IsBlank(std::u16string_view s) { return TrimLeft(s).empty(); }
bool IsBlank(std::string_view s) { return s.find_first_not_of(" \t") == std::string_view::npos; }

int HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

bool StartsWithFolded(std::u16string_view s, std::u16string_view prefix) {
  return s.size() >= prefix.size() && AsciiFoldEquals(s.substr(0, prefix.size()), prefix);
}

// Text the format can carry in a name or a key path: no line breaks, no NULs and
// only paired surrogates (a lone one would not survive the trip through UTF-8).
bool IsCarriable(std::u16string_view s) {
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char16_t c = s[i];
    if (c == 0 || c == u'\r' || c == u'\n') return false;
    if (c >= 0xD800 && c <= 0xDBFF) {
      if (i + 1 >= s.size() || s[i + 1] < 0xDC00 || s[i + 1] > 0xDFFF) return false;
      ++i;
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      return false;
    }
  }
  return true;
}

bool HasUnpairedSurrogate(std::u16string_view s) {
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char16_t c = s[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      return true;
    }
  }
  return false;
}

// A key path as the document keeps it: trailing backslashes dropped; nullopt when it
// has an empty component, starts with "-" (the format's "delete this key") or holds
// text the format cannot carry.
// Every setting read passes here, so the checks share one pass over the text.
std::optional<std::u16string_view> NormalKeyPath(std::u16string_view path) {
  while (!path.empty() && path.back() == u'\\') path.remove_suffix(1);
  if (path.empty() || path.front() == u'-' || path.front() == u'\\') return std::nullopt;
  char16_t previous = 0;
  for (std::size_t i = 0; i < path.size(); ++i) {
    const char16_t c = path[i];
    if (c == 0 || c == u'\r' || c == u'\n') return std::nullopt;
    if (c == u'\\' && previous == u'\\') return std::nullopt;  // an empty component
    if (c >= 0xD800 && c <= 0xDFFF) {
      if (c >= 0xDC00 || i + 1 >= path.size() || path[i + 1] < 0xDC00 || path[i + 1] > 0xDFFF) return std::nullopt;
      ++i;
    }
    previous = c;
  }
  return path;
}

// Reads a quoted string starting at s[p] == '"'; only \\ and \" are escapes.
bool ParseQuoted(std::u16string_view s, std::size_t& p, std::u16string& out) {
  ++p;
  // Most quoted texts have no escapes: take them whole.
  const std::size_t stop = s.find_first_of(u"\"\\", p);
  if (stop != std::u16string_view::npos && s[stop] == u'"') {
    out.append(s.substr(p, stop - p));
    p = stop + 1;
    return true;
  }
  while (p < s.size()) {
    const char16_t c = s[p++];
    if (c == u'"') return true;
    if (c == u'\\') {
      if (p >= s.size() || (s[p] != u'\\' && s[p] != u'"')) return false;
      out.push_back(s[p++]);
    } else {
      out.push_back(c);
    }
  }
  return false;
}

// Reads "xx,xx,..." optionally ending in a backslash that continues the list on the
// next line. A trailing comma is tolerated.
bool ParseHexBytes(std::u16string_view s, std::vector<std::uint8_t>& out, bool& continues) {
  continues = false;
  std::size_t p = 0;
  auto skipBlanks = [&] {
    while (p < s.size() && IsBlankChar(s[p])) ++p;
  };
  for (;;) {
    skipBlanks();
    if (p == s.size()) return true;
    if (s[p] == u'\\') {
      ++p;
      skipBlanks();
      continues = true;
      return p == s.size();
    }
    int digits = 0;
    unsigned byte = 0;
    while (p < s.size() && digits < 2 && HexDigit(s[p]) >= 0) {
      byte = byte * 16 + static_cast<unsigned>(HexDigit(s[p++]));
      ++digits;
    }
    if (digits == 0) return false;
    out.push_back(static_cast<std::uint8_t>(byte));
    skipBlanks();
    if (p == s.size()) return true;
    if (s[p] == u',') {
      ++p;
    } else if (s[p] != u'\\') {
      return false;
    }
  }
}

bool ParseHexNumber(std::u16string_view s, std::uint32_t& value) {
  if (s.empty() || s.size() > 8) return false;
  value = 0;
  for (char16_t c : s) {
    const int d = HexDigit(c);
    if (d < 0) return false;
    value = value * 16 + static_cast<std::uint32_t>(d);
  }
  return true;
}

// Parses the value line lines[first] and its continuation lines. Returns how many
// lines it took, or 0 when the line is not a value the format defines.
std::size_t ParseValue(const std::vector<std::u16string_view>& lines, std::size_t first, std::u16string& name,
                       RegValue& value) {
  const std::u16string_view s = TrimLeft(lines[first]);
  std::size_t p = 0;
  name.clear();
  if (s[p] == u'@') {
    ++p;
  } else if (!ParseQuoted(s, p, name)) {
    return 0;
  }
  while (p < s.size() && IsBlankChar(s[p])) ++p;
  if (p == s.size() || s[p] != u'=') return 0;
  ++p;
  const std::u16string_view data = Trim(s.substr(p));
  value = RegValue{};

  if (!data.empty() && data.front() == u'"') {
    std::size_t q = 0;
    std::u16string text;
    if (!ParseQuoted(data, q, text) || q != data.size()) return 0;
    value.type = kRegSz;
    value.data = Utf16LeBytes(text, true);
    return 1;
  }
  if (StartsWithFolded(data, u"dword:")) {
    std::uint32_t number = 0;
    if (!ParseHexNumber(Trim(data.substr(6)), number)) return 0;
    value.type = kRegDword;
    value.data = {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8),
                  static_cast<std::uint8_t>(number >> 16), static_cast<std::uint8_t>(number >> 24)};
    return 1;
  }
  if (!StartsWithFolded(data, u"hex")) return 0;
  std::u16string_view rest = data.substr(3);
  if (!rest.empty() && rest.front() == u'(') {
    const std::size_t close = rest.find(u')');
    if (close == std::u16string_view::npos || !ParseHexNumber(rest.substr(1, close - 1), value.type)) return 0;
    rest = rest.substr(close + 1);
  } else {
    value.type = kRegBinary;
  }
  if (rest.empty() || rest.front() != u':') return 0;
  bool continues = false;
  if (!ParseHexBytes(rest.substr(1), value.data, continues)) return 0;
  std::size_t used = 1;
  while (continues) {
    if (first + used >= lines.size()) return 0;  // cut off at the end of the file
    if (!ParseHexBytes(lines[first + used], value.data, continues)) return 0;
    ++used;
  }
  return used;
}

// Text that fits between quotes: UTF-16 with exactly one NUL, at the end, no line
// breaks and no unpaired surrogates. Anything else is kept as hex so that the exact
// bytes come back.
bool IsPlainText(const std::vector<std::uint8_t>& data, std::u16string& text) {
  if (data.size() < 2 || data.size() % 2 != 0) return false;
  text.clear();
  for (std::size_t i = 0; i + 2 < data.size(); i += 2)
    text.push_back(static_cast<char16_t>(data[i] | (data[i + 1] << 8)));
  if (data[data.size() - 2] != 0 || data[data.size() - 1] != 0) return false;
  for (char16_t c : text)
    if (c == 0 || c == u'\r' || c == u'\n') return false;
  return !HasUnpairedSurrogate(text);
}

void AppendQuoted(std::u16string& out, std::u16string_view text) {
  out.push_back(u'"');
  for (char16_t c : text) {
    if (c == u'\\' || c == u'"') out.push_back(u'\\');
    out.push_back(c);
  }
  out.push_back(u'"');
}

void AppendHex(std::u16string& out, std::uint32_t number, int minDigits) {
  static constexpr char16_t kDigits[] = u"0123456789abcdef";
  char16_t buffer[8];
  int n = 0;
  do {
    buffer[n++] = kDigits[number & 0xF];
    number >>= 4;
  } while (number != 0 || n < minDigits);
  while (n > 0) out.push_back(buffer[--n]);
}

std::u16string DecodeUtf16Le(std::string_view bytes) {
  std::u16string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    text.push_back(
        static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8)));
  return text;
}

// Utf8ToUtf16 with a shortcut for the ASCII that makes up nearly all of the file.
std::u16string DecodeUtf8(std::string_view bytes) {
  std::size_t ascii = 0;
  for (std::uint64_t word; ascii + 8 <= bytes.size(); ascii += 8) {
    std::memcpy(&word, bytes.data() + ascii, 8);
    if (word & 0x8080808080808080u) break;
  }
  while (ascii < bytes.size() && static_cast<unsigned char>(bytes[ascii]) < 0x80) ++ascii;
  std::u16string text(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(ascii));
  if (ascii < bytes.size()) text += Utf8ToUtf16(bytes.substr(ascii));
  return text;
}

// Splits at "\n", dropping a "\r" before it; a last line without "\n" counts too.
template <typename View>
void SplitLines(View all, std::vector<View>& lines, std::vector<bool>* endsWithCr) {
  while (!all.empty()) {
    const std::size_t end = all.find(typename View::value_type('\n'));
    View line = all.substr(0, end);
    all.remove_prefix(end == View::npos ? all.size() : end + 1);
    const bool cr = !line.empty() && line.back() == typename View::value_type('\r');
    if (cr) line.remove_suffix(1);
    lines.push_back(line);
    if (endsWithCr) endsWithCr->push_back(cr);
  }
}

}  // namespace

RegFile::RegFile() {
  sections_.resize(1);
  sections_[0].lines.push_back(Line{Utf16ToUtf8(kHeader), {}, false, {}, {}});
  sections_[0].lines.push_back(Line{});
}

std::optional<RegFile> RegFile::Parse(std::string_view bytes) {
  // The file is held twice: as UTF-8 bytes, which unchanged lines are written back
  // from, and as UTF-16 text, which is parsed. "\n" is the same character in both and
  // appears in neither otherwise, so both split into the same lines.
  auto source = std::make_shared<std::string>();
  std::u16string text;
  bool fromUtf16 = false;
  if (bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE') {
    // An odd last byte is half a character of a cut-off copy; it is dropped.
    text = DecodeUtf16Le(bytes.substr(2));
    *source = Utf16ToUtf8(text);
    fromUtf16 = true;
  } else if (bytes.size() >= 2 && bytes[0] == '\xFE' && bytes[1] == '\xFF') {
    return std::nullopt;  // big-endian UTF-16: no registry tool writes it
  } else {
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    source->assign(bytes);
    text = DecodeUtf8(bytes);
  }

  std::vector<std::string_view> raws;
  std::vector<std::u16string_view> texts;
  std::vector<bool> endsWithCr;
  SplitLines(std::string_view(*source), raws, nullptr);
  SplitLines(std::u16string_view(text), texts, &endsWithCr);
  if (raws.size() != texts.size()) return std::nullopt;  // cannot happen; never index past either

  std::size_t headerLine = 0;
  while (headerLine < texts.size() && IsBlank(texts[headerLine])) ++headerLine;
  if (headerLine == texts.size()) return RegFile();
  if (Trim(texts[headerLine]) != kHeader) return std::nullopt;

  RegFile file;
  file.source_ = source;
  file.sections_.assign(1, Section{});
  file.eol_ = endsWithCr[headerLine] ? "\r\n" : "\n";
  std::size_t current = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const std::u16string_view trimmed = Trim(texts[i]);
    if (!trimmed.empty() && trimmed.front() == u'[') {
      // Every bracketed line starts a section, even a damaged one, so that the values
      // below it never land in the key above it.
      Section section;
      section.raw = raws[i];
      if (trimmed.back() == u']') {
        if (const auto key = NormalKeyPath(trimmed.substr(1, trimmed.size() - 2))) {
          section.indexed = true;
          section.keyPath = *key;
        }
      }
      // Room for the lines up to the next section, so that they are not moved again.
      std::size_t next = i + 1;
      while (next < texts.size() && !TrimLeft(texts[next]).starts_with(u'[')) ++next;
      section.lines.reserve(next - i);
      file.sections_.push_back(std::move(section));
      current = file.sections_.size() - 1;
      continue;
    }
    Section& section = file.sections_[current];
    Line& line = section.lines.emplace_back();
    line.sourceRaw = raws[i];
    if (section.indexed && (trimmed.starts_with(u'"') || trimmed.starts_with(u'@'))) {
      if (const std::size_t used = ParseValue(texts, i, line.name, line.value)) {
        line.isValue = true;
        bool unpaired = fromUtf16 && HasUnpairedSurrogate(texts[i]);
        for (std::size_t k = 1; k < used; ++k) {
          if (k == 1) line.ownRaw = raws[i];
          line.ownRaw.push_back('\n');
          line.ownRaw.append(raws[i + k]);
          unpaired = unpaired || (fromUtf16 && HasUnpairedSurrogate(texts[i + k]));
        }
        // A UTF-16 file may hold unpaired surrogates, which UTF-8 cannot carry:
        // such a line is written afresh (as hex where needed).
        if (unpaired) line.ownRaw = Utf16ToUtf8(FormatValue(line.name, line.value));
        i += used - 1;
      } else {
        line.name.clear();
        line.value = RegValue{};
      }
    }
  }
  for (std::size_t s = 1; s < file.sections_.size(); ++s) file.IndexSection(s);
  return file;
}

void RegFile::IndexSection(std::size_t s) {
  const Section& section = sections_[s];
  if (!section.indexed) return;
  const std::u16string folded = AsciiFold(section.keyPath);
  KeyIndex& index = keys_[folded];
  index.sections.push_back(s);
  index.values.reserve(index.values.size() + section.lines.size());
  for (std::size_t l = 0; l < section.lines.size(); ++l) {
    if (section.lines[l].isValue) index.values[AsciiFold(section.lines[l].name)] = Location{s, l};
  }
  for (std::size_t p = folded.find(u'\\'); p != std::u16string::npos; p = folded.find(u'\\', p + 1))
    existing_.insert(folded.substr(0, p));
  existing_.insert(folded);
}

std::string RegFile::Serialize() const {
  std::string out;
  if (source_) out.reserve(source_->size() + 256);
  auto appendRaw = [&](std::string_view raw) {
    for (std::size_t end; (end = raw.find('\n')) != std::string_view::npos; raw.remove_prefix(end + 1)) {
      out.append(raw.substr(0, end));
      out.append(eol_);
    }
    out.append(raw);
    out.append(eol_);
  };
  for (std::size_t s = 0; s < sections_.size(); ++s) {
    if (s > 0) appendRaw(sections_[s].raw);
    for (const Line& line : sections_[s].lines) appendRaw(line.Raw());
  }
  return out;
}

bool RegFile::IsValidKeyPath(std::u16string_view keyPath) { return NormalKeyPath(keyPath).has_value(); }

bool RegFile::IsValidName(std::u16string_view name) { return IsCarriable(name); }

std::size_t RegFile::FoldedHash::operator()(std::u16string_view text) const {
  std::uint64_t hash = 14695981039346656037ull;  // FNV-1a over the folded units
  for (char16_t c : text) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
    hash = (hash ^ c) * 1099511628211ull;
  }
  return static_cast<std::size_t>(hash);
}

bool RegFile::FoldedEqual::operator()(std::u16string_view a, std::u16string_view b) const {
  return AsciiFoldEquals(a, b);
}

bool RegFile::HasKey(std::u16string_view keyPath) const {
  const auto key = NormalKeyPath(keyPath);
  return key && existing_.contains(*key);
}

const RegFile::KeyIndex* RegFile::FindKey(std::u16string_view keyPath) const {
  const auto key = NormalKeyPath(keyPath);
  if (!key) return nullptr;
  const auto index = keys_.find(*key);
  return index == keys_.end() ? nullptr : &index->second;
}

const RegValue* RegFile::Find(const KeyIndex* key, std::u16string_view name) const {
  if (key == nullptr) return nullptr;
  const auto found = key->values.find(name);
  if (found == key->values.end()) return nullptr;
  return &sections_[found->second.section].lines[found->second.line].value;
}

const RegValue* RegFile::Find(std::u16string_view keyPath, std::u16string_view name) const {
  return Find(FindKey(keyPath), name);
}

void RegFile::EndWithBlankLine() {
  Section& last = sections_.back();
  const bool blank = last.lines.empty() ? IsBlank(std::string_view(last.raw)) : IsBlank(last.lines.back().Raw());
  if (!blank) last.lines.push_back(Line{});
}

std::size_t RegFile::AppendSection(std::u16string_view keyPath) {
  EndWithBlankLine();
  Section section;
  section.raw = '[' + Utf16ToUtf8(keyPath) + ']';
  section.indexed = true;
  section.keyPath = keyPath;
  section.lines.push_back(Line{});
  sections_.push_back(std::move(section));
  IndexSection(sections_.size() - 1);
  return sections_.size() - 1;
}

bool RegFile::AddKey(std::u16string_view keyPath) {
  const auto key = NormalKeyPath(keyPath);
  if (!key || existing_.contains(*key)) return false;
  AppendSection(*key);
  return true;
}

RegFile::Change RegFile::Set(std::u16string_view keyPath, std::u16string_view name, const RegValue& value) {
  const auto key = NormalKeyPath(keyPath);
  if (!key || !IsCarriable(name)) return Change::kRejected;
  const std::u16string foldedKey = AsciiFold(*key);
  const std::u16string foldedName = AsciiFold(name);

  auto index = keys_.find(foldedKey);
  if (index != keys_.end()) {
    if (const auto found = index->second.values.find(foldedName); found != index->second.values.end()) {
      Line& line = sections_[found->second.section].lines[found->second.line];
      if (line.value == value) return Change::kUnchanged;
      line.value = value;
      line.ownRaw = Utf16ToUtf8(FormatValue(line.name, value));
      return Change::kChanged;
    }
  }
  Line line;
  line.isValue = true;
  line.name = name;
  line.value = value;
  line.ownRaw = Utf16ToUtf8(FormatValue(name, value));

  std::size_t s = 0;
  if (index != keys_.end() && !index->second.sections.empty()) {
    s = index->second.sections.back();
  } else {
    s = AppendSection(*key);
    index = keys_.find(foldedKey);
  }
  // Into the last section of the key, above the blank lines that close it; only blank
  // lines move, so no indexed position changes.
  auto& lines = sections_[s].lines;
  std::size_t at = lines.size();
  while (at > 0 && IsBlank(lines[at - 1].Raw())) --at;
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
  index->second.values[foldedName] = Location{s, at};
  return Change::kChanged;
}

std::u16string RegFile::FormatValue(std::u16string_view name, const RegValue& value) {
  std::u16string out;
  if (name.empty())
    out.push_back(u'@');
  else
    AppendQuoted(out, name);
  out.push_back(u'=');

  std::u16string text;
  if (value.type == kRegSz && IsPlainText(value.data, text)) {
    AppendQuoted(out, text);
    return out;
  }
  if (value.type == kRegDword && value.data.size() == 4) {
    out.append(u"dword:");
    AppendHex(out,
              static_cast<std::uint32_t>(value.data[0] | (value.data[1] << 8) | (value.data[2] << 16)) |
                  (static_cast<std::uint32_t>(value.data[3]) << 24),
              8);
    return out;
  }
  if (value.type == kRegBinary) {
    out.append(u"hex:");
  } else {
    out.append(u"hex(");
    AppendHex(out, value.type, 1);
    out.append(u"):");
  }
  // Lines stay within 80 columns the way regedit wraps them: a backslash after the
  // comma, the next line indented by two spaces.
  std::size_t column = out.size();
  for (std::size_t i = 0; i < value.data.size(); ++i) {
    AppendHex(out, value.data[i], 2);
    column += 2;
    if (i + 1 == value.data.size()) break;
    out.push_back(u',');
    ++column;
    if (column > 76) {
      out.append(u"\\\n  ");
      column = 2;
    }
  }
  return out;
}

}  // namespace tessaroven
