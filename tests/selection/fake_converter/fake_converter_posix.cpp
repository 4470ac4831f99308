#include <cstdlib>

#include "base/text.h"
#include "fake_converter.h"

int main(int argc, char** argv) {
  std::vector<std::u16string> arguments;
  for (int i = 0; i < argc; ++i) arguments.push_back(tessaroven::FromOsString(argv[i]));
  return tessaroven::fake::RunFakeConverter(arguments, [](const char* name) {
    const char* value = std::getenv(name);
    return value ? tessaroven::FromOsString(value) : std::u16string();
  });
}
