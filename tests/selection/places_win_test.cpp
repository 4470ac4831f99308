#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"
#include "selection/places.h"

namespace tessaroven {
namespace {

// The drives are the letters the system reports, with their types, named "NAME (X:)"
// after the volume's own name where it has one, else the type's label; reading them
// puts the error mode back.
TEST(PlacesWin, DrivesAreTheLettersTheSystemReportsWithTheirTypeLabels) {
  const UINT errorMode = SetErrorMode(SEM_NOOPENFILEERRORBOX);
  const std::vector<Place> drives = ListDrives();
  EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOOPENFILEERRORBOX));
  SetErrorMode(errorMode);

  const DWORD letters = GetLogicalDrives();
  std::vector<std::u16string> expectedPaths, paths;
  for (int i = 0; i < 26; ++i)
    if (letters & (DWORD{1} << i)) expectedPaths.push_back({static_cast<char16_t>(u'A' + i), u':', u'\\'});
  for (const Place& drive : drives) {
    paths.push_back(drive.path);
    EXPECT_EQ(drive.driveType, static_cast<int>(GetDriveTypeW(ToOsString(drive.path).c_str())));
    wchar_t volume[MAX_PATH + 1] = {};
    GetVolumeInformationW(ToOsString(drive.path).c_str(), volume, MAX_PATH + 1, nullptr, nullptr, nullptr, nullptr, 0);
    const std::u16string name = volume[0] ? FromOsString(volume) : std::u16string(DriveTypeLabel(drive.driveType));
    EXPECT_EQ(drive.label, name + u" (" + drive.path.substr(0, 2) + u")");
  }
  EXPECT_EQ(paths, expectedPaths);
  // Wine's drives: the prefix's drive_c and the host's root.
  EXPECT_NE(std::find(paths.begin(), paths.end(), u"C:\\"), paths.end());
  EXPECT_NE(std::find(paths.begin(), paths.end(), u"Z:\\"), paths.end());
}

TEST(PlacesWin, WatcherReportsANewDriveLetterAndStaysQuietOtherwise) {
  DriveChangeWatcher watcher;
  EXPECT_EQ(watcher.PollDescriptor(), -1);
  EXPECT_FALSE(watcher.WaitForChange(std::chrono::milliseconds(150)));
  // A letter mapped onto a folder is a drive as far as the letter set goes.
  wchar_t letter = 0;
  const DWORD used = GetLogicalDrives();
  for (int i = 25; i >= 3 && !letter; --i)
    if (!(used & (DWORD{1} << i))) letter = static_cast<wchar_t>(L'A' + i);
  ASSERT_NE(letter, 0);
  const std::wstring device = {letter, L':'};
  if (!DefineDosDeviceW(0, device.c_str(), L"C:\\windows")) GTEST_SKIP() << "no drive letter can be mapped here";
  const bool reported = watcher.WaitForChange(std::chrono::milliseconds(2000));
  const bool listed = (GetLogicalDrives() & (DWORD{1} << (letter - L'A'))) != 0;
  DefineDosDeviceW(DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE, device.c_str(), L"C:\\windows");
  if (!listed) GTEST_SKIP() << "a mapped letter does not show among the drives here";
  EXPECT_TRUE(reported);
  EXPECT_TRUE(watcher.WaitForChange(std::chrono::milliseconds(2000)));  // and its removal
}

}  // namespace
}  // namespace tessaroven
