#include "app/startup.h"
#include "base/text.h"

namespace tessaroven {

std::u16string ProcessCommandLine(int argc, char** argv) {
  std::vector<std::u16string> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(Utf8ToUtf16(argv[i]));
  return JoinCommandLine(argc > 0 ? Utf8ToUtf16(argv[0]) : std::u16string(), arguments);
}

void InitialiseCom() {}
void UninitialiseCom() {}

}  // namespace tessaroven
