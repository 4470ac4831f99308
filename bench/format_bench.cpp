// Formatting runs once per row and column of the file lists, so tens of thousands of
// sizes and durations are formatted each time a large folder is listed or sorted.
// Target: millions of FormatSize and FormatDuration calls per second, including
// the look-up of the process-wide regional settings.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>

#ifndef _WIN32
#include <stdlib.h>
#endif

#include "base/format.h"

namespace tessaroven {
namespace {

// A spread of what a music folder holds: tag-sized files, tracks, albums, disk images.
constexpr std::array<std::int64_t, 8> kSizes = {
    0, 1, 900, 1035, 250'000, 7'654'321, 3'221'225'472, 5'497'558'138'880,
};

// Track lengths from a jingle to a long mix.
constexpr std::array<std::int64_t, 8> kDurations = {
    0, 999, 12'345, 185'129, 241'000, 599'999, 3'725'120, 36'000'000,
};

void BM_FormatSize(benchmark::State& state) {
  const bool alwaysKb = state.range(0) != 0;
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(FormatSize(kSizes[i++ % kSizes.size()], alwaysKb));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FormatSize)->Arg(0)->Arg(1)->ArgName("alwaysKb");
BENCHMARK(BM_FormatSize)->Arg(0)->ArgName("alwaysKb")->Threads(2);

void BM_FormatSizeExplicitSettings(benchmark::State& state) {
  const auto regional = CurrentRegionalSettings();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(FormatSize(kSizes[i++ % kSizes.size()], false, *regional));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FormatSizeExplicitSettings);

void BM_FormatDuration(benchmark::State& state) {
  const auto style = static_cast<DurationStyle>(state.range(0));
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(FormatDuration(kDurations[i++ % kDurations.size()], style, 2));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FormatDuration)->DenseRange(0, 2)->ArgName("style");
BENCHMARK(BM_FormatDuration)->Arg(1)->ArgName("style")->Threads(2);

void BM_LocaliseNumber(benchmark::State& state) {
  const std::u16string text = u"-1234567.891";
  for (auto _ : state) {
    benchmark::DoNotOptimize(LocaliseNumber(text));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LocaliseNumber);

}  // namespace
}  // namespace tessaroven

int main(int argc, char** argv) {
#ifndef _WIN32
  // Loading the regional settings reads (and so creates) a key in the settings file;
  // keep that out of the user's own file.
  std::string config = (std::filesystem::temp_directory_path() / "tessaroven-format-bench-XXXXXX").string();
  if (mkdtemp(config.data()) != nullptr) setenv("XDG_CONFIG_HOME", config.c_str(), 1);
#endif
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
#ifndef _WIN32
  std::error_code error;
  std::filesystem::remove_all(config, error);
#endif
  return 0;
}
