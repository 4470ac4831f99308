// Test tables are written with "/" as the separator and "\" as the other slash;
// Native() swaps the two on Windows, so one table checks both platforms.
#pragma once

#include <string>
#include <string_view>

#include "base/platform.h"

namespace tessaroven::test {

inline std::u16string Native(std::u16string_view path) {
  std::u16string out(path);
  if constexpr (kIsWindows) {
    for (auto& c : out) {
      if (c == u'/') c = u'\\';
      else if (c == u'\\') c = u'/';
    }
  }
  return out;
}

}  // namespace tessaroven::test
