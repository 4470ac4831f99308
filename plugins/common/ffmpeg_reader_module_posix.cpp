#include <dlfcn.h>

#include <string>

#include "ffmpeg_reader_module.h"

namespace tessaroven::plugin {

void* LoadFfmpegReaderModule() {
  Dl_info self{};
  if (dladdr(reinterpret_cast<const void*>(&LoadFfmpegReaderModule), &self) == 0 || self.dli_fname == nullptr) {
    return nullptr;
  }
  std::string path = self.dli_fname;
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return nullptr;
  path.erase(slash + 1);
  path += "ffmpeg/reader.so";
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* FfmpegReaderExport(void* module, const char* name) { return dlsym(module, name); }

}  // namespace tessaroven::plugin
