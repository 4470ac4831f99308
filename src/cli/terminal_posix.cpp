#include <unistd.h>

#include <cstdio>

#include "base/text.h"
#include "cli/terminal.h"

namespace tessaroven::cli {

bool StdinIsTerminal() { return isatty(STDIN_FILENO) == 1; }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) == 1; }

std::vector<std::u16string> ProgramArguments(int argc, char** argv) {
  std::vector<std::u16string> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(FromOsString(argv[i]));
  return arguments;
}

void WriteOut(const std::string& bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }
void WriteErr(const std::string& bytes) {
  std::fwrite(bytes.data(), 1, bytes.size(), stderr);
  std::fflush(stderr);
}

}  // namespace tessaroven::cli
