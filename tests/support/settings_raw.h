// A settings value exactly as stored, whatever its type: what the tests look at to
// see the bytes and type a setter wrote, and what they save and put back around a
// test that changes the real store (under Wine, the prefix's registry). The program
// itself only reads typed values.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/settings.h"
#include "base/settings_internal.h"

namespace tessaroven::test {

struct SettingsRawValue {
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
};

// Nullopt when the value does not exist. Asks for the size first, as a registry
// reader must; a value that grows in between is asked for again.
inline std::optional<SettingsRawValue> SettingsGetRaw(std::u16string_view name,
                                                      SettingsRoot root = SettingsRoot::Default,
                                                      SettingsKeyPath keyPath = std::nullopt) {
  const SettingsKey key = SettingsOpenKey(kKeyQueryValue, root, keyPath);
  if (!key) return std::nullopt;
  for (int attempt = 0; attempt < 4; ++attempt) {
    SettingsRawValue raw;
    std::uint32_t size = 0;
    if (!settings_platform::QueryValue(*key.impl(), name, &raw.type, nullptr, &size)) return std::nullopt;
    raw.data.resize(size);
    if (settings_platform::QueryValue(*key.impl(), name, &raw.type, raw.data.data(), &size)) {
      raw.data.resize(size);
      return raw;
    }
  }
  return std::nullopt;
}

}  // namespace tessaroven::test
