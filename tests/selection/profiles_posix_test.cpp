#include <signal.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/text.h"
#include "selection/profiles.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

constexpr rlim_t kFileSizeLimit = 512;

// Writes a profile larger than the file size limit, as a full disk would stop it:
// the write fails part-way. Exit code 0 when the save reported the failure.
TESSAROVEN_TEST_CHILD(profile_write_over_limit) {
  const rlimit limit{kFileSizeLimit, kFileSizeLimit};
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
  signal(SIGXFSZ, SIG_IGN);  // a failed write() instead of the signal's kill
  const std::vector<std::uint8_t> large(4 * kFileSizeLimit, 0x5A);
  return WriteProfileFile(Utf8ToUtf16(args.at(0)), large, false) ? 1 : 0;
}

TEST(ProfileFilesPosix, WriteCutShortByAFullDiskLeavesTheOldProfileWhole) {
  const std::u16string folder = ProfileFolder();
  std::filesystem::create_directories(ToOsString(folder));
  const std::u16string path = ProfilePath(u"Full");
  ProfileStore store;
  store.SetText(u"DateFilter", u"1,30");
  const std::vector<std::uint8_t> old = store.Serialize();
  ASSERT_TRUE(WriteProfileFile(path, old, false));

  EXPECT_EQ(test::RunChildren("profile_write_over_limit", {{Utf16ToUtf8(path)}}), std::vector<int>{0});

  const std::string onDisk = test::ReadBytes(path);
  EXPECT_EQ(std::vector<std::uint8_t>(onDisk.begin(), onDisk.end()), old);
  EXPECT_EQ(test::ListFolder(folder), std::vector<std::u16string>{u"Full.bin"});  // no temporary file left
  std::filesystem::remove_all(ToOsString(folder));
}

}  // namespace
}  // namespace tessaroven
