// Linux file times: the nanosecond clock onto the 100-ns scale, and what "creation"
// means where the file system may or may not record a birth time.
#include <fcntl.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "filters/file_times.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

TEST(FileTimesPosixTest, ModificationTimeKeepsItsTicks) {
  test::TempDir dir;
  const std::u16string path = dir / u"old.flac";
  ASSERT_TRUE(test::WriteBytes(path, "x"));
  // Written long ago, read now: the access time is set along with it.
  const timespec times[2] = {{1000000000, 987654321}, {1000000000, 123456789}};
  ASSERT_EQ(utimensat(AT_FDCWD, ToOsString(path).c_str(), times, 0), 0);

  FileTimes read;
  EXPECT_FALSE(ReadFileTimes(dir / u"missing.flac", read));
  ASSERT_TRUE(ReadFileTimes(path, read));
  EXPECT_EQ(read.lastWrite, 126444736001234567ull);
  EXPECT_EQ(read.lastAccess, 126444736009876543ull);
  if (read.creationIsBirthTime) {
    // The file was born just now, long after the time it claims to be written.
    EXPECT_GT(read.creation, read.lastWrite);
    EXPECT_GE(read.creation, CurrentFileTime() - 60 * kFileTimeTicksPerSecond);
  } else {
    // Without a birth time the earlier of write and change stands in: here the
    // write time, since the change (utimensat itself) happened just now.
    EXPECT_EQ(read.creation, read.lastWrite);
  }
}

}  // namespace
}  // namespace tessaroven
