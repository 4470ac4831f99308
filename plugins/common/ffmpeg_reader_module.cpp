#include "ffmpeg_reader_module.h"

#include <mutex>

namespace tessaroven::plugin {
namespace {

struct Reader {
  FfmpegOpenIntoFn openInto = nullptr;
};

// Loaded once for the process and never unloaded: a plug-in that the selector unloads
// leaves it behind, and the next instance finds it ready.
const Reader& TheReader() {
  static Reader reader;
  static std::once_flag once;
  std::call_once(once, [] {
    void* module = LoadFfmpegReaderModule();
    if (module == nullptr) return;
    const auto prepare = reinterpret_cast<void (*)()>(FfmpegReaderExport(module, "TsvFfmpegPrepare"));
    reader.openInto = reinterpret_cast<FfmpegOpenIntoFn>(FfmpegReaderExport(module, "TsvFfmpegOpenInto"));
    if (prepare) prepare();
  });
  return reader;
}

}  // namespace

bool ReadWithFfmpeg(InstanceBase& instance, TsvOpenRecord* record, const FfmpegReadOptions& options) {
  const Reader& reader = TheReader();
  return reader.openInto != nullptr && reader.openInto(instance, record, options);
}

}  // namespace tessaroven::plugin
