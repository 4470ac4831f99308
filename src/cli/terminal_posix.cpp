#include <unistd.h>

#include "cli/terminal.h"

namespace tessaroven::cli {

bool StdinIsTerminal() { return isatty(STDIN_FILENO) == 1; }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) == 1; }

}  // namespace tessaroven::cli
