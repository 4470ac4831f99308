#include <fcntl.h>
#include <io.h>
#include <windows.h>
// shellapi.h needs windows.h first.
#include <shellapi.h>

#include <cstdio>

#include "base/text.h"
#include "cli/terminal.h"

namespace tessaroven::cli {

bool StdinIsTerminal() { return _isatty(_fileno(stdin)) != 0; }
bool StderrIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

std::vector<std::u16string> ProgramArguments(int, char**) {
  std::vector<std::u16string> arguments;
  int count = 0;
  wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (words == nullptr) return arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(FromOsString(words[i]));
  LocalFree(words);
  return arguments;
}

// UTF-8 bytes, unchanged: a console set to code page 65001 shows them, and a pipe
// passes them on.
void WriteOut(const std::string& bytes) {
  static const bool binary = _setmode(_fileno(stdout), _O_BINARY) != -1;
  (void)binary;
  std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}
void WriteErr(const std::string& bytes) {
  std::fwrite(bytes.data(), 1, bytes.size(), stderr);
  std::fflush(stderr);
}

}  // namespace tessaroven::cli
