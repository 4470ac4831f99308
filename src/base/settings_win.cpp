// The settings store on Windows: the registry itself, one open and close per call.
#include <windows.h>

#include "base/settings_internal.h"
#include "base/text.h"

namespace tessaroven::settings_platform {

struct KeyState {
  HKEY key = nullptr;
};

namespace {

HKEY RootKey(SettingsRoot root) {
  switch (root) {
    case SettingsRoot::LocalMachine:
      return HKEY_LOCAL_MACHINE;
    case SettingsRoot::ClassesRoot:
      return HKEY_CLASSES_ROOT;
    case SettingsRoot::Default:
    case SettingsRoot::CurrentUser:
      break;
  }
  return HKEY_CURRENT_USER;
}

}  // namespace

void CloseKeyState(KeyState* state) {
  if (state == nullptr) return;
  if (state->key != nullptr) RegCloseKey(state->key);
  delete state;
}

std::unique_ptr<SettingsKey::Impl> CreateKey(SettingsRoot root, std::u16string_view keyPath, std::uint32_t access) {
  const std::wstring path = ToOsString(keyPath);
  HKEY key = nullptr;
  if (RegCreateKeyExW(RootKey(root), path.c_str(), 0, nullptr, 0, access, nullptr, &key, nullptr) != ERROR_SUCCESS)
    return nullptr;
  auto impl = std::make_unique<SettingsKey::Impl>();
  impl->access = access;
  impl->state = new KeyState{key};
  return impl;
}

bool QueryValue(const SettingsKey::Impl& key, std::u16string_view name, std::uint32_t* type, std::uint8_t* data,
                std::uint32_t* size) {
  const std::wstring valueName = ToOsString(name);
  DWORD gotType = 0;
  DWORD gotSize = *size;
  const LONG result = RegQueryValueExW(key.state->key, valueName.c_str(), nullptr, &gotType, data, &gotSize);
  *type = gotType;
  *size = gotSize;
  return result == ERROR_SUCCESS;
}

bool SetValue(const SettingsKey::Impl& key, std::u16string_view name, std::uint32_t type, const std::uint8_t* data,
              std::uint32_t size) {
  const std::wstring valueName = ToOsString(name);
  return RegSetValueExW(key.state->key, valueName.c_str(), 0, type, data, size) == ERROR_SUCCESS;
}

}  // namespace tessaroven::settings_platform

namespace tessaroven {

std::u16string SettingsStoreProblem() { return {}; }

std::u16string SettingsStoreLocation() {
  std::u16string location;
  switch (DefaultSettingsRoot()) {
    case SettingsRoot::LocalMachine:
      location = u"HKEY_LOCAL_MACHINE\\";
      break;
    case SettingsRoot::ClassesRoot:
      location = u"HKEY_CLASSES_ROOT\\";
      break;
    case SettingsRoot::Default:
    case SettingsRoot::CurrentUser:
      location = u"HKEY_CURRENT_USER\\";
      break;
  }
  return location + DefaultSettingsKeyPath();
}

}  // namespace tessaroven
