// clQzDecoder and the plug-in registry: which library decodes an extension.
//
// Choosing a library is made cheap three ways: a decoder object that already holds the
// library for the extension just creates a new instance (no settings access, no
// folder search); otherwise the per-user cache under kDecoderCacheKey names the
// library that last decoded the extension; only when that fails are the plug-ins of
// the folder tried in enumeration order. Broken or foreign libraries are skipped
// silently.
//
// Threads: a clQzDecoder belongs to one thread (the main window's for the metadata
// filter, each worker its own). The free functions may run on any thread with their
// own decoder object; the cache goes through the settings store, which is safe.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/sorted_list.h"
#include "decode/xdll.h"

#define TESSAROVEN_DECODER_PLUGIN_HOST
#include "tessaroven/decoder_plugin.h"

namespace tessaroven {

// Settings key of the decoder cache: one REG_SZ value per extension (as it stood in
// the file name), holding the full path of the library that decoded it last.
inline constexpr std::u16string_view kDecoderCacheKey = u"Software\\Orvandelle\\Tessaroven\\DecoderCache64";
static_assert(sizeof(void*) == 8, "the cache key names the 64-bit build");

// Extension under which a decoder is loaded only to ask what it decodes.
inline constexpr std::u16string_view kNotUsingExtension = u".NOTUSING";

struct DecoderEntryPoints {
  TsvCreateFn Create = nullptr;
  TsvDestroyFn Destroy = nullptr;
  TsvGetFn Get = nullptr;
  TsvSetFn Set = nullptr;
  TsvOpenFn Open = nullptr;
  TsvCloseFn Close = nullptr;
  TsvDecodeBlockFn DecodeBlock = nullptr;
  TsvSetPositionFn SetPosition = nullptr;
  TsvDeleteATagFn DeleteATag = nullptr;
};

// One loaded plug-in with at most one live instance.
class clQzDecoder : public XDLL {
 public:
  clQzDecoder();
  ~clQzDecoder() override;

  // Loads `path` (unless a module is already held) and resolves the nine exports.
  // True only when a library is loaded and all nine were found; missing ones stay
  // null. With no path nothing is loaded, so the result is false.
  virtual bool LoadAndResolve(std::optional<std::u16string_view> path);
  // Unloads, then loads `path` for `extension`; a complete library already held from
  // `path` is kept and only its instance destroyed. On false a loaded module may stay
  // held until the next Unload.
  bool LoadFor(std::u16string_view path, std::u16string_view extension);
  // Destroys the instance, releases the library, clears everything.
  void Unload();
  // Calls Destroy on the instance, if any, and forgets it; the library stays.
  void DestroyInstance();

  bool Valid() const { return valid_; }
  const std::u16string& Extension() const { return extension_; }
  const std::u16string& LibraryPath() const { return libraryPath_; }
  TsvInstance Instance() const { return instance_; }
  const DecoderEntryPoints& Entry() const { return entry_; }

  // Destroys any instance and creates a new one; true when Create gave one.
  bool CreateInstance(TsvCreateBlock& block);

 private:
  bool valid_ = false;
  std::u16string extension_;
  std::u16string libraryPath_;
  TsvInstance instance_ = nullptr;
  DecoderEntryPoints entry_;
};

// True when `decoder` now holds a live instance of a plug-in that decodes the
// extension of `file`. Keep one long-lived decoder per caller so that files of one
// extension in a row keep the library loaded.
bool OpenDecoderForFile(std::u16string_view file, clQzDecoder& decoder, TsvCreateBlock& block);
// True when the library at `path` lists `extension` (ASCII case fold); the decoder
// then holds the library and an instance. On false it is unloaded.
bool TryDecoderLibrary(std::u16string_view path, std::u16string_view extension, clQzDecoder& decoder,
                       TsvCreateBlock& block);

// Every extension that a plug-in of the folder declares, ".IGNORE" rows left out.
// `out` is emptied first.
void ListDecodableExtensions(STStringStorage& out);

// One row of the list of audio types (the type filter and the filter dialog).
struct DecoderTypeRecord {
  std::u16string extension;
  std::u16string description;
  bool excluded = false;
};
struct DecoderTypeOrder {
  int operator()(const DecoderTypeRecord& a, const DecoderTypeRecord& b) const {
    return AsciiFoldCompare(a.extension, b.extension);
  }
  int operator()(std::u16string_view a, const DecoderTypeRecord& b) const { return AsciiFoldCompare(a, b.extension); }
};
using DecoderTypeList = XBinarySortList<DecoderTypeRecord, DecoderTypeOrder>;
// At most this many "Decodes" rows are taken from one library for the type list.
inline constexpr std::uint32_t kMaxDecoderTypesPerLibrary = 1000;
// Appends one record per declared extension (".IGNORE" rows left out, duplicates
// across libraries kept).
void BuildDecoderTypeList(DecoderTypeList& list);

// The property element names that the decoder's plug-in reports ("Property Elements",
// split at "\r"); empty when it has no instance or no such item.
std::vector<std::u16string> PropertyElementsOf(const clQzDecoder& decoder);

// How many times the decoder cache has been read or written since the start, for
// benchmarks and tests of the fast path.
std::uint64_t DecoderCacheAccessCount();

}  // namespace tessaroven
