#include <io.h>
#include <stdio.h>

#include "cli/terminal.h"

namespace tessaroven::cli {

bool StdinIsTerminal() { return _isatty(_fileno(stdin)) != 0; }
bool StderrIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

}  // namespace tessaroven::cli
