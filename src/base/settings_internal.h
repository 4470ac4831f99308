// The platform layer under the settings functions (private to settings*.cpp).
//
// settings.cpp holds the logic both platforms share (defaults, argument handling,
// type checks, the two-step string read); each platform supplies the three calls
// below, which behave like RegCreateKeyExW, RegQueryValueExW and RegSetValueExW:
// settings_win.cpp makes exactly those calls, settings_posix.cpp emulates them over
// the settings file. All three may be called from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/settings.h"

namespace tessaroven {

namespace settings_platform {
struct KeyState;  // the platform's handle (an HKEY, or a view of the settings file)
void CloseKeyState(KeyState* state);
}  // namespace settings_platform

struct SettingsKey::Impl {
  Impl() = default;
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() { settings_platform::CloseKeyState(state); }

  std::uint32_t access = 0;
  settings_platform::KeyState* state = nullptr;  // owned; closed with the key
};

namespace settings_platform {

// Opens the key `keyPath` below `root` (never SettingsRoot::Default, never an empty
// path), creating it when missing. Null on any error.
std::unique_ptr<SettingsKey::Impl> CreateKey(SettingsRoot root, std::u16string_view keyPath, std::uint32_t access);

// With `data` null, reports the value's type and byte size. Otherwise `*size` is the
// buffer's size on entry and the value's size on return; a buffer that is too small
// fails (with the needed size in `*size`), as do a missing value and a key opened
// without kKeyQueryValue.
bool QueryValue(const SettingsKey::Impl& key, std::u16string_view name, std::uint32_t* type, std::uint8_t* data,
                std::uint32_t* size);

// Stores the bytes with the given type; fails on a key opened without the right to set
// values.
bool SetValue(const SettingsKey::Impl& key, std::u16string_view name, std::uint32_t type, const std::uint8_t* data,
              std::uint32_t size);

}  // namespace settings_platform
}  // namespace tessaroven
