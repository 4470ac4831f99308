// Facts about the terminal the CLI runs in.
#pragma once

namespace tessaroven::cli {

bool StdinIsTerminal();
bool StderrIsTerminal();

}  // namespace tessaroven::cli
