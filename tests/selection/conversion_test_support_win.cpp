#include <windows.h>

#include "base/text.h"
#include "conversion_test_support.h"

namespace tessaroven::test {
namespace {
std::wstring Wide(const char* name) { return std::wstring(name, name + std::char_traits<char>::length(name)); }
}  // namespace

// The process environment itself, which CreateProcessW hands to the converter.
void WriteEnvironment(const char* name, const std::optional<std::u16string>& value) {
  SetEnvironmentVariableW(Wide(name).c_str(), value ? ToOsString(*value).c_str() : nullptr);
}

std::optional<std::u16string> ReadEnvironment(const char* name) {
  const std::wstring wide = Wide(name);
  const DWORD size = GetEnvironmentVariableW(wide.c_str(), nullptr, 0);
  if (size == 0) return std::nullopt;
  std::wstring value(size, L'\0');
  value.resize(GetEnvironmentVariableW(wide.c_str(), value.data(), size));
  return FromOsString(value);
}

}  // namespace tessaroven::test
