// Decoder plug-in "ffmpeg": what the TagLib plug-in does not read, through FFmpeg's
// libavformat: DSD files, AC-3 and DTS, raw AAC, Matroska and WebM, and the audio
// track of video containers.
//
// It reads metadata only: the audio format, length, bit rate, compressed size and
// tags of the first (best) audio stream. Set and the four decoding exports exist
// because every plug-in must have them, and fail.
//
// This module declares the extensions and nothing else; the reading lives in
// ffmpeg/reader.so beside it (ffmpeg_reader.cpp), loaded on the first Open. The
// selector loads every plug-in at start-up to learn its extensions, and FFmpeg's
// libraries would make that cost ~50 ms on their own.
//
// One instance reads one file and owns every text and block it hands out until
// Destroy.
#include <dlfcn.h>

#include <mutex>
#include <string>

#include "plugin_support.h"

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

// The reader module, loaded once for the process and never unloaded (a plug-in
// unloaded by the selector takes it along only when the process ends).
struct Reader {
  void (*prepare)() = nullptr;
  bool (*openInto)(InstanceBase&, TsvOpenRecord*) = nullptr;
};

const Reader& TheReader() {
  static Reader reader;
  static std::once_flag once;
  std::call_once(once, [] {
    Dl_info self{};
    if (dladdr(reinterpret_cast<const void*>(&TheReader), &self) == 0 || self.dli_fname == nullptr) return;
    std::string path = self.dli_fname;
    path.erase(path.find_last_of('/') + 1);
    path += "ffmpeg/reader.so";
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return;
    reader.prepare = reinterpret_cast<void (*)()>(dlsym(module, "TsvFfmpegPrepare"));
    reader.openInto = reinterpret_cast<bool (*)(InstanceBase&, TsvOpenRecord*)>(dlsym(module, "TsvFfmpegOpenInto"));
    if (reader.prepare) reader.prepare();
  });
  return reader;
}

// Without its reader the plug-in still lists its extensions, but opens nothing.
bool OpenInto(InstanceBase& instance, TsvOpenRecord* record) {
  const Reader& reader = TheReader();
  return reader.openInto != nullptr && reader.openInto(instance, record);
}

void Prepare() {}

}  // namespace

const PluginDescription kPlugin = {kRows, std::size(kRows), kPropertyElements, Prepare, OpenInto};

}  // namespace tessaroven::plugin
