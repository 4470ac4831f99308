// tessaroven-cli's whole run: parse, apply the steps in order, then list, print or
// hand off. Returns the exit code: 0 done, 1 nothing to convert, 2 bad usage (a
// step that cannot apply included), 3 the hand-off to the converter failed.
#pragma once

#include <string>
#include <vector>

namespace tessaroven::cli {

inline constexpr int kExitDone = 0;
inline constexpr int kExitNothingToConvert = 1;
inline constexpr int kExitBadUsage = 2;
inline constexpr int kExitHandOffFailed = 3;

int RunCli(const std::vector<std::u16string>& arguments);

}  // namespace tessaroven::cli
