// The collector and the folder listing against find(1) over the same files, in the
// same run, with a warm cache.
//
// The tree: 100,000 files in 5,000 folders (50 top folders of 100 sub-folders with
// 20 files each), 60% of them with audio extensions. BM_Collect walks it as the
// collector does for one folder ticked with its sub-folders; `vs_find` is the time
// of `find` with the equivalent name tests (run just before each pass, so a noisy
// machine moves both alike) over ours: above 1 means faster than find. With the
// date filter on, find gets the equivalent -newermt test.
// BM_ListFolder lists one folder of 10,000 audio files with their sizes and times,
// against `find DIR -maxdepth 1 -printf` of size and time; `vs_find` as above.
// `bytes_per_utf16_byte` is the heap the 100,000 collected paths take over the
// bytes of their UTF-16 text.
// BM_CliList runs `tessaroven-cli --folder TREE --list` as a whole process (start-up,
// plug-ins, the walk, printing 60,000 paths to /dev/null); `vs_collector` is its time
// over the in-process collection of the same tree run just before it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "base/text.h"
#include "selection/folder_scanning.h"

extern char** environ;

namespace tessaroven {
namespace {

namespace fs = std::filesystem;

// What the two plug-ins declare, as the type filter would hold it.
constexpr const char16_t* kAudioExtensions[] = {
    u".mp3",  u".mp2",  u".flac", u".ogg", u".oga", u".opus", u".spx", u".m4a",  u".m4b", u".mp4",  u".wav", u".aif",
    u".aiff", u".aifc", u".ape",  u".wv",  u".mpc", u".wma",  u".asf", u".tta",  u".dsf", u".dff",  u".ac3", u".dts",
    u".aac",  u".mka",  u".webm", u".mkv", u".avi", u".mov",  u".mpg", u".mpeg", u".ts",  u".m2ts", u".flv", u".3gp"};
// Of every 10 files, 6 have one of these audio extensions and 4 are cover art,
// playlists and notes.
constexpr const char* kFileKinds[] = {".flac", ".mp3", ".m4a", ".ogg", ".wav", ".opus", ".jpg", ".m3u", ".txt", ".cue"};

struct Tree {
  std::string root;
  std::string flat;  // one folder of 10,000 audio files
};

Tree& TheTree() {
  static Tree tree;
  return tree;
}

void Touch(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    std::perror(path.c_str());
    std::exit(1);
  }
  close(fd);
}

void MakeTree(const std::string& base) {
  Tree& tree = TheTree();
  tree.root = base + "/tree";
  tree.flat = base + "/flat";
  int file = 0;
  for (int top = 0; top < 50; ++top) {
    for (int sub = 0; sub < 100; ++sub) {
      const std::string folder = tree.root + "/artist" + std::to_string(top) + "/album" + std::to_string(sub);
      fs::create_directories(folder);
      for (int i = 0; i < 20; ++i, ++file) Touch(folder + "/track" + std::to_string(i) + kFileKinds[file % 10]);
    }
  }
  fs::create_directories(tree.flat);
  for (int i = 0; i < 10000; ++i) Touch(tree.flat + "/track" + std::to_string(i) + kFileKinds[i % 6]);
}

// Runs a command with its output thrown away; returns its wall time in seconds.
double TimeCommand(const std::vector<std::string>& words) {
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = 0;
  if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
    std::fprintf(stderr, "collect_bench: cannot start %s\n", argv[0]);
    std::exit(1);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  posix_spawn_file_actions_destroy(&actions);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::vector<std::string> FindCollect(const std::string& root, int days) {
  std::vector<std::string> words = {"find", root, "-type", "f", "("};
  bool first = true;
  for (const char16_t* extension : kAudioExtensions) {
    if (!first) words.push_back("-o");
    first = false;
    words.push_back("-iname");
    words.push_back(std::string("*").append(Utf16ToUtf8(extension)));
  }
  words.push_back(")");
  if (days > 0) {
    words.push_back("-newermt");
    words.push_back(std::string("-").append(std::to_string(days)).append(" days"));
  }
  words.push_back("-print");
  return words;
}

void AddAudioTypes(FilterState& filters) {
  for (const char16_t* extension : kAudioExtensions) {
    filters.Types().Records().Add(DecoderTypeRecord{extension, u"audio", false});
  }
}

void BM_Collect(benchmark::State& state) {
  const int days = static_cast<int>(state.range(0));
  FilterState filters(FilterFieldNames{});
  AddAudioTypes(filters);
  if (days > 0) filters.Date().Set(0, days);
  SelectionLists lists;
  lists.lstFoldersAndSub = {Utf8ToUtf16(TheTree().root + "/")};
  clQzDecoder decoder;
  XEvent cancel;
  CollectProgress progress;
  const std::vector<std::string> find = FindCollect(TheTree().root, days);
  double findSeconds = 0;
  double ownSeconds = 0;
  std::size_t collected = 0;
  std::size_t heap = 0;
  std::size_t textBytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    findSeconds += TimeCommand(find);
    const std::size_t before = mallinfo2().uordblks;
    state.ResumeTiming();
    const auto start = std::chrono::steady_clock::now();
    AudioFileTest audio(filters.Types());
    CollectContext context{lists, filters, audio, decoder, false, u"", cancel, progress};
    std::vector<std::u16string> files = CollectFiles(context);
    ownSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.PauseTiming();
    collected = files.size();
    heap = mallinfo2().uordblks - before;
    textBytes = 0;
    for (const std::u16string& file : files) textBytes += file.size() * sizeof(char16_t);
    benchmark::DoNotOptimize(files);
    state.ResumeTiming();
  }
  state.counters["files"] = static_cast<double>(collected);
  state.counters["vs_find"] = findSeconds / ownSeconds;
  state.counters["bytes_per_utf16_byte"] = static_cast<double>(heap) / static_cast<double>(textBytes);
}

void BM_ListFolder(benchmark::State& state) {
  FilterState filters(FilterFieldNames{});
  AddAudioTypes(filters);
  const std::u16string folder = Utf8ToUtf16(TheTree().flat + "/");
  clQzDecoder decoder;
  const std::vector<std::string> find = {"find", TheTree().flat, "-maxdepth", "1", "-type",
                                         "f",    "-printf",      "%s %T@\\n"};
  double findSeconds = 0;
  double ownSeconds = 0;
  std::size_t listed = 0;
  for (auto _ : state) {
    state.PauseTiming();
    findSeconds += TimeCommand(find);
    state.ResumeTiming();
    const auto start = std::chrono::steady_clock::now();
    AudioFileTest audio(filters.Types());
    std::vector<FileEntry> entries = ListFolderFiles(folder, filters, audio, decoder);
    ownSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    listed = entries.size();
    benchmark::DoNotOptimize(entries);
  }
  state.counters["files"] = static_cast<double>(listed);
  state.counters["vs_find"] = findSeconds / ownSeconds;
}

void BM_CliList(benchmark::State& state) {
  FilterState filters(FilterFieldNames{});
  AddAudioTypes(filters);
  SelectionLists lists;
  lists.lstFoldersAndSub = {Utf8ToUtf16(TheTree().root + "/")};
  clQzDecoder decoder;
  XEvent cancel;
  CollectProgress progress;
  const std::vector<std::string> cli = {TESSAROVEN_BENCH_CLI, "--folder", TheTree().root, "--list"};
  double collectorSeconds = 0;
  double cliSeconds = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const auto start = std::chrono::steady_clock::now();
    AudioFileTest audio(filters.Types());
    CollectContext context{lists, filters, audio, decoder, false, u"", cancel, progress};
    benchmark::DoNotOptimize(CollectFiles(context));
    collectorSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.ResumeTiming();
    cliSeconds += TimeCommand(cli);
  }
  state.counters["vs_collector"] = cliSeconds / collectorSeconds;
}

BENCHMARK(BM_Collect)->Arg(0)->Arg(30)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CliList)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ListFolder)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tessaroven

int main(int argc, char** argv) {
  std::string root = (std::filesystem::temp_directory_path() / "tessaroven-collect-bench-XXXXXX").string();
  if (mkdtemp(root.data()) == nullptr) return 1;
  // The command-line run gets settings and data folders of its own, never yours.
  for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
    const std::string folder = root + "/" + variable;
    std::filesystem::create_directories(folder);
    setenv(variable, folder.c_str(), 1);
  }
  std::fprintf(stderr, "collect_bench: making 110,000 files in %s ...\n", root.c_str());
  tessaroven::MakeTree(root);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code error;
  std::filesystem::remove_all(root, error);
  return 0;
}
