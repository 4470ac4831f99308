#include <windows.h>
// shellapi.h needs windows.h first.
#include <shellapi.h>

#include "base/text.h"
#include "converter/protocol.h"

namespace kovantrix {

// The selector writes one command line for CommandLineToArgvW's rules; the C
// runtime's argv splits slightly differently and in the ANSI code page, so the
// wide command line is split here by the system itself.
std::vector<std::u16string> ProgramArguments(int, char**) {
  int count = 0;
  wchar_t** list = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::u16string> arguments;
  for (int i = 1; list != nullptr && i < count; ++i) arguments.push_back(tessaroven::FromOsString(list[i]));
  LocalFree(list);
  return arguments;
}

}  // namespace kovantrix
