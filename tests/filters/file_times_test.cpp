#include "filters/file_times.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <optional>
#include <string>

#include "support/test_env.h"

namespace tessaroven {
namespace {

struct UnixCase {
  const char* name;
  std::int64_t seconds;
  std::int64_t nanoseconds;
  std::uint64_t ticks;
};

class FileTimeFromUnixTest : public testing::TestWithParam<UnixCase> {};

TEST_P(FileTimeFromUnixTest, LandsOnTheWindowsScale) {
  const auto& c = GetParam();
  EXPECT_EQ(FileTimeFromUnix(c.seconds, c.nanoseconds), c.ticks);
}

INSTANTIATE_TEST_SUITE_P(Times, FileTimeFromUnixTest,
                         testing::Values(UnixCase{"UnixEpoch", 0, 0, 116444736000000000ull},
                                         // 100-ns ticks: 199 ns is one tick, the rest is cut off.
                                         UnixCase{"NanosecondsTruncateToTicks", 0, 199, 116444736000000001ull},
                                         UnixCase{"Billennium", 1000000000, 123456789, 126444736001234567ull},
                                         UnixCase{"BeforeTheEpoch", -1, 500000000, 116444735995000000ull},
                                         UnixCase{"Before1601IsZero", -11644473601, 999999999, 0},
                                         UnixCase{"FarFutureSaturates", std::numeric_limits<std::int64_t>::max(), 0,
                                                  std::numeric_limits<std::uint64_t>::max()}),
                         [](const auto& p) { return std::string(p.param.name); });

struct CreationCase {
  const char* name;
  std::optional<std::uint64_t> birth;
  std::uint64_t lastWrite;
  std::uint64_t statusChange;
  std::uint64_t creation;
};

class CreationTimeRule : public testing::TestWithParam<CreationCase> {};

TEST_P(CreationTimeRule, BirthTimeElseEarlierOfWriteAndChange) {
  const auto& c = GetParam();
  EXPECT_EQ(CreationTimeFrom(c.birth, c.lastWrite, c.statusChange), c.creation);
}

INSTANTIATE_TEST_SUITE_P(Cases, CreationTimeRule,
                         testing::Values(
                             // A copy keeps its old modification time but is born now: the birth time wins.
                             CreationCase{"BirthTimeKnown", 900, 100, 950, 900},
                             // No birth time: a file renamed or re-permissioned later still counts as
                             // created when its content was written.
                             CreationCase{"NoBirthTimeUsesWriteBeforeChange", std::nullopt, 100, 950, 100},
                             // A modification time set into the future cannot make it look newer than
                             // the system has known it.
                             CreationCase{"NoBirthTimeFutureWriteUsesChange", std::nullopt, 5000, 950, 950}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(FileTimesTest, CurrentTimeIsTheClockInWholeMilliseconds) {
  const std::uint64_t before = FileTimeFromUnix(std::time(nullptr), 0);
  const std::uint64_t now = CurrentFileTime();
  const std::uint64_t after = FileTimeFromUnix(std::time(nullptr) + 1, 0);
  EXPECT_EQ(now % kFileTimeTicksPerMillisecond, 0u);
  EXPECT_GE(now, before);
  EXPECT_LE(now, after);
}

TEST(FileTimesTest, FreshFileWasWrittenAndCreatedAroundNow) {
  test::TempDir dir;
  const std::u16string path = dir / u"fresh.flac";
  const std::uint64_t before = CurrentFileTime() - 2 * kFileTimeTicksPerSecond;
  ASSERT_TRUE(test::WriteBytes(path, "x"));
  FileTimes times;
  EXPECT_FALSE(ReadFileTimes(dir / u"missing.flac", times));
  ASSERT_TRUE(ReadFileTimes(path, times));
  const std::uint64_t after = CurrentFileTime() + 2 * kFileTimeTicksPerSecond;
  for (const std::uint64_t t : {times.lastWrite, times.creation, times.lastAccess}) {
    EXPECT_GE(t, before);
    EXPECT_LE(t, after);
  }
}

}  // namespace
}  // namespace tessaroven
