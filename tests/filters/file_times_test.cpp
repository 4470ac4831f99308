#include "filters/file_times.h"

#include <gtest/gtest.h>

#include <limits>
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

}  // namespace
}  // namespace tessaroven
