#include "plugin_support.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

namespace tessaroven::plugin {
namespace {

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

void AppendUtf16(std::u16string& out, char32_t c) {
  if (c < 0x10000) {
    out += static_cast<char16_t>(c);
  } else {
    c -= 0x10000;
    out += static_cast<char16_t>(0xD800 + (c >> 10));
    out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
  }
}

void PutU32(std::vector<std::uint8_t>& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

void PutText(std::vector<std::uint8_t>& out, std::u16string_view text) {
  // Sized once per text rather than grown byte by byte: every file's tags pass here.
  std::size_t at = out.size();
  out.resize(at + 2 * text.size() + 2);
  for (char16_t c : text) {
    out[at++] = static_cast<std::uint8_t>(c & 0xFF);
    out[at++] = static_cast<std::uint8_t>(c >> 8);
  }
  out[at++] = 0;
  out[at] = 0;
}

bool EqualsAsciiFold(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    auto fold = [](char16_t c) { return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + 32) : c; };
    if (fold(a[i]) != fold(b[i])) return false;
  }
  return true;
}

std::u16string Decimal(long long value) { return FromAscii(std::to_string(value)); }

}  // namespace

std::string PathToNative(const char16_t* path) {
  std::string out;
  if (!path) return out;
  for (const char16_t* p = path; *p; ++p) {
    const char16_t c = *p;
    if (c >= 0xD800 && c <= 0xDBFF && p[1] >= 0xDC00 && p[1] <= 0xDFFF) {
      AppendUtf8(out, 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (p[1] - 0xDC00));
      ++p;
    } else if (c >= 0xDC80 && c <= 0xDCFF) {
      out += static_cast<char>(c - 0xDC00);  // an escaped raw byte
    } else {
      AppendUtf8(out, c);
    }
  }
  return out;
}

std::u16string FromUtf8(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const auto b0 = static_cast<unsigned char>(text[i]);
    int extra = b0 < 0x80 ? 0 : (b0 >> 5) == 0x6 ? 1 : (b0 >> 4) == 0xE ? 2 : (b0 >> 3) == 0x1E ? 3 : -1;
    char32_t c = extra == 0 ? b0 : extra == 1 ? (b0 & 0x1F) : extra == 2 ? (b0 & 0x0F) : (b0 & 0x07);
    bool ok = extra >= 0 && i + static_cast<std::size_t>(extra) < text.size();
    if (ok) {
      for (int k = 1; k <= extra; ++k) {
        const auto b = static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]);
        if ((b & 0xC0) != 0x80) {
          ok = false;
          break;
        }
        c = (c << 6) | (b & 0x3F);
      }
    }
    // Overlong forms, surrogates and values past U+10FFFF are not valid UTF-8 either.
    if (ok && ((extra == 1 && c < 0x80) || (extra == 2 && c < 0x800) || (extra == 3 && c < 0x10000) ||
               (c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF)) {
      ok = false;
    }
    if (!ok) {
      out += b0 < 0x80 ? static_cast<char16_t>(b0) : static_cast<char16_t>(0xDC00 + b0);
      ++i;
      continue;
    }
    AppendUtf16(out, c);
    i += static_cast<std::size_t>(extra) + 1;
  }
  return out;
}

std::u16string FromAscii(std::string_view text) { return std::u16string(text.begin(), text.end()); }

bool IsRegularFile(const std::string& nativePath, std::int64_t* size) {
  struct stat st {};
  if (nativePath.empty() || ::stat(nativePath.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
  if (size) *size = static_cast<std::int64_t>(st.st_size);
  return true;
}

void TagBlock::Add(std::u16string_view name, std::u16string_view value) {
  if (value.empty()) return;
  // Room for a well-tagged file at once, instead of growing through 1, 2, 4, 8, ...
  if (tags_.empty()) tags_.reserve(32);
  tags_.emplace_back(std::u16string(name), std::u16string(value));
}

void TagBlock::Append(std::u16string_view name, std::u16string_view value) {
  if (value.empty()) return;
  for (auto& [existing, text] : tags_) {
    if (EqualsAsciiFold(existing, name)) {
      text += u'\r';
      text += value;
      return;
    }
  }
  Add(name, value);
}

bool TagBlock::Has(std::u16string_view name) const {
  return std::any_of(tags_.begin(), tags_.end(), [&](const auto& t) { return EqualsAsciiFold(t.first, name); });
}

const std::vector<std::uint8_t>& TagBlock::Bytes() {
  bytes_.clear();
  std::size_t total = 4;
  for (const auto& [name, value] : tags_) total += 4 + 2 * (name.size() + value.size() + 2);
  bytes_.reserve(total);
  PutU32(bytes_, static_cast<std::uint32_t>(tags_.size()));
  for (const auto& [name, value] : tags_) {
    const std::size_t start = bytes_.size();
    PutU32(bytes_, 0);
    PutText(bytes_, name);
    PutText(bytes_, value);
    const auto size = static_cast<std::uint32_t>(bytes_.size() - start);
    for (int i = 0; i < 4; ++i)
      bytes_[start + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(size >> (8 * i));
  }
  return bytes_;
}

std::u16string ColumnNameForKey(std::string_view key) {
  std::string upper(key);
  for (auto& c : upper) c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
  static const std::pair<std::string_view, std::u16string_view> kKnown[] = {
      {"TITLE", u"Title"},
      {"ARTIST", u"Artist"},
      {"ALBUM", u"Album"},
      {"ALBUMARTIST", u"Album Artist"},
      {"ALBUM_ARTIST", u"Album Artist"},
      {"ALBUM ARTIST", u"Album Artist"},
      {"TRACKNUMBER", u"Track"},
      {"TRACK", u"Track"},
      {"DISCNUMBER", u"Disc"},
      {"DISC", u"Disc"},
      {"DATE", u"Year"},
      {"YEAR", u"Year"},
      {"GENRE", u"Genre"},
      {"COMPOSER", u"Composer"},
      {"CONDUCTOR", u"Conductor"},
      {"COMMENT", u"Comment"},
      {"DESCRIPTION", u"Comment"},
      {"ENCODEDBY", u"Encoded by"},
      {"ENCODED_BY", u"Encoded by"},
      {"ENCODER", u"Encoder"},
      {"ENCODING", u"Encoder"},
      {"LABEL", u"Label"},
      {"PUBLISHER", u"Publisher"},
      {"MOOD", u"Mood"},
      {"BPM", u"Tempo"},
      {"TEMPO", u"Tempo"},
      {"COMPILATION", u"Compilation"},
      {"RATING", u"Rating"},
      {"LYRICIST", u"Lyricist"},
      {"LYRICS", u"Lyrics"},
      {"COPYRIGHT", u"Copyright"},
      {"ISRC", u"ISRC"},
      {"REMIXER", u"Remixer"},
      {"PERFORMER", u"Performer"},
      {"ORIGINALDATE", u"Original Year"},
      {"SUBTITLE", u"Subtitle"},
      {"DISCSUBTITLE", u"Disc Subtitle"},
      {"LANGUAGE", u"Language"},
      // RIFF INFO names as FFmpeg reports them: IPRD holds the album, ISFT the encoder.
      {"PRODUCT", u"Album"},
      {"SOFTWARE", u"Encoder"},
  };
  for (const auto& [k, name] : kKnown) {
    if (upper == k) return std::u16string(name);
  }
  std::u16string out;
  bool wordStart = true;
  for (char c : upper) {
    if (c == '_' || c == ' ' || c == '-') {
      out += static_cast<char16_t>(c);
      wordStart = true;
      continue;
    }
    const char folded = (!wordStart && c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
    out += static_cast<char16_t>(static_cast<unsigned char>(folded));
    wordStart = false;
  }
  return out;
}

std::u16string KiloHertzText(int rate) {
  std::u16string text = Decimal(rate / 1000);
  int rest = rate % 1000;
  if (rest != 0) {
    std::string frac = std::to_string(1000 + rest).substr(1);
    while (!frac.empty() && frac.back() == '0') frac.pop_back();
    text += u'.';
    text += FromAscii(frac);
  }
  return text + u" kHz";
}

int DsdMultiple(std::int64_t oneBitRate) {
  if (oneBitRate <= 0 || oneBitRate % 44100 != 0) return 0;
  const std::int64_t multiple = oneBitRate / 44100;
  return (multiple >= 64 && multiple % 64 == 0) ? static_cast<int>(multiple) : 0;
}

std::u16string QualityLabel(const AudioShape& shape) {
  if (!shape.lossless) return {};
  // Built by appending: GCC 12 warns falsely (-Wrestrict) on "literal" + string&&.
  std::u16string label;
  if (shape.dsdMultiple > 0) {
    label = u"High Resolution Lossless (DSD";
    label += Decimal(shape.dsdMultiple);
    label += u")";
    return label;
  }
  const int bits = shape.bitsPerSample;
  const int rate = shape.sampleRate;
  if (shape.floatingPoint || rate > 48000 || bits > 24)
    label = u"High Resolution Lossless (";
  else if (bits == 16 && rate == 44100)
    label = u"CD Lossless (";
  else if (bits == 16 && (rate == 48000 || rate == 32000))
    label = u"DAT Lossless (";
  else if (bits > 16 && (rate == 44100 || rate == 48000))
    label = u"DVD Lossless (";
  else
    label = u"Lossless (";
  label += Decimal(bits);
  label += shape.floatingPoint ? u" bit float / " : u" bit / ";
  label += KiloHertzText(rate);
  label += u")";
  return label;
}

void Publish(InstanceBase& instance, const OpenResult& result, TsvOpenRecord* record) {
  // A damaged header can claim any channel count; the record's fields are 16 bits wide,
  // so clamp before multiplying rather than overflow.
  const int channels = std::clamp(result.channels, 0, 0xFFFF);
  const int bits = std::clamp(result.bitsPerSample, 0, 0xFFFF);
  const auto blockAlign = static_cast<std::uint16_t>(std::min<std::int64_t>(std::int64_t{channels} * bits / 8, 0xFFFF));
  record->format.format_tag = result.formatTag;
  record->format.channels = static_cast<std::uint16_t>(channels);
  record->format.samples_per_sec = static_cast<std::uint32_t>(std::max(result.sampleRate, 0));
  record->format.block_align = blockAlign;
  record->format.avg_bytes_per_sec = static_cast<std::uint32_t>(blockAlign) * record->format.samples_per_sec;
  record->format.bits_per_sample = static_cast<std::uint16_t>(bits);
  record->format.cb_size = 0;
  record->properties.bit_rate = result.bitRate;
  record->properties.length_ms = std::max<std::int64_t>(result.lengthMs, 0);
  record->properties.compressed_size = std::max<std::int64_t>(result.compressedSize, 0);
  if (instance.tags.Count() > 0) {
    const std::vector<std::uint8_t>& bytes = instance.tags.Bytes();
    record->tags1 = bytes.data();
    record->tags1_length = static_cast<std::int32_t>(bytes.size());
  } else {
    record->tags1 = nullptr;
    record->tags1_length = 0;
  }
  record->tags2 = nullptr;
  record->tags2_length = 0;
}

std::int32_t AnswerGet(const DecodeRow* rows, std::size_t rowCount, const char16_t* propertyElements,
                       const TsvChar16* itemName, TsvItemRecord* item) {
  if (!itemName || !item) return 0;
  const std::u16string_view name(itemName);
  if (name == u"Decodes") {
    if (item->index >= rowCount) return 0;
    item->text1 = rows[item->index].extension;
    item->text2 = rows[item->index].description;
    return 1;
  }
  if (name == u"Property Elements") {
    if (item->index != 0) return 0;
    item->text1 = propertyElements;
    item->text2 = nullptr;
    return 1;
  }
  return 0;
}

}  // namespace tessaroven::plugin
