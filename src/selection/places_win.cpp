#include <windows.h>

#include <algorithm>
#include <thread>

#include "base/text.h"
#include "selection/folder_enumeration.h"
#include "selection/places.h"

namespace tessaroven {
namespace {

std::u16string VolumeName(const std::wstring& root) {
  wchar_t name[MAX_PATH + 1] = {};
  if (!GetVolumeInformationW(root.c_str(), name, MAX_PATH + 1, nullptr, nullptr, nullptr, nullptr, 0)) return {};
  return FromOsString(name);
}

}  // namespace

std::vector<Place> ListDrives() {
  // Reading an empty card reader or a CD drive without a disc must not stop the
  // window with "No disk".
  CriticalErrorBoxesOff quiet;
  std::vector<Place> drives;
  const DWORD letters = GetLogicalDrives();
  for (int i = 0; i < 26; ++i) {
    if ((letters & (DWORD{1} << i)) == 0) continue;
    const wchar_t letter = static_cast<wchar_t>(L'A' + i);
    const std::wstring root = {letter, L':', L'\\'};
    const UINT type = GetDriveTypeW(root.c_str());
    if (type == DRIVE_NO_ROOT_DIR) continue;  // the letter went between the two calls
    Place drive;
    drive.kind = PlaceKind::kDrive;
    drive.driveType = static_cast<int>(type);
    drive.path = FromOsString(root);
    drive.label = DriveNodeText(VolumeName(root), drive.driveType, drive.path.substr(0, 2));
    drives.push_back(std::move(drive));
  }
  return drives;
}

struct DriveChangeWatcher::Impl {
  DWORD letters = 0;
};

DriveChangeWatcher::DriveChangeWatcher() : impl_(std::make_unique<Impl>()) { impl_->letters = GetLogicalDrives(); }

DriveChangeWatcher::~DriveChangeWatcher() = default;

bool DriveChangeWatcher::WaitForChange(std::chrono::milliseconds timeout) {
  // No device messages here, so the drive letters are looked at in short steps.
  constexpr std::chrono::milliseconds kStep(100);
  const auto deadline = std::chrono::steady_clock::now() + std::max(timeout, std::chrono::milliseconds(0));
  for (;;) {
    const DWORD now = GetLogicalDrives();
    if (now != impl_->letters) {
      impl_->letters = now;
      return true;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left <= std::chrono::milliseconds(0)) return false;
    std::this_thread::sleep_for(std::min(left, kStep));
  }
}

int DriveChangeWatcher::PollDescriptor() const { return -1; }

}  // namespace tessaroven
