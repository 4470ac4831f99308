#include <windows.h>

#include <string>

#include "base/regional_settings.h"
#include "base/text.h"

namespace tessaroven::test {

void EraseStoredRegionalValue(std::u16string_view name) {
  const std::wstring valueName = ToOsString(name);
  RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Control Panel\\International", valueName.c_str());
}

}  // namespace tessaroven::test
