// A stand-in for the converter, started by the hand-off tests as a real process.
//
// It writes what it got into the folder named by TESSAROVEN_FAKE_CONVERTER_RECORD:
//   args    every argument (the program first), UTF-16LE, each ended by a 0 unit;
//   list    a byte-for-byte copy of the list file named by -list_to_conv=
//           (missing when that file could not be opened);
//   accept  "set", "reset" or "missing": the state of the event named by
//           TESSAROVEN_FAKE_CONVERTER_ACCEPT while the converter runs.
// Then it sets the event named by -signal_event_got_files= and waits (up to 20 s)
// for the event named by TESSAROVEN_FAKE_CONVERTER_RELEASE, which the test sets
// once the selector has hidden its window; so the selector surely sees the signal
// while the converter still runs. With TESSAROVEN_FAKE_CONVERTER_SILENT=1 it never
// signals and ends after 600 ms instead.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tessaroven::fake {

using EnvironmentReader = std::function<std::u16string(const char* name)>;

int RunFakeConverter(const std::vector<std::u16string>& arguments, const EnvironmentReader& environment);

}  // namespace tessaroven::fake
