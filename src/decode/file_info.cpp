#include "decode/file_info.h"

#include <cstring>
#include <limits>

#include "base/format.h"
#include "base/path.h"
#include "base/settings.h"
#include "base/text.h"

namespace tessaroven {

namespace {

constexpr std::size_t kFormatOffset = offsetof(TsvOpenRecord, format);
constexpr std::size_t kExtraOffset = kFormatOffset + sizeof(TsvWaveFormatEx);

bool ContainsFolded(std::u16string_view text, std::u16string_view word) {
  for (std::size_t at = 0; at + word.size() <= text.size(); ++at) {
    if (AsciiFoldEquals(text.substr(at, word.size()), word)) return true;
  }
  return false;
}

// Track and disc numbers as two digits at least, so text order is number order.
std::u16string TwoDigitNumber(std::u16string_view text) {
  const std::int32_t n = LeadingNumber(text);
  if (n <= 0) return {};
  std::u16string digits = FormatInteger(n);
  if (digits.size() == 1) digits.insert(digits.begin(), u'0');
  return digits;
}

void AppendPart(std::u16string& key, std::u16string_view part) {
  if (part.empty()) return;
  if (!key.empty()) key += u" - ";
  key += part;
}

std::u16string DsdBitRateText(std::u16string_view dsdType, std::uint16_t channels) {
  std::int64_t multiplier = 64;
  if (AsciiFoldEquals(dsdType, u"DSD128"))
    multiplier = 128;
  else if (AsciiFoldEquals(dsdType, u"DSD256"))
    multiplier = 256;
  else if (AsciiFoldEquals(dsdType, u"DSD512"))
    multiplier = 512;
  return FormatInteger(static_cast<std::int64_t>(channels) * multiplier * 44100 / 1000) + u" kbps";
}

std::u16string CompressionText(const FileInfo& info) {
  const std::int64_t compressed = info.properties.compressed_size;
  const auto avg = static_cast<std::int64_t>(info.format.wave.avg_bytes_per_sec);
  if (compressed <= 0) return {};
  // Length above ~68 years would overflow; no real file gets there.
  if (info.lengthMs > std::numeric_limits<std::int64_t>::max() / std::max<std::int64_t>(avg, 1)) return {};
  std::int64_t uncompressed = avg * info.lengthMs / 1000;
  // Headers and rounding make a PCM file a little off its nominal size: within 1 KB
  // (or bigger than its PCM) counts as not compressed at all. A file with no PCM size
  // (1-bit DSD, whose average byte rate rounds to 0, or no length) lands here too and
  // shows 100 rather than nothing.
  if (uncompressed < compressed || uncompressed - compressed < 1024) uncompressed = compressed;
  if (compressed > std::numeric_limits<std::int64_t>::max() / 100) return {};
  return FormatInteger(compressed * 100 / uncompressed) + u"%";
}

// How many tags PresentFileInfo may add at most.
constexpr std::size_t kPresentedColumns = 16;

}  // namespace

AudioFormat CopyAudioFormat(const TsvOpenRecord& record) {
  AudioFormat format;
  std::memcpy(&format.wave, &record.format, sizeof(format.wave));
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
  const std::size_t extra = std::min<std::size_t>(format.wave.cb_size, sizeof(record) - kExtraOffset);
  format.extra.assign(bytes + kExtraOffset, bytes + kExtraOffset + extra);
  if (format.wave.format_tag == TSV_FORMAT_TAG_PCM || format.wave.format_tag == TSV_FORMAT_TAG_IEEE_FLOAT) {
    format.wave.block_align = static_cast<std::uint16_t>(format.wave.channels * format.wave.bits_per_sample / 8);
    format.wave.avg_bytes_per_sec = format.wave.block_align * format.wave.samples_per_sec;
  }
  return format;
}

std::int32_t LeadingNumber(std::u16string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == u' ' || text[i] == u'\t')) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) negative = text[i++] == u'-';
  std::int64_t value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    value = value * 10 + (text[i] - u'0');
    if (value > std::numeric_limits<std::int32_t>::max()) {
      value = std::numeric_limits<std::int32_t>::max() + std::int64_t{negative ? 1 : 0};
      break;
    }
  }
  return static_cast<std::int32_t>(negative ? -value : value);
}

FileInfo PresentFileInfo(RawFileInfo raw, std::u16string_view file, std::uint32_t unitsFreq) {
  FileInfo info;
  info.opened = true;
  info.format = std::move(raw.format);
  info.properties = raw.properties;
  const TsvWaveFormatEx& wave = info.format.wave;

  // The DSD type is taken from the first list, before the merge.
  const std::u16string dsdType = TagValue(raw.tags1, u"DSD Type");
  info.tags = std::move(raw.tags1);
  MergeTags(info.tags, raw.tags2);
  TagList& tags = info.tags;

  // Everything read from the plug-in's tags is read here, before the list changes
  // (the views below point into it).
  info.lengthMs = info.properties.length_ms;
  info.bitRate = info.properties.bit_rate;
  info.rating = LeadingNumber(TagValueView(tags, u"Rating"));
  const std::u16string_view quality = TagValueView(tags, u"audio quality");
  const bool lossless = ContainsFolded(quality, u"lOssless") || ContainsFolded(quality, u"pErfect") ||
                        AsciiFoldEquals(ExtensionOf(file), u".waV");
  std::u16string_view artist = TagValueView(tags, u"Album Artist");
  if (artist.empty()) artist = TagValueView(tags, u"Artist");
  const std::u16string_view album = TagValueView(tags, u"Album");
  const std::u16string track = TwoDigitNumber(TagValueView(tags, u"Track"));
  const std::u16string disc = TwoDigitNumber(TagValueView(tags, u"Disc"));
  const bool compilation = LeadingNumber(TagValueView(tags, u"Compilation")) != 0;
  std::u16string byArtist(artist);
  AppendPart(byArtist, album);
  AppendPart(byArtist, disc);
  AppendPart(byArtist, track);
  std::u16string byAlbum(album);
  AppendPart(byAlbum, disc);
  AppendPart(byAlbum, track);

  // Room for the columns set below, so the list grows once, not column by column.
  tags.reserve(tags.size() + kPresentedColumns);
  RemoveTag(tags, u"Length");
  SetTag(tags, u"Length", FormatDuration(info.lengthMs, DurationStyle::kWords));
  SetTag(tags, u"Channels", FormatInteger(wave.channels));

  if (!dsdType.empty()) {
    SetTag(tags, u"Sample Rate", dsdType);
  } else if (unitsFreq != 0) {
    SetTag(tags, u"Sample Rate", FormatInteger(wave.samples_per_sec) + u" Hz");
  } else {
    SetTag(tags, u"Sample Rate", LocaliseNumber(FormatDecimal(wave.samples_per_sec / 1000.0, 1)) + u" kHz");
  }

  if (lossless) {
    std::u16string size;
    if (!dsdType.empty())
      size = u"1 bit";
    else if (wave.format_tag == TSV_FORMAT_TAG_IEEE_FLOAT)
      size = FormatInteger(wave.bits_per_sample) + u" bit floating point";
    else
      size = FormatInteger(wave.bits_per_sample) + u" bit";
    SetTag(tags, u"Sample Size", size);
  }

  SetTag(tags, u"Bit Rate",
         dsdType.empty() ? FormatInteger(info.bitRate / 1000) + u" kbps" : DsdBitRateText(dsdType, wave.channels));

  const std::u16string compression = CompressionText(info);
  if (!compression.empty()) SetTag(tags, u"Compression", compression);

  if (!track.empty()) {
    RemoveTag(tags, u"Track");
    SetTag(tags, u"Track", track);
  }
  SetTag(tags, u"Compilation", compilation ? u"Yes" : u"No");
  SetTag(tags, u"Album Artist - Album - Disc - Track", byArtist);
  SetTag(tags, u"Album - Disc - Track", byAlbum);

  // Kept as the plug-in wrote it; a file without one gets the tag empty, so every
  // opened file has the column.
  SetTag(tags, u"AccurateRipResult", TagValue(tags, u"AccurateRipResult"));
  return info;
}

bool ReadFileInfo(std::u16string_view file, clQzDecoder& decoder, FileInfo& info) {
  TsvCreateBlock block{};
  if (!OpenDecoderForFile(file, decoder, block)) return false;

  const std::u16string path(file);
  TsvOpenRecord record;
  std::memset(&record, 0, sizeof(record));
  record.path = path.c_str();
  record.magic = TSV_OPEN_RECORD_MAGIC;

  bool opened = decoder.Entry().Open(decoder.Instance(), &record) != 0;
  if (opened) {
    RawFileInfo raw;
    raw.format = CopyAudioFormat(record);
    std::memcpy(&raw.properties, &record.properties, sizeof(raw.properties));
    raw.tags1 = ParseTagBlock(record.tags1, record.tags1_length);
    raw.tags2 = ParseTagBlock(record.tags2, record.tags2_length);
    const std::uint32_t unitsFreq = SettingsGetDword(kUnitsFreqValue, SettingsRoot::CurrentUser, kRefSettingsKey);
    info = PresentFileInfo(std::move(raw), file, unitsFreq);
  }
  // The tag blocks belong to the instance: they are copied above, before it goes.
  decoder.DestroyInstance();
  return opened;
}

std::u16string AudioQualitySortKey(std::u16string_view value) {
  const auto startsWith = [value](std::u16string_view prefix) {
    return value.size() >= prefix.size() && AsciiFoldEquals(value.substr(0, prefix.size()), prefix);
  };
  if (startsWith(u"High")) return u"S" + std::u16string(value);
  if (startsWith(u"CD ") || startsWith(u"DVD ") || startsWith(u"DAT ") || startsWith(u"Perfect")) {
    return u"x" + std::u16string(value);
  }
  return std::u16string(value);
}

int CompareAudioQuality(std::u16string_view a, std::u16string_view b) {
  return AsciiFoldCompare(AudioQualitySortKey(a), AudioQualitySortKey(b));
}

}  // namespace tessaroven
