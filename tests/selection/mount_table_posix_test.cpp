#include "selection/mount_table_posix.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessaroven {
namespace {

TEST(MountTable, EscapesDecodeOnlyThreeDigitOctal) {
  EXPECT_EQ(DecodeMountEscapes("/media/anna/My\\040Music"), "/media/anna/My Music");
  EXPECT_EQ(DecodeMountEscapes("C\\134D"), "C\\D");
  EXPECT_EQ(DecodeMountEscapes("Caf\\351"), "Caf\xE9");
  EXPECT_EQ(DecodeMountEscapes("a\\08b"), "a\\08b");  // not octal: stays literal
  EXPECT_EQ(DecodeMountEscapes("a\\400"), "a\\400");  // above a byte: stays literal
}

// Any number of optional fields before the separator; malformed lines are skipped.
TEST(MountTable, ParsesTheFieldsAroundAnyNumberOfOptionalOnes) {
  const std::vector<MountEntry> entries = ParseMountInfo(
      "36 35 98:0 /mnt1 /mnt/parent rw,noatime master:1 shared:7 - ext3 /dev/root rw,errors=continue\n"
      "\n"
      "garbage\n"
      "x 1 8:1 / /a rw - ext4 /dev/sda1 rw\n"                           // id not a number
      "5 1 8-1 / /b rw - ext4 /dev/sda1 rw\n"                           // no major:minor
      "6 1 8:1 / /c rw shared:1 ext4 /dev/sda1 rw\n"                    // no separator
      "7 1 8:1 / /d rw - ext4\n"                                        // file system fields cut short
      "90 27 0:51 / /media/anna/My\\040Music rw - vfat /dev/sdb1 rw");  // last line without newline
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].major, 98u);
  EXPECT_EQ(entries[0].minor, 0u);
  EXPECT_EQ(entries[0].root, u"/mnt1");
  EXPECT_EQ(entries[0].mountPoint, u"/mnt/parent");
  EXPECT_EQ(entries[0].fsType, "ext3");
  EXPECT_EQ(entries[0].source, "/dev/root");
  EXPECT_EQ(entries[1].minor, 51u);
  EXPECT_EQ(entries[1].mountPoint, u"/media/anna/My Music");
}

// A context with one removable disk (8:16 and its partitions 8:17, 8:18) and user
// 1000's runtime folder.
MountContext TestContext() {
  MountContext context;
  context.isRemovableDevice = [](unsigned major, unsigned minor) { return major == 8 && minor >= 16 && minor < 32; };
  context.userRuntimeFolder = u"/run/user/1000/";
  return context;
}

struct MountCase {
  const char* name;
  std::string line;
  int type;  // kDriveUnknown: not a drive
};

class MountClassification : public testing::TestWithParam<MountCase> {};

TEST_P(MountClassification, GivesTheDriveTypeAUserWouldExpect) {
  const std::vector<MountEntry> entries = ParseMountInfo(GetParam().line);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(ClassifyMount(entries[0], TestContext()), GetParam().type);
  // Without a runtime folder no desktop share is trusted.
  MountContext noRuntime = TestContext();
  noRuntime.userRuntimeFolder.clear();
  if (GetParam().type == kDriveRemote && entries[0].fsType.starts_with("fuse.")) {
    EXPECT_EQ(ClassifyMount(entries[0], noRuntime), kDriveUnknown);
  }
}

INSTANTIATE_TEST_SUITE_P(
    MountTable, MountClassification,
    testing::Values(
        MountCase{"RootDisk", "27 1 254:0 / / rw - ext4 /dev/vda rw", kDriveFixed},
        MountCase{"ContainerRootOverlay", "27 1 0:40 / / rw - overlay overlay rw,lowerdir=/x", kDriveFixed},
        MountCase{"BtrfsSubvolumeLikeABind", "31 27 254:1 /@data /data rw - btrfs /dev/vda2 rw", kDriveFixed},
        MountCase{"BindMountAtItsMountPoint", "32 27 254:0 /data/music /srv/music rw - ext4 /dev/vda rw", kDriveFixed},
        MountCase{"AutomountPlaceholder", "51 27 0:46 / /mnt/nas rw - autofs systemd-1 rw", kDriveUnknown},
        MountCase{"TmpInRam", "61 27 0:51 / /tmp rw - tmpfs tmpfs rw", kDriveUnknown},
        MountCase{"RamDiskTheUserMade", "62 27 0:52 / /mnt/ram rw - tmpfs tmpfs rw", kDriveRamDisk},
        MountCase{"EfiPartition", "64 27 8:1 / /boot/efi rw - vfat /dev/sda1 rw", kDriveUnknown},
        MountCase{"SnapImage", "65 27 7:3 / /snap/core22/1380 ro - squashfs /dev/loop3 ro", kDriveUnknown},
        MountCase{"FileBoundIntoContainer", "67 27 254:0 /c/hosts /etc/hosts rw - ext4 /dev/vda rw", kDriveUnknown},
        MountCase{"StickUnderMedia", "70 27 8:33 / /media/anna/STICK rw - vfat /dev/sdc1 rw", kDriveRemovable},
        MountCase{"CardUnderRunMedia", "71 27 179:1 / /run/media/anna/CARD rw - exfat /dev/mmcblk0p1 rw",
                  kDriveRemovable},
        MountCase{"RemovableDeviceElsewhere", "72 27 8:17 / /mnt/usb rw - ext4 /dev/sdb1 rw", kDriveRemovable},
        MountCase{"FixedDeviceElsewhere", "73 27 8:1 / /mnt/data rw - ext4 /dev/sda1 rw", kDriveFixed},
        MountCase{"CdUnderMediaIsACd", "74 27 11:0 / /media/anna/AUDIO rw - iso9660 /dev/sr0 ro", kDriveCdRom},
        MountCase{"DvdElsewhere", "75 27 11:0 / /mnt/dvd ro - udf /dev/sr0 ro", kDriveCdRom},
        MountCase{"SambaShare", "80 27 0:70 / /mnt/nas rw - cifs //nas/music rw", kDriveRemote},
        MountCase{"NfsUnderMediaIsNetwork", "82 27 0:72 / /media/anna/nas rw - nfs4 nas:/music rw", kDriveRemote},
        MountCase{"DesktopSharesOfThisUser", "85 60 0:75 / /run/user/1000/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw",
                  kDriveRemote},
        MountCase{"DesktopSharesOfAnotherUser", "86 60 0:76 / /run/user/1001/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw",
                  kDriveUnknown},
        MountCase{"InsideAHiddenFolder", "88 27 254:0 / /home/anna/.cache/mnt rw - ext4 /dev/vda rw", kDriveUnknown},
        MountCase{"SimilarNameIsNotSystem", "90 27 254:4 / /variety rw - ext4 /dev/vda4 rw", kDriveFixed}),
    [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace tessaroven
