#include "converter/batch.h"

#include <gtest/gtest.h>

#include <condition_variable>

#include "base/text.h"
#include "converter_test_support.h"
#include "support/native_path.h"
#include "support/test_env.h"

namespace kovantrix {
namespace {

using test::DataFile;
using tessaroven::test::ListFolder;
using tessaroven::test::MakeFolder;
using tessaroven::test::Native;
using tessaroven::test::ReadBytes;
using tessaroven::test::TempDir;
using tessaroven::test::WriteBytes;

// Records every report; can cancel the batch when a file starts.
class Recorder : public BatchObserver {
 public:
  void FileChanged(std::size_t index, const FileStatus& status) override {
    std::lock_guard lock(mutex_);
    if (status.state == FileState::kConverting && status.progress == 0) {
      starts.push_back(index);
      if (cancelOnStart) cancelOnStart->Cancel();
    }
    if (status.state != FileState::kWaiting && status.state != FileState::kConverting) ends.push_back(index);
  }
  void Finished() override {
    std::lock_guard lock(mutex_);
    ++finished;
    done_.notify_all();
  }
  void WaitFinished() {
    std::unique_lock lock(mutex_);
    done_.wait_for(lock, std::chrono::seconds(60), [this] { return finished > 0; });
  }

  Batch* cancelOnStart = nullptr;
  std::vector<std::size_t> starts;
  std::vector<std::size_t> ends;
  int finished = 0;

 private:
  std::mutex mutex_;
  std::condition_variable done_;
};

// Copies of a test file as "<folder>/<name>" below `dir`, so each has a target of its own.
std::vector<std::u16string> Sources(const TempDir& dir, const std::vector<std::u16string>& names) {
  std::vector<std::u16string> sources;
  const std::string wav = ReadBytes(DataFile(u"tone.wav"));
  for (const std::u16string& name : names) {
    const std::u16string path = dir / Native(name);
    MakeFolder(std::u16string(path.substr(0, path.rfind(tessaroven::kPathSeparator))));
    WriteBytes(path, wav);
    sources.push_back(path);
  }
  return sources;
}

Choices Into(const TempDir& out, Format format = Format::kFlac) {
  return Choices{out.Path(), format, std::u16string(InfoOf(format).presets[0].name), false};
}

TEST(BatchTest, FilesStartInListOrderAndAllEnd) {
  TempDir in;
  TempDir out;
  const auto sources = Sources(in, {u"a/1.wav", u"b/2.wav", u"c/3.wav", u"d/4.wav", u"e/5.wav", u"f/6.wav"});
  Batch batch(sources, Into(out), 2);
  Recorder recorder;
  batch.Start(&recorder);
  recorder.WaitFinished();
  batch.Wait();
  EXPECT_EQ(recorder.starts, (std::vector<std::size_t>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(recorder.ends.size(), 6u);
  EXPECT_EQ(recorder.finished, 1);
  const Tally tally = batch.Count();
  EXPECT_EQ(tally.done, 6u);
  EXPECT_DOUBLE_EQ(batch.Fraction(), 1.0);
  for (const FileStatus& file : batch.Snapshot()) {
    EXPECT_EQ(file.state, FileState::kDone);
    EXPECT_EQ(test::DecodeWhole(file.target).samples, 8820);
  }
}

TEST(BatchTest, TwoFilesForOneTargetConvertTheFirstAndSkipTheSecond) {
  TempDir in;
  TempDir out;
  auto sources = Sources(in, {u"Album/song.wav", u"Other/x.wav"});
  sources.push_back(DataFile(u"tone.flac"));
  const std::u16string sameName = in / Native(u"Album/song.flac");
  ASSERT_TRUE(WriteBytes(sameName, ReadBytes(DataFile(u"tone.flac"))));
  sources.push_back(sameName);
  Batch batch(sources, Into(out), 2);
  Recorder recorder;
  batch.Start(&recorder);
  recorder.WaitFinished();
  batch.Wait();
  const auto files = batch.Snapshot();
  EXPECT_EQ(files[0].state, FileState::kDone);
  EXPECT_EQ(files[3].state, FileState::kSkipped);
  EXPECT_NE(files[3].message.find(u"same name"), std::u16string::npos);
  EXPECT_EQ(recorder.ends.size(), 4u);  // the skip is reported too
}

TEST(BatchTest, CancelStopsTheRunningAndNeverStartsTheRest) {
  TempDir in;
  TempDir out;
  const auto sources = Sources(in, {u"a/1.wav", u"b/2.wav", u"c/3.wav", u"d/4.wav"});
  Batch batch(sources, Into(out), 1);
  Recorder recorder;
  recorder.cancelOnStart = &batch;
  batch.Start(&recorder);
  recorder.WaitFinished();
  batch.Wait();
  const Tally tally = batch.Count();
  EXPECT_EQ(tally.cancelled + tally.done, 4u);
  EXPECT_GE(tally.cancelled, 3u);
  EXPECT_EQ(recorder.starts.size(), 1u);
  EXPECT_EQ(recorder.finished, 1);
  // Whatever was not finished left nothing behind, not even a hidden part.
  std::size_t files = 0;
  for (const std::u16string& folder : ListFolder(out.Path())) files += ListFolder(out / folder).size();
  EXPECT_EQ(files, tally.done);
}

TEST(BatchTest, AnEmptyListFinishesAtOnce) {
  TempDir out;
  Batch batch({}, Into(out), 2);
  Recorder recorder;
  batch.Start(&recorder);
  EXPECT_EQ(recorder.finished, 1);
  EXPECT_EQ(batch.Count().total, 0u);
}

}  // namespace
}  // namespace kovantrix
