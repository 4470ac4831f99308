// Helpers shared by the crash tests of both platforms.
#pragma once

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "crash/crash_handler_internal.h"
#include "support/test_env.h"

namespace tessaroven::test {

// The probe that records a restart's words; built beside the test executable.
inline std::u16string RestartProbePath() {
  const std::u16string self = crash_internal::RunningProgramPath();
  return std::u16string(FolderOf(self)) + (kIsWindows ? u"crash_restart_probe.exe" : u"crash_restart_probe");
}

// The restart runs detached from the crashed child, so its record arrives a little
// later. Waits for the file to appear (bounded, so a missing restart fails instead
// of hanging) and returns its lines, or nothing when it never came.
inline std::vector<std::string> WaitForProbeRecord(const std::u16string& path, std::chrono::seconds limit) {
  const auto until = std::chrono::steady_clock::now() + limit;
  while (!FileExists(path) && std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  std::vector<std::string> lines;
  if (!FileExists(path)) return lines;
  std::string text = ReadBytes(path);
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(at, end - at);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
    at = end + 1;
  }
  return lines;
}

// What a crash child is asked to do: args of the "crash_child" role.
inline std::vector<std::string> CrashChildArgs(const std::u16string& baseFolder, const std::string& mode,
                                               const std::u16string& probeRecord, const std::u16string& pidFile,
                                               bool removeCrashFolder = false) {
  return {Utf16ToUtf8(baseFolder),
          mode,
          Utf16ToUtf8(RestartProbePath()),
          Utf16ToUtf8(probeRecord),
          Utf16ToUtf8(pidFile),
          removeCrashFolder ? "remove-folder" : "keep-folder"};
}

}  // namespace tessaroven::test
