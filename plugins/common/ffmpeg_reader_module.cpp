#include "ffmpeg_reader_module.h"

#include <mutex>

namespace tessaroven::plugin {
namespace {

struct Reader {
  FfmpegOpenIntoFn openInto = nullptr;
  FfmpegDecodeBlockFn decodeBlock = nullptr;
  FfmpegSetPositionFn setPosition = nullptr;
  FfmpegReleaseFn release = nullptr;
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
    reader.decodeBlock = reinterpret_cast<FfmpegDecodeBlockFn>(FfmpegReaderExport(module, "TsvFfmpegDecodeBlock"));
    reader.setPosition = reinterpret_cast<FfmpegSetPositionFn>(FfmpegReaderExport(module, "TsvFfmpegSetPosition"));
    reader.release = reinterpret_cast<FfmpegReleaseFn>(FfmpegReaderExport(module, "TsvFfmpegRelease"));
    if (prepare) prepare();
  });
  return reader;
}

}  // namespace

bool ReadWithFfmpeg(InstanceBase& instance, TsvOpenRecord* record, const FfmpegReadOptions& options) {
  const Reader& reader = TheReader();
  return reader.openInto != nullptr && reader.openInto(instance, record, options);
}

std::int32_t DecodeWithFfmpeg(InstanceBase& instance, void* buffer, std::uint32_t capacity) {
  const Reader& reader = TheReader();
  return reader.decodeBlock != nullptr ? reader.decodeBlock(instance, buffer, capacity) : -1;
}

std::int32_t SeekWithFfmpeg(InstanceBase& instance, std::int64_t positionMs) {
  const Reader& reader = TheReader();
  return reader.setPosition != nullptr ? reader.setPosition(instance, positionMs) : 0;
}

// Only an instance that decoded holds state, and then the module is loaded already.
void ReleaseFfmpegDecoding(InstanceBase& instance) {
  if (instance.decoding == nullptr) return;
  const Reader& reader = TheReader();
  if (reader.release != nullptr) reader.release(instance);
}

}  // namespace tessaroven::plugin
