#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "base/xfile.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::TempDir;

TEST(XFileWin, OtherReadersAndWritersMayShareTheFile) {
  TempDir dir;
  const std::u16string path = dir / u"shared.bin";
  XFile writer(path);
  ASSERT_TRUE(writer.Open(GENERIC_WRITE, CREATE_ALWAYS, false));
  ASSERT_TRUE(writer.Write("abc", 3));

  XFile reader(path);
  ASSERT_TRUE(reader.Open(GENERIC_READ, OPEN_EXISTING, false));
  char buffer[3] = {};
  EXPECT_EQ(reader.Read(buffer, 3), 3u);
  EXPECT_EQ(std::string(buffer, 3), "abc");
  XFile secondWriter(path);
  EXPECT_TRUE(secondWriter.Open(GENERIC_WRITE, OPEN_EXISTING, false));
}

TEST(XFileWin, PathsBeyondTheOldLimitOpen) {
  TempDir dir;
  // Build a folder chain longer than MAX_PATH through the "\\?\" form.
  std::u16string folder = dir.Path();
  while (folder.size() < 300) {
    folder += u"a-rather-long-folder-name-for-testing\\";
    const std::wstring os = L"\\\\?\\" + ToOsString(folder);
    ASSERT_TRUE(CreateDirectoryW(os.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS);
  }
  const std::u16string path = folder + u"deep.bin";
  ASSERT_GE(path.size(), 260u);

  XFile file(path);
  ASSERT_TRUE(file.Open(GENERIC_READ | GENERIC_WRITE, CREATE_NEW, false));
  EXPECT_TRUE(file.Write("deep", 4));
  EXPECT_TRUE(file.Seek(0, kSeekFromStart));
  char buffer[4] = {};
  EXPECT_EQ(file.Read(buffer, 4), 4u);
  EXPECT_EQ(std::string(buffer, 4), "deep");
  // The object keeps the path as given, without the prefix.
  EXPECT_EQ(file.Path(), path);
  file.Close();

  // The test folder's own clean-up does not reach this deep.
  DeleteFileW((L"\\\\?\\" + ToOsString(path)).c_str());
  while (folder.size() > dir.Path().size()) {
    RemoveDirectoryW((L"\\\\?\\" + ToOsString(folder)).c_str());
    folder.pop_back();
    folder.erase(folder.find_last_of(u'\\') + 1);
  }
}

}  // namespace
}  // namespace tessaroven
