// Facts about the terminal and the process the CLI runs in.
#pragma once

#include <string>
#include <vector>

namespace tessaroven::cli {

bool StdinIsTerminal();
bool StderrIsTerminal();

// The program's arguments after its name, as text: argv through the lossless
// conversion on Linux (any bytes survive), the wide command line on Windows.
std::vector<std::u16string> ProgramArguments(int argc, char** argv);

// Writes the bytes to stdout / stderr as they are (no newline translation).
void WriteOut(const std::string& bytes);
void WriteErr(const std::string& bytes);

}  // namespace tessaroven::cli
