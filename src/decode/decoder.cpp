#include "decode/decoder.h"

#include <array>

#include "base/path.h"
#include "base/settings.h"
#include "base/text.h"
#include "decode/plugin_folder.h"

namespace tessaroven {

namespace {

std::atomic<std::uint64_t> g_cacheAccesses{0};

std::u16string ReadCache(std::u16string_view extension) {
  g_cacheAccesses.fetch_add(1, std::memory_order_relaxed);
  return SettingsGetString(extension, SettingsRoot::CurrentUser, kDecoderCacheKey);
}

void WriteCache(std::u16string_view extension, std::u16string_view library) {
  g_cacheAccesses.fetch_add(1, std::memory_order_relaxed);
  SettingsSetString(library, extension, SettingsRoot::CurrentUser, kDecoderCacheKey);
}

// The cached path's file name: the cache may come from another installation or
// platform, so both slashes end a folder.
std::u16string_view CachedFileName(std::u16string_view cached) {
  const std::size_t cut = cached.find_last_of(u"\\/");
  return cut == std::u16string_view::npos ? cached : cached.substr(cut + 1);
}

bool ContainsIgnoreMark(const char16_t* text) {
  return std::u16string_view(text).find(u".IGNORE") != std::u16string_view::npos;
}

// Asks one library for its "Decodes" rows; `strict` stops at a failed Get too (the
// extension list does, the type list looks only at the texts), `limit` caps the rows.
template <class Sink>
void ForEachDeclaredType(const std::u16string& library, bool strict, std::uint32_t limit, Sink sink) {
  clQzDecoder decoder;
  if (!decoder.LoadFor(library, kNotUsingExtension)) return;
  TsvCreateBlock block{};
  if (!decoder.CreateInstance(block)) return;
  for (std::uint32_t i = 0; i < limit; ++i) {
    TsvItemRecord item{};
    item.index = i;
    const std::int32_t ok = decoder.Entry().Get(decoder.Instance(), u"Decodes", &item);
    if ((strict && ok == 0) || item.text1 == nullptr || item.text2 == nullptr) break;
    sink(item.text1, item.text2);
  }
}

}  // namespace

clQzDecoder::clQzDecoder() { clQzDecoder::LoadAndResolve(std::nullopt); }

clQzDecoder::~clQzDecoder() { Unload(); }

bool clQzDecoder::LoadAndResolve(std::optional<std::u16string_view> path) {
  if (HasModule()) return valid_;
  valid_ = true;
  if (path) OpenLibrary(*path);
  const auto resolve = [this](auto& slot, const char* name) {
    slot = Function<std::remove_reference_t<decltype(slot)>>(name);
    if (slot == nullptr) valid_ = false;
  };
  resolve(entry_.Create, "Create");
  resolve(entry_.Destroy, "Destroy");
  resolve(entry_.Get, "Get");
  resolve(entry_.Set, "Set");
  resolve(entry_.Open, "Open");
  resolve(entry_.Close, "Close");
  resolve(entry_.DecodeBlock, "DecodeBlock");
  resolve(entry_.SetPosition, "SetPosition");
  resolve(entry_.DeleteATag, "DeleteATag");
  return valid_;
}

bool clQzDecoder::LoadFor(std::u16string_view path, std::u16string_view extension) {
  // A folder of mixed formats switches extension nearly every file, mostly between
  // extensions of one plug-in: releasing and loading that library again would cost
  // more than reading the file.
  if (valid_ && HasModule() && libraryPath_ == path) {
    DestroyInstance();
    extension_ = std::u16string(extension);
    return true;
  }
  Unload();
  if (!LoadAndResolve(path)) return false;
  extension_ = std::u16string(extension);
  libraryPath_ = std::u16string(path);
  return true;
}

void clQzDecoder::DestroyInstance() {
  if (instance_ != nullptr && entry_.Destroy != nullptr) entry_.Destroy(instance_);
  instance_ = nullptr;
}

void clQzDecoder::Unload() {
  DestroyInstance();
  ReleaseLibrary();
  LoadAndResolve(std::nullopt);
  extension_.clear();
  libraryPath_.clear();
}

bool clQzDecoder::CreateInstance(TsvCreateBlock& block) {
  DestroyInstance();
  if (entry_.Create == nullptr) return false;
  instance_ = entry_.Create(&block);
  return instance_ != nullptr;
}

bool TryDecoderLibrary(std::u16string_view path, std::u16string_view extension, clQzDecoder& decoder,
                       TsvCreateBlock& block) {
  if (!decoder.LoadFor(path, extension)) {
    decoder.Unload();
    return false;
  }
  if (!decoder.CreateInstance(block)) {
    decoder.Unload();
    return false;
  }
  for (std::uint32_t i = 0;; ++i) {
    TsvItemRecord item{};
    item.index = i;
    if (decoder.Entry().Get(decoder.Instance(), u"Decodes", &item) == 0 || item.text1 == nullptr) break;
    if (AsciiFoldEquals(extension, item.text1)) return true;
  }
  decoder.Unload();
  return false;
}

bool OpenDecoderForFile(std::u16string_view file, clQzDecoder& decoder, TsvCreateBlock& block) {
  decoder.DestroyInstance();
  const std::u16string_view extension = ExtensionOf(file);

  if (!extension.empty() && decoder.HasModule() && AsciiFoldEquals(decoder.Extension(), extension)) {
    return decoder.CreateInstance(block);
  }

  const std::u16string folder = PluginFolder();
  bool found = false;
  const std::u16string cached = ReadCache(extension);
  if (!cached.empty()) {
    found = TryDecoderLibrary(folder + std::u16string(CachedFileName(cached)), extension, decoder, block);
  }
  if (!found) {
    for (const std::u16string& library : ListPluginLibraries(folder)) {
      if (TryDecoderLibrary(library, extension, decoder, block)) {
        found = true;
        break;
      }
    }
  }
  if (!found) return false;
  WriteCache(extension, decoder.LibraryPath());
  return true;
}

void ListDecodableExtensions(STStringStorage& out) {
  std::vector<std::u16string> extensions;
  std::vector<std::u16string> descriptions;  // asked for alike, not offered anywhere yet
  for (const std::u16string& library : ListPluginLibraries(PluginFolder())) {
    ForEachDeclaredType(library, true, UINT32_MAX, [&](const char16_t* extension, const char16_t* description) {
      if (ContainsIgnoreMark(extension)) return;
      extensions.emplace_back(extension);
      descriptions.emplace_back(description);
    });
  }
  out.Clear();
  for (auto& extension : extensions) out.Add(std::move(extension));
}

void BuildDecoderTypeList(DecoderTypeList& list) {
  for (const std::u16string& library : ListPluginLibraries(PluginFolder())) {
    ForEachDeclaredType(library, false, kMaxDecoderTypesPerLibrary,
                        [&](const char16_t* extension, const char16_t* description) {
                          if (ContainsIgnoreMark(extension)) return;
                          list.Add(DecoderTypeRecord{extension, description, false});
                        });
  }
}

std::vector<std::u16string> PropertyElementsOf(const clQzDecoder& decoder) {
  if (decoder.Instance() == nullptr || decoder.Entry().Get == nullptr) return {};
  TsvItemRecord item{};
  if (decoder.Entry().Get(decoder.Instance(), u"Property Elements", &item) == 0 || item.text1 == nullptr) return {};
  return Split(item.text1, u"\r");
}

std::uint64_t DecoderCacheAccessCount() { return g_cacheAccesses.load(std::memory_order_relaxed); }

}  // namespace tessaroven
