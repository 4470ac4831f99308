// Reading file information: ReadFileInfo through the real "taglib" plug-in against a
// bare TagLib FileRef loop over the same files, in the same run, with a warm page
// cache. Each iteration is one pass over 2,000 files; items/s counts files.
//
// Two sets of files: "mixed" cycles through every format the plug-in declares that
// the fixtures hold, so that consecutive files never share an extension (the worst
// case for the decoder's library reuse); "one_ext" is 2,000 FLAC files, a typical
// album folder. BM_ReadFileInfo reports `vs_bare_taglib`, its rate over that of
// bare TagLib passes interleaved with its own. BM_CacheAccesses checks that a run of
// one extension touches the decoder cache for its first file only.
//
// Everything lives in a fresh temporary folder: the files, a plug-in folder holding
// only the taglib plug-in (so no other plug-in is chosen first), and the settings.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <taglib/audioproperties.h>
#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/text.h"
#include "decode/decoder.h"
#include "decode/file_info.h"
#include "decode/plugin_folder.h"

namespace tessaroven {
namespace {

namespace fs = std::filesystem;

constexpr int kFiles = 2000;

// The fixtures in the formats the taglib plug-in declares.
constexpr const char* kFixtures[] = {
    "tone.mp3", "tone.mp2",      "tone.flac", "tone.oga", "tone.ogg",       "tone.opus", "tone.spx", "tone.m4a",
    "tone.mp4", "tone-alac.m4a", "tone.wav",  "tone.wv",  "tone-float.wav", "tone.aiff", "tone.tta", "tone.wma",
};

enum Set : int { kMixed = 0, kOneExtension = 1 };

struct Corpus {
  std::vector<std::string> files[2];
  std::vector<std::u16string> wideFiles[2];
};

Corpus& TheCorpus() {
  static Corpus corpus;
  return corpus;
}

void Fail(const std::string& message) {
  std::fprintf(stderr, "decode_bench: %s\n", message.c_str());
  std::exit(1);
}

void CopyInto(const fs::path& from, const fs::path& to) {
  std::error_code error;
  if (!fs::copy_file(from, to, fs::copy_options::overwrite_existing, error))
    Fail("cannot copy " + from.string() + ": " + error.message());
}

// Reads every byte once, so that the first measured pass does not pay for the disk.
void WarmCache(const std::vector<std::string>& files) {
  std::vector<char> buffer(1 << 16);
  for (const std::string& file : files) {
    std::ifstream in(file, std::ios::binary);
    while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0) {
    }
  }
}

void MakeCorpus(const std::string& root) {
  Corpus& corpus = TheCorpus();
  const fs::path data(TESSAROVEN_BENCH_DATA_DIR);
  const fs::path mixed = fs::path(root) / "mixed";
  const fs::path single = fs::path(root) / "one_ext";
  const fs::path plugins = fs::path(root) / "decoder";
  fs::create_directories(mixed);
  fs::create_directories(single);
  fs::create_directories(plugins);
  CopyInto(fs::path(TESSAROVEN_BENCH_PLUGIN_DIR) / "taglib.so", plugins / "taglib.so");
  SetPluginFolderOverride(Utf8ToUtf16(plugins.string() + "/"));

  char name[64];
  for (int i = 0; i < kFiles; ++i) {
    const fs::path fixture = data / kFixtures[i % std::size(kFixtures)];
    std::snprintf(name, sizeof(name), "file%04d", i);
    const fs::path target = mixed / (name + fixture.extension().string());
    CopyInto(fixture, target);
    corpus.files[kMixed].push_back(target.string());
    const fs::path flac = single / (std::string(name) + ".flac");
    CopyInto(data / "tone.flac", flac);
    corpus.files[kOneExtension].push_back(flac.string());
  }
  for (int set : {kMixed, kOneExtension}) {
    for (const std::string& file : corpus.files[set]) corpus.wideFiles[set].push_back(Utf8ToUtf16(file));
    WarmCache(corpus.files[set]);
  }
}

// Both sides must read every file, or the comparison means nothing.
void CheckCorpus() {
  const Corpus& corpus = TheCorpus();
  clQzDecoder decoder;
  for (int set : {kMixed, kOneExtension}) {
    for (std::size_t i = 0; i < std::size(kFixtures) && i < corpus.files[set].size(); ++i) {
      TagLib::FileRef ref(corpus.files[set][i].c_str(), true, TagLib::AudioProperties::Average);
      if (ref.isNull() || ref.audioProperties() == nullptr) Fail("TagLib cannot read " + corpus.files[set][i]);
      FileInfo info;
      if (!ReadFileInfo(corpus.wideFiles[set][i], decoder, info))
        Fail("the taglib plug-in cannot read " + corpus.files[set][i]);
    }
  }
}

// What a program that links TagLib itself would do per file: the same read style
// the plug-in uses (audio properties, Average) plus the merged tag view.
void BareTagLibPass(const std::vector<std::string>& files) {
  for (const std::string& file : files) {
    TagLib::FileRef f(file.c_str(), true, TagLib::AudioProperties::Average);
    benchmark::DoNotOptimize(f.audioProperties()->lengthInMilliseconds());
    TagLib::PropertyMap tags = f.file()->properties();
    benchmark::DoNotOptimize(tags);
  }
}

void BM_BareTagLib(benchmark::State& state) {
  const std::vector<std::string>& files = TheCorpus().files[state.range(0)];
  for (auto _ : state) BareTagLibPass(files);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files.size()));
}

// Wall-clock and CPU seconds, the latter being steadier while others use the machine.
struct Seconds {
  double wall = 0;
  double cpu = 0;
};

template <class Pass>
void TimePass(Seconds& total, Pass pass) {
  const auto wall = std::chrono::steady_clock::now();
  const std::clock_t cpu = std::clock();
  pass();
  total.cpu += static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC;
  total.wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - wall).count();
}

// One long-lived decoder, as the file-information worker keeps one. The machine is
// shared and its speed drifts between benchmarks, so `vs_bare_taglib` comes from a
// bare TagLib pass run (untimed) right before each measured pass: both see the same
// load. `vs_bare_taglib_cpu` is the same ratio in CPU time.
void BM_ReadFileInfo(benchmark::State& state) {
  const int set = static_cast<int>(state.range(0));
  const Corpus& corpus = TheCorpus();
  const std::vector<std::u16string>& files = corpus.wideFiles[set];
  clQzDecoder decoder;
  std::int64_t failures = 0;
  Seconds bare;
  Seconds own;
  for (auto _ : state) {
    state.PauseTiming();
    TimePass(bare, [&] { BareTagLibPass(corpus.files[set]); });
    state.ResumeTiming();
    TimePass(own, [&] {
      for (const std::u16string& file : files) {
        FileInfo info;
        if (!ReadFileInfo(file, decoder, info)) ++failures;
        benchmark::DoNotOptimize(info);
      }
    });
  }
  if (failures != 0) state.SkipWithError("ReadFileInfo failed on some files");
  if (own.wall > 0) state.counters["vs_bare_taglib"] = bare.wall / own.wall;
  if (own.cpu > 0) state.counters["vs_bare_taglib_cpu"] = bare.cpu / own.cpu;
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files.size()));
}

// A fresh decoder per pass over one extension: the first file looks the library up
// (one cache read, one write), every later file must reuse it without settings.
void BM_CacheAccesses(benchmark::State& state) {
  const std::vector<std::u16string>& files = TheCorpus().wideFiles[kOneExtension];
  std::uint64_t first = 0;
  std::uint64_t rest = 0;
  for (auto _ : state) {
    clQzDecoder decoder;
    FileInfo info;
    const std::uint64_t before = DecoderCacheAccessCount();
    if (!ReadFileInfo(files.front(), decoder, info)) {
      state.SkipWithError("ReadFileInfo failed on the first file");
      break;
    }
    const std::uint64_t afterFirst = DecoderCacheAccessCount();
    for (std::size_t i = 1; i < files.size(); ++i) ReadFileInfo(files[i], decoder, info);
    first = afterFirst - before;
    rest = DecoderCacheAccessCount() - afterFirst;
    if (rest != 0) {
      state.SkipWithError("files after the first of a run touched the decoder cache");
      break;
    }
  }
  state.counters["first_file_accesses"] = static_cast<double>(first);
  state.counters["accesses_per_later_file"] = static_cast<double>(rest) / static_cast<double>(files.size() - 1);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files.size()));
}

BENCHMARK(BM_BareTagLib)->Arg(kMixed)->Arg(kOneExtension)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ReadFileInfo)->Arg(kMixed)->Arg(kOneExtension)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CacheAccesses)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tessaroven

int main(int argc, char** argv) {
  // Never the user's own settings or files: one fresh folder that goes at the end.
  std::string root = (std::filesystem::temp_directory_path() / "tessaroven-decode-bench-XXXXXX").string();
  if (mkdtemp(root.data()) == nullptr) return 1;
  const std::string config = root + "/config";
  std::filesystem::create_directories(config);
  setenv("XDG_CONFIG_HOME", config.c_str(), 1);

  tessaroven::MakeCorpus(root);
  tessaroven::CheckCorpus();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code error;
  std::filesystem::remove_all(root, error);
  return 0;
}
