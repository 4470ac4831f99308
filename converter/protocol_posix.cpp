#include "base/text.h"
#include "converter/protocol.h"

namespace kovantrix {

std::vector<std::u16string> ProgramArguments(int argc, char** argv) {
  std::vector<std::u16string> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(tessaroven::FromOsString(argv[i]));
  return arguments;
}

}  // namespace kovantrix
