// Opens fuzzed files with one real decoder plug-in, the way the file selector does:
// the library is loaded once, then Create -> Open -> Destroy per input. The first
// input byte picks the extension from the plug-in's "Decodes" list (so every declared
// format is reached), the remaining bytes are the file. The tag blocks an Open hands
// back go through the selector's reader too, so a block that claims more bytes than
// it owns shows up as an ASan report.
//
// The plug-in is the module named by TESSAROVEN_FUZZ_PLUGIN at build time, or by the
// environment variable of the same name. With TESSAROVEN_FUZZ_LIST=1 in the
// environment the target prints its extensions, one per line in index order, and
// exits: bench/run-fuzzers.sh uses that to prefix the seed files.
#define TESSAROVEN_DECODER_PLUGIN_HOST
#include <dlfcn.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "decode/tag_block.h"
#include "tessaroven/decoder_plugin.h"

namespace {

struct Plugin {
  TsvCreateFn create = nullptr;
  TsvDestroyFn destroy = nullptr;
  TsvGetFn get = nullptr;
  TsvOpenFn open = nullptr;
  std::vector<std::string> extensions;  // ".flac", ASCII
  std::string path;                     // the temporary file, UTF-8
};

Plugin* g_plugin = nullptr;

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "plugin_open_fuzz: %s\n", what.c_str());
  std::exit(1);
}

template <typename Fn>
Fn Symbol(void* library, const char* name) {
  void* symbol = dlsym(library, name);
  if (symbol == nullptr) Fail(std::string("missing export ") + name);
  return reinterpret_cast<Fn>(symbol);
}

// Extensions from the "Decodes" list; a row marked ".IGNORE" is still decoded, so its
// extension (the part before the mark) is fuzzed too.
std::vector<std::string> ReadExtensions(const Plugin& plugin) {
  std::vector<std::string> extensions;
  TsvCreateBlock block{};
  TsvInstance instance = plugin.create(&block);
  if (instance == nullptr) Fail("Create failed");
  for (std::uint32_t index = 0;; ++index) {
    TsvItemRecord item{};
    item.index = index;
    if (plugin.get(instance, u"Decodes", &item) == 0 || item.text1 == nullptr || item.text2 == nullptr) break;
    std::u16string text(item.text1);
    if (const auto mark = text.find(u".IGNORE"); mark != std::u16string::npos) text.resize(mark);
    std::string ascii;
    for (const char16_t c : text) ascii.push_back(static_cast<char>(c));
    if (!ascii.empty()) extensions.push_back(ascii);
  }
  plugin.destroy(instance);
  if (extensions.empty()) Fail("the plug-in declares no extension");
  return extensions;
}

Plugin* LoadPlugin() {
  const char* path = std::getenv("TESSAROVEN_FUZZ_PLUGIN");
#ifdef TESSAROVEN_FUZZ_PLUGIN
  if (path == nullptr) path = TESSAROVEN_FUZZ_PLUGIN;
#endif
  if (path == nullptr) Fail("set TESSAROVEN_FUZZ_PLUGIN to the plug-in module");
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) Fail(std::string("cannot load ") + path + ": " + dlerror());
  auto* plugin = new Plugin;
  plugin->create = Symbol<TsvCreateFn>(library, "Create");
  plugin->destroy = Symbol<TsvDestroyFn>(library, "Destroy");
  plugin->get = Symbol<TsvGetFn>(library, "Get");
  plugin->open = Symbol<TsvOpenFn>(library, "Open");
  plugin->extensions = ReadExtensions(*plugin);
  return plugin;
}

void WriteFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) Fail("cannot write " + path);
  if (size != 0 && std::fwrite(data, 1, size, file) != size) Fail("short write to " + path);
  if (std::fclose(file) != 0) Fail("cannot close " + path);
}

void CheckTagBlock(const std::uint8_t* block, std::int32_t length) {
  if (block == nullptr || length <= 0) return;
  // Touch every byte the plug-in claims, then parse as the selector would.
  volatile std::uint8_t sink = 0;
  for (std::int32_t i = 0; i < length; ++i) sink = static_cast<std::uint8_t>(sink ^ block[i]);
  (void)tessaroven::ParseTagBlock(block, length);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_plugin = LoadPlugin();
  if (const char* list = std::getenv("TESSAROVEN_FUZZ_LIST"); list != nullptr && list[0] == '1') {
    for (const std::string& extension : g_plugin->extensions) std::printf("%s\n", extension.c_str());
    std::exit(0);
  }
  const char* tmp = std::getenv("TMPDIR");
  g_plugin->path =
      std::string(tmp != nullptr && tmp[0] != '\0' ? tmp : "/tmp") + "/tessaroven-fuzz-" + std::to_string(getpid());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  Plugin& plugin = *g_plugin;
  const std::string path = plugin.path + plugin.extensions[data[0] % plugin.extensions.size()];
  WriteFile(path, data + 1, size - 1);

  TsvCreateBlock block{};
  TsvInstance instance = plugin.create(&block);
  if (instance == nullptr) __builtin_trap();
  const std::u16string path16(path.begin(), path.end());  // the path is ASCII
  TsvOpenRecord record{};
  record.path = path16.c_str();
  record.magic = TSV_OPEN_RECORD_MAGIC;
  if (plugin.open(instance, &record) != 0) {
    CheckTagBlock(record.tags1, record.tags1_length);
    CheckTagBlock(record.tags2, record.tags2_length);
  }
  plugin.destroy(instance);
  std::remove(path.c_str());
  return 0;
}
