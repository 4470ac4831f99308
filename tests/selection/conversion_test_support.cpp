#include "conversion_test_support.h"

#include "base/platform.h"

namespace tessaroven::test {

ScopedEnvironment::~ScopedEnvironment() {
  for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) WriteEnvironment(it->first.c_str(), it->second);
}

void ScopedEnvironment::Set(const char* name, const std::u16string& value) {
  saved_.emplace_back(name, ReadEnvironment(name));
  WriteEnvironment(name, value);
}

void ScopedEnvironment::SetTempFolder(const std::u16string& folder) {
  if constexpr (kIsWindows) {
    Set("TMP", folder);
    Set("TEMP", folder);
  } else {
    Set("TMPDIR", folder);
  }
}

}  // namespace tessaroven::test
