#include <shlobj.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "base/known_folders.h"
#include "base/text.h"

namespace tessaroven {
namespace {

std::u16string WithBackslash(const std::wstring& folder) {
  std::u16string result = FromOsString(folder);
  if (!result.empty() && result.back() != u'\\') result += u'\\';
  return result;
}

std::u16string CurrentVersionValue(const wchar_t* name) {
  wchar_t buffer[MAX_PATH + 1] = {};
  DWORD size = sizeof(buffer);
  if (RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion", name, RRF_RT_REG_SZ, nullptr,
                   buffer, &size) != ERROR_SUCCESS)
    return {};
  return WithBackslash(buffer);
}

TEST(SpecialFoldersWin, SystemFoldersComeFromTheSystem) {
  wchar_t buffer[MAX_PATH + 1] = {};
  GetWindowsDirectoryW(buffer, MAX_PATH + 1);
  EXPECT_EQ(GetSpecialFolder(kFolderWindows), WithBackslash(buffer));
  GetSystemDirectoryW(buffer, MAX_PATH + 1);
  EXPECT_EQ(GetSpecialFolder(kFolderSystem), WithBackslash(buffer));
}

TEST(SpecialFoldersWin, ProgramFilesComeFromTheRegistry) {
  const std::u16string programFiles = CurrentVersionValue(L"ProgramFilesDir");
  ASSERT_FALSE(programFiles.empty());
  EXPECT_EQ(GetSpecialFolder(kFolderProgramFiles), programFiles);
  const std::u16string programFiles64 = CurrentVersionValue(L"ProgramW6432Dir");
  EXPECT_EQ(GetSpecialFolder(kFolderProgramFiles64), programFiles64.empty() ? programFiles : programFiles64);
}

class ShellFolderIds : public testing::TestWithParam<int> {};

// SHGetFolderPathW is another way into the same shell folders: it checks that
// each id stands for the folder it is named after.
TEST_P(ShellFolderIds, AgreeWithTheShellsOtherInterface) {
  wchar_t buffer[MAX_PATH + 1] = {};
  if (FAILED(SHGetFolderPathW(nullptr, GetParam(), nullptr, SHGFP_TYPE_CURRENT, buffer)))
    GTEST_SKIP() << "the shell has no such folder here";
  EXPECT_EQ(GetSpecialFolder(GetParam()), WithBackslash(buffer));
}

INSTANTIATE_TEST_SUITE_P(SpecialFolders, ShellFolderIds,
                         testing::Values(kFolderDocuments, kFolderMyMusic, kFolderMyVideos, kFolderDesktop,
                                         kFolderAppData, kFolderUserProfile, kFolderPublicDocuments, kFolderPublicMusic,
                                         kFolderPublicVideos));

}  // namespace
}  // namespace tessaroven
