// Windows file times come straight from the file system, creation time included.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "filters/file_times.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

FILETIME ToFiletime(std::uint64_t ticks) {
  return FILETIME{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
}

TEST(FileTimesWinTest, ReadsTheTimesTheFileSystemKeeps) {
  test::TempDir dir;
  const std::u16string path = dir / u"old.flac";
  ASSERT_TRUE(test::WriteBytes(path, "x"));
  const std::uint64_t created = 126444736001234567ull;
  const std::uint64_t accessed = 126444736009876543ull;
  const std::uint64_t written = 130000000000000001ull;
  {
    HANDLE file = CreateFileW(ToOsString(path).c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    const FILETIME c = ToFiletime(created), a = ToFiletime(accessed), w = ToFiletime(written);
    const BOOL set = SetFileTime(file, &c, &a, &w);
    CloseHandle(file);
    ASSERT_TRUE(set);
  }
  FileTimes read;
  EXPECT_FALSE(ReadFileTimes(dir / u"missing.flac", read));
  ASSERT_TRUE(ReadFileTimes(path, read));
  EXPECT_EQ(read.lastAccess, accessed);
  EXPECT_EQ(read.lastWrite, written);
  EXPECT_TRUE(read.creationIsBirthTime);
  // NTFS keeps the creation time as set; Wine on a Linux file system cannot store
  // one and reports what it has. Either way it is what the file system reports for
  // the file, read here through a handle instead of by name.
  HANDLE file =
      CreateFileW(ToOsString(path).c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  FILETIME c{}, a{}, w{};
  const BOOL got = GetFileTime(file, &c, &a, &w);
  CloseHandle(file);
  ASSERT_TRUE(got);
  EXPECT_EQ(read.creation, (static_cast<std::uint64_t>(c.dwHighDateTime) << 32) | c.dwLowDateTime);
}

}  // namespace
}  // namespace tessaroven
