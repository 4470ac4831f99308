// tessaroven-cli: the selector's engine for terminals and scripts.
#include <clocale>

#include "cli/cli_run.h"
#include "cli/terminal.h"

int main(int argc, char** argv) {
  // The user's regional settings back every number the program words.
  std::setlocale(LC_ALL, "");
  return tessaroven::cli::RunCli(tessaroven::cli::ProgramArguments(argc, argv));
}
