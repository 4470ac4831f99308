#include <windows.h>
// shellapi.h needs windows.h first.
#include <shellapi.h>

#include "base/text.h"
#include "fake_converter.h"

// The arguments as CommandLineToArgvW gives them: the rules the hand-off writes its
// command line for.
int main() {
  int count = 0;
  wchar_t** list = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::u16string> arguments;
  for (int i = 0; list != nullptr && i < count; ++i) arguments.push_back(tessaroven::FromOsString(list[i]));
  LocalFree(list);
  return tessaroven::fake::RunFakeConverter(arguments, [](const char* name) {
    const std::wstring wide(name, name + std::char_traits<char>::length(name));
    wchar_t value[32768];
    const DWORD length = GetEnvironmentVariableW(wide.c_str(), value, 32768);
    return length > 0 && length < 32768 ? tessaroven::FromOsString(std::wstring(value, length)) : std::u16string();
  });
}
