// What the converter's tests share: the test files, decoding a file whole to check
// what was written, and kovantrix as a real process.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "converter/audio_decoder.h"

namespace kovantrix::test {

std::u16string DataFile(std::u16string_view name);       // tests/data
std::u16string CoverFile(std::u16string_view name);      // tests/converter/data

// A file decoded to its end: its description and how many samples it holds.
struct Decoded {
  bool opened = false;
  std::u16string error;
  SourceInfo info;
  std::int64_t samples = 0;
  std::string Tag(const std::string& name) const;  // "" when absent; names fold case
};
Decoded DecodeWhole(const std::u16string& path);

// kovantrix (or another program) started without a display, its stderr and
// stdout kept.
class Process {
 public:
  Process(const std::string& program, const std::vector<std::string>& args);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  void Interrupt();  // Ctrl+C
  // The exit code (128 + signal when killed); the streams after the end.
  int Wait();
  std::string Err() const;
  std::string Out() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace kovantrix::test
