#include "base/settings.h"

#include <mutex>
#include <vector>

#include "base/settings_internal.h"
#include "base/text.h"

namespace tessaroven {
namespace {

// The defaults are set once before other threads start, but tests change them between
// cases while nothing else runs; the lock keeps a late reader from seeing half a string.
struct Defaults {
  std::mutex mutex;
  SettingsRoot root = SettingsRoot::CurrentUser;
  std::u16string keyPath{kDefaultSettingsKeyPath};
};

Defaults& TheDefaults() {
  static Defaults defaults;
  return defaults;
}

}  // namespace

void SetDefaultSettingsRoot(SettingsRoot root) {
  Defaults& d = TheDefaults();
  std::lock_guard lock(d.mutex);
  d.root = root == SettingsRoot::Default ? SettingsRoot::CurrentUser : root;
}

void SetDefaultSettingsKeyPath(std::u16string_view keyPath) {
  Defaults& d = TheDefaults();
  std::lock_guard lock(d.mutex);
  d.keyPath = keyPath;
}

SettingsRoot DefaultSettingsRoot() {
  Defaults& d = TheDefaults();
  std::lock_guard lock(d.mutex);
  return d.root;
}

std::u16string DefaultSettingsKeyPath() {
  Defaults& d = TheDefaults();
  std::lock_guard lock(d.mutex);
  return d.keyPath;
}

SettingsKey::SettingsKey() = default;
SettingsKey::SettingsKey(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
SettingsKey::SettingsKey(SettingsKey&&) noexcept = default;
SettingsKey& SettingsKey::operator=(SettingsKey&&) noexcept = default;
SettingsKey::~SettingsKey() = default;

SettingsKey SettingsOpenKey(std::uint32_t access, SettingsRoot root, SettingsKeyPath keyPath) {
  std::u16string path = keyPath ? std::u16string(*keyPath) : DefaultSettingsKeyPath();
  if (path.empty()) return SettingsKey();
  if (root == SettingsRoot::Default) root = DefaultSettingsRoot();
  return SettingsKey(settings_platform::CreateKey(root, path, access));
}

std::uint32_t SettingsGetDword(std::u16string_view name, SettingsRoot root, SettingsKeyPath keyPath) {
  const SettingsKey key = SettingsOpenKey(kKeyQueryValue, root, keyPath);
  if (!key) return 0;
  std::uint8_t buffer[4] = {};
  std::uint32_t type = 0;
  std::uint32_t size = sizeof buffer;
  if (!settings_platform::QueryValue(*key.impl(), name, &type, buffer, &size) || type != kRegDword) return 0;
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = (value << 8) | buffer[i];
  return value;
}

std::u16string SettingsGetString(std::u16string_view name, SettingsRoot root, SettingsKeyPath keyPath) {
  // Size first, then the data through a second open: the buffer is two bytes longer
  // than the value and zeroed, so text stored without its NUL still ends.
  std::uint32_t size = 0;
  {
    const SettingsKey key = SettingsOpenKey(kKeyQueryValue, root, keyPath);
    if (!key) return {};
    std::uint32_t type = 0;
    if (!settings_platform::QueryValue(*key.impl(), name, &type, nullptr, &size)) return {};
  }
  if (size == 0) return {};
  std::vector<std::uint8_t> buffer(std::size_t{size} + 2, 0);
  const SettingsKey key = SettingsOpenKey(kKeyQueryValue, root, keyPath);
  if (!key) return {};
  std::uint32_t type = 0;
  std::uint32_t got = size;
  if (!settings_platform::QueryValue(*key.impl(), name, &type, buffer.data(), &got) ||
      (type != kRegSz && type != kRegExpandSz))
    return {};
  std::u16string text;
  for (std::size_t i = 0; i + 1 < buffer.size(); i += 2) {
    const char16_t c = static_cast<char16_t>(buffer[i] | (buffer[i + 1] << 8));
    if (c == 0) break;
    text.push_back(c);
  }
  return text;
}

bool SettingsSetDword(std::uint32_t value, std::u16string_view name, SettingsRoot root, SettingsKeyPath keyPath) {
  const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                                 static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
  return SettingsSetValue(bytes, sizeof bytes, kRegDword, name, root, keyPath);
}

bool SettingsSetValue(const void* data, std::uint32_t byteCount, std::uint32_t type, std::u16string_view name,
                      SettingsRoot root, SettingsKeyPath keyPath) {
  if (data == nullptr && byteCount != 0) return false;
  const SettingsKey key = SettingsOpenKey(kKeyWrite, root, keyPath);
  if (!key) return false;
  return settings_platform::SetValue(*key.impl(), name, type, static_cast<const std::uint8_t*>(data), byteCount);
}

bool SettingsSetString(std::u16string_view text, std::u16string_view name, SettingsRoot root, SettingsKeyPath keyPath) {
  const std::vector<std::uint8_t> bytes = Utf16LeBytes(text, true);
  return SettingsSetValue(bytes.data(), static_cast<std::uint32_t>(bytes.size()), kRegSz, name, root, keyPath);
}

}  // namespace tessaroven
