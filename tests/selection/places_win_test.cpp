#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/text.h"
#include "selection/places.h"

namespace tessaroven {
namespace {

std::u16string VolumeNameOf(const std::u16string& root) {
  wchar_t name[MAX_PATH + 1] = {};
  const std::wstring os = ToOsString(root);
  if (!GetVolumeInformationW(os.c_str(), name, MAX_PATH + 1, nullptr, nullptr, nullptr, nullptr, 0)) return {};
  return FromOsString(name);
}

TEST(PlacesWin, DrivesAreTheLettersTheSystemReportsWithTheirTypeLabels) {
  const DWORD letters = GetLogicalDrives();
  const std::vector<Place> drives = ListDrives();
  std::vector<std::u16string> expectedPaths;
  for (int i = 0; i < 26; ++i)
    if (letters & (DWORD{1} << i))
      expectedPaths.push_back(std::u16string{static_cast<char16_t>(u'A' + i), u':', u'\\'});
  std::vector<std::u16string> paths;
  for (const Place& drive : drives) paths.push_back(drive.path);
  EXPECT_EQ(paths, expectedPaths);

  bool sawC = false, sawZ = false;
  for (const Place& drive : drives) {
    const std::wstring root = ToOsString(drive.path);
    EXPECT_EQ(drive.kind, PlaceKind::kDrive);
    EXPECT_EQ(drive.driveType, static_cast<int>(GetDriveTypeW(root.c_str()))) << Utf16ToUtf8(drive.path);
    // "NAME (X:)": the volume's own name where it has one, else the type's label.
    const std::u16string volume = VolumeNameOf(drive.path);
    const std::u16string name = volume.empty() ? std::u16string(DriveTypeLabel(drive.driveType)) : volume;
    EXPECT_EQ(drive.label, name + u" (" + drive.path.substr(0, 2) + u")");
    sawC = sawC || drive.path == u"C:\\";
    sawZ = sawZ || drive.path == u"Z:\\";
    if (drive.path == u"C:\\") {
      EXPECT_EQ(drive.driveType, kDriveFixed);
      if (volume.empty()) {
        EXPECT_EQ(drive.label, u"Hard Disk (C:)");
      }
    }
  }
  // Wine's drives: the prefix's drive_c and the host's root.
  EXPECT_TRUE(sawC);
  EXPECT_TRUE(sawZ);
}

TEST(PlacesWin, ReadingTheDrivesPutsTheErrorModeBack) {
  const UINT before = SetErrorMode(SEM_NOOPENFILEERRORBOX);
  ListDrives();
  EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOOPENFILEERRORBOX));
  SetErrorMode(before);
}

TEST(PlacesWin, WatcherStaysQuietWhileTheDriveLettersStay) {
  DriveChangeWatcher watcher;
  EXPECT_EQ(watcher.PollDescriptor(), -1);
  EXPECT_FALSE(watcher.WaitForChange(std::chrono::milliseconds(0)));
  EXPECT_FALSE(watcher.WaitForChange(std::chrono::milliseconds(150)));
}

TEST(PlacesWin, WatcherReportsANewDriveLetter) {
  // A letter mapped onto a folder is a drive as far as the letter set goes.
  wchar_t letter = 0;
  const DWORD used = GetLogicalDrives();
  for (int i = 25; i >= 3 && !letter; --i)
    if (!(used & (DWORD{1} << i))) letter = static_cast<wchar_t>(L'A' + i);
  ASSERT_NE(letter, 0);
  const std::wstring device = {letter, L':'};
  DriveChangeWatcher watcher;
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
