// Decoder plug-in "taglib": the common music formats, read with TagLib; files of
// these formats whose codec or layout TagLib cannot read go to FFmpeg's libavformat
// through the reader module that the ffmpeg plug-in brings (ffmpeg_reader_module.h).
//
// It reads metadata only: the audio format, length, bit rate, compressed size and
// tags, which is all the file selector asks for. The four decoding exports (Close,
// DecodeBlock, SetPosition, DeleteATag) and Set exist because every plug-in must
// have them, and fail; the converter decodes these formats on its own.
//
// One instance reads one file and owns every text and block it hands out until
// Destroy. Instances share nothing, so several threads may each use their own.
#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apefooter.h>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2header.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/mpegheader.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/tdebuglistener.h>
#include <taglib/tpropertymap.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

#include "ffmpeg_reader_module.h"
#include "plugin_support.h"

namespace tessaroven::plugin {
namespace {

enum class Kind { Mpeg, Flac, Vorbis, OggAudio, Opus, Speex, Mp4, Wav, Aiff, Ape, WavPack, Musepack, Asf, Tta };

struct Format {
  DecodeRow row;
  Kind kind;
  // libavformat's demuxer for the container, for files TagLib cannot read; null lets
  // FFmpeg probe (Musepack has one demuxer per stream version).
  const char* demuxer;
};

constexpr Format kFormats[] = {
    {{u".mp3", u"MPEG Layer 3 audio"}, Kind::Mpeg, "mp3"},
    {{u".mp2", u"MPEG Layer 2 audio"}, Kind::Mpeg, "mp3"},
    {{u".flac", u"FLAC lossless audio"}, Kind::Flac, "flac"},
    {{u".ogg", u"Ogg Vorbis audio"}, Kind::Vorbis, "ogg"},
    {{u".oga", u"Ogg audio (FLAC or Vorbis)"}, Kind::OggAudio, "ogg"},
    {{u".opus", u"Opus audio"}, Kind::Opus, "ogg"},
    {{u".spx", u"Speex audio"}, Kind::Speex, "ogg"},
    {{u".m4a", u"MPEG-4 audio (AAC or Apple Lossless)"}, Kind::Mp4, "mp4"},
    {{u".m4b", u"MPEG-4 audio book"}, Kind::Mp4, "mp4"},
    {{u".mp4", u"MPEG-4 video (its audio track)"}, Kind::Mp4, "mp4"},
    {{u".wav", u"Wave audio"}, Kind::Wav, "wav"},
    {{u".aif", u"AIFF audio"}, Kind::Aiff, "aiff"},
    {{u".aiff", u"AIFF audio"}, Kind::Aiff, "aiff"},
    {{u".aifc", u"AIFF-C audio"}, Kind::Aiff, "aiff"},
    {{u".ape", u"Monkey's Audio lossless"}, Kind::Ape, "ape"},
    {{u".wv", u"WavPack audio"}, Kind::WavPack, "wv"},
    {{u".mpc", u"Musepack audio"}, Kind::Musepack, nullptr},
    {{u".wma", u"Windows Media Audio"}, Kind::Asf, "asf"},
    {{u".asf", u"Advanced Systems Format (its audio)"}, Kind::Asf, "asf"},
    {{u".tta", u"True Audio lossless"}, Kind::Tta, "tta"},
};

// The "Decodes" list is the extension column of kFormats.
constexpr auto kRows = [] {
  std::array<DecodeRow, std::size(kFormats)> rows{};
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = kFormats[i].row;
  return rows;
}();

constexpr char16_t kPropertyElements[] = u"Codec\raudio quality\rEncoder";

// TagLib's debug messages would land on the program's stderr; there is nowhere for
// them to go in a file selector.
class SilentListener : public TagLib::DebugListener {
 public:
  void printMessage(const TagLib::String&) override {}
};

void SilenceTagLib() {
  static SilentListener listener;
  static std::once_flag once;
  std::call_once(once, [] { TagLib::setDebugListener(&listener); });
}

bool ExtensionIs(const std::string& path, const char16_t* extension) {
  const std::u16string_view ext(extension);
  if (path.size() < ext.size()) return false;
  const std::string_view tail(path.data() + path.size() - ext.size(), ext.size());
  for (std::size_t i = 0; i < ext.size(); ++i) {
    char c = tail[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    if (static_cast<char16_t>(static_cast<unsigned char>(c)) != ext[i]) return false;
  }
  return true;
}

const Format* FormatFor(const std::string& path) {
  for (const auto& format : kFormats) {
    if (ExtensionIs(path, format.row.extension)) return &format;
  }
  return nullptr;
}

// TagLib keeps UTF-16 units in its strings; copying them straight is what the
// round trip through UTF-8 gives for every unit outside the surrogate range, and
// that round trip cost more than the rest of the tag handling together. Texts with
// surrogates (paired or not) still take it, so they come out exactly as before.
bool IsSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

std::u16string ToU16(const TagLib::String& s) {
  if (std::any_of(s.begin(), s.end(), IsSurrogate)) return FromUtf8(s.to8Bit(true));
  std::u16string text(s.size(), u'\0');
  std::transform(s.begin(), s.end(), text.begin(), [](wchar_t unit) { return static_cast<char16_t>(unit); });
  return text;
}

// What TagLib accepts as a property name: printable ASCII without "=".
bool IsPropertyKey(const TagLib::String& key) {
  return !key.isEmpty() &&
         std::all_of(key.begin(), key.end(), [](wchar_t unit) { return unit >= 0x20 && unit <= 0x7E && unit != L'='; });
}

// Property names are ASCII in practice; others take TagLib's own conversion.
std::string KeyToUtf8(const TagLib::String& key) {
  if (!std::all_of(key.begin(), key.end(), [](wchar_t unit) { return unit >= 0 && unit < 0x80; })) {
    return key.to8Bit(true);
  }
  std::string text(key.size(), '\0');
  std::transform(key.begin(), key.end(), text.begin(), [](wchar_t unit) { return static_cast<char>(unit); });
  return text;
}

// What the codec-specific parts found beyond TagLib's common properties.
struct CodecFacts {
  std::u16string codec;
  bool lossless = false;
  bool floatingPoint = false;
  int bitsPerSample = 0;
  std::int64_t tagBytes = 0;     // bytes of tags TagLib located in the file
  std::int64_t audioBytes = -1;  // exact size of the audio data when known
  std::int64_t lengthMs = -1;    // when TagLib's own length is missing or wrong
  std::int64_t bitRate = -1;     // bits per second, when TagLib's own is wrong
  // Tag sources to merge, the first one winning for a key; empty means the file's
  // own merged view.
  std::vector<TagLib::PropertyMap> tagSources;
  // The Vorbis comment of the Xiph formats, read as it lies: the merged view would
  // copy every field into a fresh map first, which cost a tenth of a whole read.
  const TagLib::Ogg::XiphComment* xiph = nullptr;
};

std::int64_t Id3v2Size(TagLib::ID3v2::Tag* tag) { return tag && tag->header() ? tag->header()->completeTagSize() : 0; }

std::int64_t ApeSize(TagLib::APE::Tag* tag) { return tag && tag->footer() ? tag->footer()->completeTagSize() : 0; }

// The granule position in the last Ogg page header found in `bytes`, or -1.
long long LastGranuleIn(const TagLib::ByteVector& bytes) {
  constexpr long kHeaderBytes = 27;
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  // Backwards over the candidate starts; a byte that cannot begin "OggS" lets the
  // search skip to the last start that could still cover it.
  for (long at = static_cast<long>(bytes.size()) - kHeaderBytes; at >= 0;) {
    const unsigned char c = data[at];
    if (c != 'O') {
      at -= c == 'g' ? 1 : c == 'S' ? 3 : 4;
      continue;
    }
    // "OggS" and stream structure version 0.
    if (data[at + 1] == 'g' && data[at + 2] == 'g' && data[at + 3] == 'S' && data[at + 4] == 0) {
      unsigned long long position = 0;
      for (int i = 7; i >= 0; --i) position = (position << 8) | data[at + 6 + i];
      return static_cast<long long>(position);
    }
    --at;
  }
  return -1;
}

// The granule position of the last Ogg page, or -1. TagLib's own search for that
// page reads the file backwards a kilobyte at a time and cost more than the rest of
// reading such a file. The last page mostly starts within a few kilobytes of the end
// and always within 27 + 255 + 255 x 255 bytes (the largest page), so at most two
// reads of the tail find it.
long long LastGranulePosition(TagLib::File& file) {
  constexpr long kMaxPageBytes = 27 + 255 + 255 * 255;
  const long size = file.length();
  for (const long tail : {4096L, kMaxPageBytes}) {
    const long from = std::max(0L, size - tail);
    file.seek(from);
    const long long position = LastGranuleIn(file.readBlock(static_cast<unsigned long>(size - from)));
    if (position != -1 || from == 0) return position;
  }
  return -1;
}

// The lowest bit rate, in kbit/s, that MPEG audio of this version and layer can have.
int LowestMpegBitRate(const TagLib::MPEG::Header& header) {
  return header.version() == TagLib::MPEG::Header::Version1 || header.layer() == 1 ? 32 : 8;
}

// TagLib takes the frame count of a Xing header on trust. A count that the data could
// not hold even at the lowest bit rate of the stream's format is wrong (with a tenth to
// spare for padding and rounding); the first frame's bit rate over the data then gives
// the length and the bit rate, as for a file without such a header.
void CheckXingLength(TagLib::MPEG::File& file, CodecFacts& facts) {
  const TagLib::MPEG::Properties* props = file.audioProperties();
  if (!props || !props->xingHeader()) return;
  const long first = file.firstFrameOffset();
  if (first < 0) return;
  const TagLib::MPEG::Header header(&file, first, false);
  if (!header.isValid() || header.bitrate() <= 0) return;
  // The first frame holds the Xing header itself, not audio.
  std::int64_t dataBytes = static_cast<std::int64_t>(file.length()) - first - header.frameLength();
  if (file.hasAPETag()) dataBytes -= ApeSize(file.APETag());
  if (file.hasID3v1Tag()) dataBytes -= 128;
  if (dataBytes <= 0) return;
  // Bytes x 8 / kbit/s = milliseconds.
  const std::int64_t mostMs = dataBytes * 8 / LowestMpegBitRate(header);
  if (props->lengthInMilliseconds() <= mostMs + mostMs / 10) return;
  facts.lengthMs = dataBytes * 8 / header.bitrate();
  facts.bitRate = std::int64_t{header.bitrate()} * 1000;
}

// Opens the file as its extension's type. Ogg audio (.oga) may hold FLAC or Vorbis,
// so both are tried.
std::unique_ptr<TagLib::File> OpenFile(Kind kind, const char* path, CodecFacts& facts) {
  const auto style = TagLib::AudioProperties::Average;
  switch (kind) {
    case Kind::Mpeg: {
      auto file = std::make_unique<TagLib::MPEG::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        const auto* props = file->audioProperties();
        const int layer = props->layer();
        const char* version = props->version() == TagLib::MPEG::Header::Version1   ? "MPEG-1"
                              : props->version() == TagLib::MPEG::Header::Version2 ? "MPEG-2"
                                                                                   : "MPEG-2.5";
        facts.codec = FromAscii(std::string(version) + " Layer " + std::to_string(layer));
        if (file->hasID3v2Tag()) facts.tagBytes += Id3v2Size(file->ID3v2Tag());
        if (file->hasAPETag()) facts.tagBytes += ApeSize(file->APETag());
        if (file->hasID3v1Tag()) facts.tagBytes += 128;
        CheckXingLength(*file, facts);
      }
      return file;
    }
    case Kind::Flac: {
      auto file = std::make_unique<TagLib::FLAC::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        facts.codec = u"FLAC";
        facts.lossless = true;
        facts.bitsPerSample = file->audioProperties()->bitsPerSample();
        if (file->hasID3v2Tag()) facts.tagBytes += Id3v2Size(file->ID3v2Tag());
        if (file->hasID3v1Tag()) facts.tagBytes += 128;
        if (file->hasXiphComment()) facts.xiph = file->xiphComment();
      }
      return file;
    }
    case Kind::OggAudio: {
      auto flac = std::make_unique<TagLib::Ogg::FLAC::File>(path, true, style);
      if (flac->isValid() && flac->audioProperties()) {
        const auto* props = flac->audioProperties();
        facts.codec = u"FLAC";
        facts.lossless = true;
        facts.bitsPerSample = props->bitsPerSample();
        facts.xiph = flac->tag();
        // Streams written live leave the sample count of the header at 0; the last
        // page's position still says how long they play.
        const long long position =
            props->lengthInMilliseconds() <= 0 && props->sampleRate() > 0 ? LastGranulePosition(*flac) : -1;
        if (position > 0) {
          // Seconds first: a damaged page can carry a position near the 64-bit limit,
          // and such a length is no length at all.
          const long long rate = props->sampleRate();
          if (position / rate < std::numeric_limits<long long>::max() / 1000 - 1) {
            facts.lengthMs = position / rate * 1000 + position % rate * 1000 / rate;
          }
        }
        return flac;
      }
      return OpenFile(Kind::Vorbis, path, facts);
    }
    case Kind::Vorbis: {
      auto file = std::make_unique<TagLib::Ogg::Vorbis::File>(path, true, style);
      facts.codec = u"Vorbis";
      facts.xiph = file->tag();
      return file;
    }
    case Kind::Opus: {
      auto file = std::make_unique<TagLib::Ogg::Opus::File>(path, true, style);
      facts.codec = u"Opus";
      facts.xiph = file->tag();
      return file;
    }
    case Kind::Speex: {
      auto file = std::make_unique<TagLib::Ogg::Speex::File>(path, true, style);
      facts.codec = u"Speex";
      facts.xiph = file->tag();
      return file;
    }
    case Kind::Mp4: {
      auto file = std::make_unique<TagLib::MP4::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        const auto* props = file->audioProperties();
        if (props->codec() == TagLib::MP4::Properties::ALAC) {
          facts.codec = u"ALAC";
          facts.lossless = true;
          facts.bitsPerSample = props->bitsPerSample();
        } else if (props->codec() == TagLib::MP4::Properties::AAC) {
          facts.codec = u"AAC";
        }
      }
      return file;
    }
    case Kind::Wav: {
      auto file = std::make_unique<TagLib::RIFF::WAV::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        const auto* props = file->audioProperties();
        const int tag = props->format();
        facts.bitsPerSample = props->bitsPerSample();
        facts.floatingPoint = tag == 3;
        facts.lossless = tag == 1 || tag == 3;
        facts.codec = tag == 1   ? u"PCM"
                      : tag == 3 ? u"PCM floating point"
                                 : FromAscii("Wave format " + std::to_string(tag));
        if (facts.lossless && props->sampleFrames() > 0 && facts.bitsPerSample > 0) {
          facts.audioBytes =
              static_cast<std::int64_t>(props->sampleFrames()) * props->channels() * ((facts.bitsPerSample + 7) / 8);
        }
        // A Wave file may carry an ID3v2 tag and a RIFF INFO list; the ID3v2 tag
        // holds more (album artist, disc), the INFO list fills what it lacks.
        if (file->hasID3v2Tag()) facts.tagSources.push_back(file->ID3v2Tag()->properties());
        if (file->hasInfoTag()) facts.tagSources.push_back(file->InfoTag()->properties());
      }
      return file;
    }
    case Kind::Aiff: {
      auto file = std::make_unique<TagLib::RIFF::AIFF::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        const auto* props = file->audioProperties();
        const TagLib::ByteVector type = props->compressionType();
        const std::string compression = props->isAiffC() ? std::string(type.data(), type.size()) : "NONE";
        facts.bitsPerSample = props->bitsPerSample();
        facts.floatingPoint =
            compression == "fl32" || compression == "FL32" || compression == "fl64" || compression == "FL64";
        facts.lossless = facts.floatingPoint || compression == "NONE" || compression == "sowt" || compression == "twos";
        facts.codec = facts.floatingPoint ? u"PCM floating point" : facts.lossless ? u"PCM" : FromAscii(compression);
        if (facts.lossless && props->sampleFrames() > 0 && facts.bitsPerSample > 0) {
          facts.audioBytes =
              static_cast<std::int64_t>(props->sampleFrames()) * props->channels() * ((facts.bitsPerSample + 7) / 8);
        }
      }
      return file;
    }
    case Kind::Ape: {
      auto file = std::make_unique<TagLib::APE::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        facts.codec = u"Monkey's Audio";
        facts.lossless = true;
        facts.bitsPerSample = file->audioProperties()->bitsPerSample();
        if (file->hasAPETag()) facts.tagBytes += ApeSize(file->APETag());
        if (file->hasID3v1Tag()) facts.tagBytes += 128;
      }
      return file;
    }
    case Kind::WavPack: {
      auto file = std::make_unique<TagLib::WavPack::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        const auto* props = file->audioProperties();
        facts.codec = u"WavPack";
        facts.lossless = props->isLossless();
        facts.bitsPerSample = props->bitsPerSample();
        if (file->hasAPETag()) facts.tagBytes += ApeSize(file->APETag());
        if (file->hasID3v1Tag()) facts.tagBytes += 128;
      }
      return file;
    }
    case Kind::Musepack: {
      auto file = std::make_unique<TagLib::MPC::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        facts.codec = u"Musepack";
        if (file->hasAPETag()) facts.tagBytes += ApeSize(file->APETag());
        if (file->hasID3v1Tag()) facts.tagBytes += 128;
      }
      return file;
    }
    case Kind::Asf: {
      auto file = std::make_unique<TagLib::ASF::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        const auto* props = file->audioProperties();
        facts.codec = ToU16(props->codecName());
        if (facts.codec.empty()) facts.codec = u"Windows Media Audio";
        facts.lossless = props->codec() == TagLib::ASF::Properties::WMA9Lossless;
        facts.bitsPerSample = props->bitsPerSample();
      }
      return file;
    }
    case Kind::Tta: {
      auto file = std::make_unique<TagLib::TrueAudio::File>(path, true, style);
      if (file->isValid() && file->audioProperties()) {
        facts.codec = u"True Audio";
        facts.lossless = true;
        facts.bitsPerSample = file->audioProperties()->bitsPerSample();
        if (file->hasID3v2Tag()) facts.tagBytes += Id3v2Size(file->ID3v2Tag());
        if (file->hasID3v1Tag()) facts.tagBytes += 128;
      }
      return file;
    }
  }
  return nullptr;
}

// The file's tags as TagLib reads them, under their column names.
void AddTagLibTags(TagBlock& tags, TagLib::File& file, CodecFacts& facts) {
  // The merged view puts a non-empty Vorbis comment first and takes nothing from
  // other tags then; its keys are the comment's own, minus those it cannot carry.
  if (facts.tagSources.empty() && facts.xiph && !facts.xiph->isEmpty()) {
    for (const auto& [key, values] : facts.xiph->fieldListMap()) {
      if (!IsPropertyKey(key)) continue;
      const std::u16string column = ColumnNameForKey(KeyToUtf8(key));
      for (const auto& value : values) tags.Append(column, ToU16(value));
    }
    return;
  }
  if (facts.tagSources.empty()) facts.tagSources.push_back(file.properties());
  for (std::size_t source = 0; source < facts.tagSources.size(); ++source) {
    for (const auto& [key, values] : facts.tagSources[source]) {
      const std::u16string column = ColumnNameForKey(KeyToUtf8(key));
      if (source > 0 && tags.Has(column)) continue;
      for (const auto& value : values) tags.Append(column, ToU16(value));
    }
  }
}

// A file of this plug-in's extensions whose codec or layout TagLib cannot read (MP4
// holding Opus, FLAC or AC-3, RF64, a Wave file whose sizes were never filled in, an
// Ogg file with several streams): libavformat gives its format and length. Its tags
// are TagLib's when TagLib could read them, so that they land in the same columns as
// those of the type's other files; else the container's, as FFmpeg reads them.
bool OpenThroughFfmpeg(InstanceBase& instance, TsvOpenRecord* record, const Format& format, TagLib::File* file,
                       CodecFacts& facts) {
  if (file && file->isValid()) AddTagLibTags(instance.tags, *file, facts);
  FfmpegReadOptions options;
  options.demuxer = format.demuxer;
  options.containerTags = instance.tags.Count() == 0;
  return ReadWithFfmpeg(instance, record, options);
}

bool OpenInto(InstanceBase& instance, TsvOpenRecord* record) {
  const std::string path = PathToNative(record->path);
  std::int64_t fileSize = 0;
  if (!IsRegularFile(path, &fileSize)) return false;
  const Format* format = FormatFor(path);
  if (!format) return false;

  CodecFacts facts;
  std::unique_ptr<TagLib::File> file = OpenFile(format->kind, path.c_str(), facts);
  const TagLib::AudioProperties* props = file && file->isValid() ? file->audioProperties() : nullptr;
  if (!props || props->channels() <= 0 || props->sampleRate() <= 0) {
    return OpenThroughFfmpeg(instance, record, *format, file.get(), facts);
  }

  OpenResult result;
  result.channels = props->channels();
  result.sampleRate = props->sampleRate();
  result.bitsPerSample = facts.bitsPerSample > 0 ? facts.bitsPerSample : 16;
  result.formatTag = facts.floatingPoint ? TSV_FORMAT_TAG_IEEE_FLOAT : TSV_FORMAT_TAG_PCM;
  result.bitRate = facts.bitRate >= 0 ? static_cast<std::uint32_t>(std::min<std::int64_t>(facts.bitRate, UINT32_MAX))
                                      : static_cast<std::uint32_t>(std::max(props->bitrate(), 0)) * 1000u;
  result.lengthMs = facts.lengthMs >= 0 ? facts.lengthMs : props->lengthInMilliseconds();
  if (result.bitRate == 0 && result.lengthMs > 0) {
    result.bitRate = static_cast<std::uint32_t>(std::min<std::int64_t>(fileSize * 8000 / result.lengthMs, UINT32_MAX));
  }
  if (facts.audioBytes > 0 && facts.audioBytes <= fileSize) {
    result.compressedSize = facts.audioBytes;
  } else if (facts.tagBytes > 0 && facts.tagBytes < fileSize) {
    result.compressedSize = fileSize - facts.tagBytes;
  } else {
    result.compressedSize = fileSize;
  }

  AddTagLibTags(instance.tags, *file, facts);
  instance.tags.Add(u"Codec", facts.codec);
  instance.tags.Add(u"audio quality",
                    QualityLabel({facts.lossless, facts.floatingPoint,
                                  facts.bitsPerSample > 0 ? facts.bitsPerSample : 16, result.sampleRate, 0}));
  Publish(instance, result, record);
  return true;
}

}  // namespace

// Tags only: the converter decodes these files with FFmpeg itself, so the decoding
// exports fail (their first DecodeBlock tells the converter so).
const PluginDescription kPlugin = {kRows.data(), kRows.size(), kPropertyElements, SilenceTagLib, OpenInto,
                                   nullptr,       nullptr,     nullptr};

}  // namespace tessaroven::plugin
