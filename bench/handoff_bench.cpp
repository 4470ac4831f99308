// Writing the converter's list file: 100,000 paths of a typical music library
// (about 90 characters, some of them beyond ASCII) into a new file in the temporary
// folder, as the hand-off does it. The budget is well under 50 ms per list.
// `MB` is the list's size over the time (MB/s); `bytes` its size.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "base/temp_file.h"
#include "base/text.h"
#include "selection/conversion.h"

namespace tessaroven {
namespace {

std::vector<std::u16string> LibraryPaths(std::size_t count) {
  std::vector<std::u16string> paths;
  paths.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string artist = "Artist " + std::to_string(i / 1000);
    const std::string album = "Album " + std::to_string(i / 12) + " (Deluxe Edition)";
    paths.push_back(u"/home/someone/Music/" + Utf8ToUtf16(artist) + u"/" + Utf8ToUtf16(album) + u"/0" +
                    AsciiToUtf16(std::to_string(i % 12)) + u" Caf\u00e9 \u266b Track " +
                    AsciiToUtf16(std::to_string(i)) + u".flac");
  }
  return paths;
}

void BM_WriteListFile(benchmark::State& state) {
  const auto paths = LibraryPaths(static_cast<std::size_t>(state.range(0)));
  std::size_t bytes = 0;
  for (const auto& path : paths) bytes += (path.size() + 2) * 2;
  for (auto _ : state) {
    // As in the hand-off: a new temporary file, then the list into it.
    std::u16string file;
    if (!CreateTempFile(file, kListFilePrefix) || !WriteListFile(file, paths)) {
      state.SkipWithError("cannot write the list file");
      break;
    }
    state.PauseTiming();
    DeleteListFile(file);
    state.ResumeTiming();
  }
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["MB"] =
      benchmark::Counter(static_cast<double>(bytes) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_WriteListFile)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tessaroven

BENCHMARK_MAIN();
