#include <cstdlib>

#include "base/text.h"
#include "conversion_test_support.h"

namespace tessaroven::test {

void WriteEnvironment(const char* name, const std::optional<std::u16string>& value) {
  if (value) {
    setenv(name, ToOsString(*value).c_str(), 1);
  } else {
    unsetenv(name);
  }
}

std::optional<std::u16string> ReadEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return FromOsString(value);
}

}  // namespace tessaroven::test
