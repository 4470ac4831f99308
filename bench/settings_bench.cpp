// Settings store: a read on a warm store, a write of the value already stored (which
// must not touch the disk) and a write that changes the value (a full rewrite of the
// file). The argument is the number of other values in the key, for the cost of a
// larger file; 1000 is a decoder cache far above what real plug-in sets produce.
//
// It runs against a settings file in a fresh temporary folder, on the file system
// that holds the temporary folder (TMPDIR).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/reg_file.h"
#include "base/settings.h"
#include "base/text.h"

namespace tessaroven {
namespace {

constexpr std::u16string_view kKey = u"Software\\Orvandelle\\TessarovenBench";

void Fill(int others) {
  for (int i = 0; i < others; ++i)
    SettingsSetString(AsciiToUtf16("/usr/lib/tessaroven/decoder/plugin" + std::to_string(i) + ".so"),
                      AsciiToUtf16(".ext" + std::to_string(i)), SettingsRoot::CurrentUser, kKey);
}

void BM_GetDword(benchmark::State& state) {
  Fill(static_cast<int>(state.range(0)));
  SettingsSetDword(1234, u"qRV-FileSelector-l", SettingsRoot::CurrentUser, kKey);
  for (auto _ : state)
    benchmark::DoNotOptimize(SettingsGetDword(u"qRV-FileSelector-l", SettingsRoot::CurrentUser, kKey));
}

void BM_GetString(benchmark::State& state) {
  Fill(static_cast<int>(state.range(0)));
  SettingsSetString(u"Name\rSize\rArtist\rTitle", u"qRV-FileSelector-Cols", SettingsRoot::CurrentUser, kKey);
  for (auto _ : state)
    benchmark::DoNotOptimize(SettingsGetString(u"qRV-FileSelector-Cols", SettingsRoot::CurrentUser, kKey));
}

void BM_SetUnchanged(benchmark::State& state) {
  Fill(static_cast<int>(state.range(0)));
  SettingsSetString(u"/usr/lib/tessaroven/decoder/taglib.so", u".flac", SettingsRoot::CurrentUser, kKey);
  for (auto _ : state)
    benchmark::DoNotOptimize(
        SettingsSetString(u"/usr/lib/tessaroven/decoder/taglib.so", u".flac", SettingsRoot::CurrentUser, kKey));
}

void BM_SetChanged(benchmark::State& state) {
  Fill(static_cast<int>(state.range(0)));
  std::uint32_t value = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(SettingsSetDword(++value, u"qRV-FileSelector-l", SettingsRoot::CurrentUser, kKey));
}

// What a read costs right after another process changed the file: parsing it whole.
void BM_ParseFile(benchmark::State& state) {
  RegFile file;
  for (int i = 0; i < state.range(0); ++i)
    file.Set(u"HKEY_CURRENT_USER\\Software\\Orvandelle\\Tessaroven\\DecoderCache64",
             AsciiToUtf16(".ext" + std::to_string(i)), RegValue{kRegDword, {static_cast<std::uint8_t>(i), 0, 0, 0}});
  const std::string text = file.Serialize();
  for (auto _ : state) benchmark::DoNotOptimize(RegFile::Parse(text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

BENCHMARK(BM_GetDword)->Arg(20)->Arg(1000);
BENCHMARK(BM_GetString)->Arg(20)->Arg(1000);
BENCHMARK(BM_SetUnchanged)->Arg(20)->Arg(1000);
BENCHMARK(BM_SetChanged)->Arg(20)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ParseFile)->Arg(20)->Arg(4000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tessaroven

int main(int argc, char** argv) {
  // Never the user's own settings: a fresh folder that goes at the end.
  std::filesystem::path folder = std::filesystem::temp_directory_path() / "tessaroven-settings-bench-XXXXXX";
  std::string templ = folder.string();
  if (mkdtemp(templ.data()) == nullptr) return 1;
  setenv("XDG_CONFIG_HOME", templ.c_str(), 1);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code error;
  std::filesystem::remove_all(templ, error);
  return 0;
}
