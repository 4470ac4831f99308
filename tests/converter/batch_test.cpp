#include "converter/batch.h"

#include <gtest/gtest.h>

#include "support/test_env.h"

namespace kovantrix {
namespace {

using tessaroven::test::TempDir;

// Counts the end of the batch.
class Recorder : public BatchObserver {
 public:
  void FileChanged(std::size_t, const FileStatus&) override {}
  void Finished() override { ++finished; }

  int finished = 0;
};

// An empty list has nothing to wait for: the end is reported from Start itself.
TEST(BatchTest, AnEmptyListFinishesAtOnce) {
  TempDir out;
  Batch batch({}, Choices{out.Path(), Format::kFlac, u"default", false}, 2);
  Recorder recorder;
  batch.Start(&recorder);
  EXPECT_EQ(recorder.finished, 1);
  EXPECT_EQ(batch.Count().total, 0u);
}

}  // namespace
}  // namespace kovantrix
