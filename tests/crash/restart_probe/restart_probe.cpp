// Stands in for the program that a crash restarts: records the words it was started
// with, one per line, into the file named by its first argument. The file appears
// whole (written under another name, then renamed), so a test that reads any content
// reads all of it.
#include <cstdio>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::string target = argv[1];
  const std::string partial = target + ".partial";
  {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    for (int i = 2; i < argc; ++i) out << argv[i] << '\n';
    if (!out) return 1;
  }
  return std::rename(partial.c_str(), target.c_str()) == 0 ? 0 : 1;
}
