#include "filters/file_times.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <optional>
#include <tuple>

namespace tessaroven {
namespace {

TEST(FileTimesTest, UnixTimesLandOnTheWindowsScale) {
  constexpr auto kMax = std::numeric_limits<std::uint64_t>::max();
  for (const auto& [seconds, nanoseconds, ticks] :
       {std::tuple{std::int64_t{0}, std::int64_t{0}, std::uint64_t{116444736000000000ull}},
        // 100-ns ticks: 199 ns is one tick, the rest is cut off.
        std::tuple{std::int64_t{0}, std::int64_t{199}, std::uint64_t{116444736000000001ull}},
        std::tuple{std::int64_t{-1}, std::int64_t{500000000}, std::uint64_t{116444735995000000ull}},
        std::tuple{std::int64_t{-11644473601}, std::int64_t{999999999}, std::uint64_t{0}},
        std::tuple{std::numeric_limits<std::int64_t>::max(), std::int64_t{0}, kMax}})
    EXPECT_EQ(FileTimeFromUnix(seconds, nanoseconds), ticks) << seconds;
}

TEST(FileTimesTest, CreationIsTheBirthTimeElseTheEarlierOfWriteAndChange) {
  // A copy keeps its old modification time but is born now: the birth time wins.
  EXPECT_EQ(CreationTimeFrom(900, 100, 950), 900u);
  // No birth time: a file renamed or re-permissioned later still counts as created
  // when its content was written; a modification time set into the future cannot
  // make it look newer than the system has known it.
  EXPECT_EQ(CreationTimeFrom(std::nullopt, 100, 950), 100u);
  EXPECT_EQ(CreationTimeFrom(std::nullopt, 5000, 950), 950u);
}

TEST(FileTimesTest, CurrentTimeIsTheClockInWholeMilliseconds) {
  const std::uint64_t before = FileTimeFromUnix(std::time(nullptr), 0);
  const std::uint64_t now = CurrentFileTime();
  const std::uint64_t after = FileTimeFromUnix(std::time(nullptr) + 1, 0);
  EXPECT_EQ(now % kFileTimeTicksPerMillisecond, 0u);
  EXPECT_GE(now, before);
  EXPECT_LE(now, after);
}

}  // namespace
}  // namespace tessaroven
