// Decoder plug-in "ffmpeg": what the TagLib plug-in does not read, through FFmpeg's
// libavformat: DSD files, AC-3 and DTS, raw AAC, Matroska and WebM, and the audio
// track of video containers.
//
// Open reads the audio format, length, bit rate, compressed size and tags of the
// first (best) audio stream; DecodeBlock, SetPosition and Close decode that stream
// for the converter. Set and DeleteATag exist because every plug-in must have them,
// and fail.
//
// This module declares the extensions and nothing else; the reading lives in
// ffmpeg/reader.so beside it (ffmpeg_reader.cpp), loaded on the first Open. The
// selector loads every plug-in at start-up to learn its extensions, and FFmpeg's
// libraries would make that cost ~50 ms on their own. Without its reader the plug-in
// still lists its extensions, but opens nothing.
//
// One instance reads one file and owns every text and block it hands out until
// Destroy.
#include "ffmpeg_reader_module.h"

namespace tessaroven::plugin {
namespace {

constexpr DecodeRow kRows[] = {
    {u".dsf", u"DSD Stream File"},
    {u".dff", u"DSDIFF audio"},
    {u".ac3", u"Dolby Digital (AC-3) audio"},
    {u".dts", u"DTS audio"},
    {u".aac", u"Raw AAC audio (ADTS)"},
    {u".mka", u"Matroska audio"},
    {u".webm", u"WebM audio or video"},
    {u".mkv", u"Matroska video (its audio track)"},
    {u".avi", u"AVI video (its audio track)"},
    {u".mov", u"QuickTime video (its audio track)"},
    {u".mpg", u"MPEG video (its audio track)"},
    {u".mpeg", u"MPEG video (its audio track)"},
    {u".ts", u"MPEG transport stream (its audio track)"},
    {u".m2ts", u"Blu-ray transport stream (its audio track)"},
    {u".flv", u"Flash video (its audio track)"},
    {u".3gp", u"3GPP video (its audio track)"},
};

constexpr char16_t kPropertyElements[] = u"Codec\raudio quality\rEncoder\rDSD Type";

bool OpenInto(InstanceBase& instance, TsvOpenRecord* record) {
  if (!ReadWithFfmpeg(instance, record, {})) return false;
  instance.decodePath = record->path;
  return true;
}

void Prepare() {}

}  // namespace

const PluginDescription kPlugin = {kRows,    std::size(kRows), kPropertyElements,    Prepare,
                                   OpenInto, DecodeWithFfmpeg, SeekWithFfmpeg, ReleaseFfmpegDecoding};

}  // namespace tessaroven::plugin
