// Which mounts are network shares, of which server, under what name.
#include <gtest/gtest.h>

#include "base/text.h"
#include "selection/network_mounts_posix.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

struct MountCase {
  const char* line;  // one line of /proc/self/mountinfo
  const char16_t* server;  // nullptr: not a share
  const char16_t* share;
  const char16_t* path;
};

class NetworkMountOfTest : public testing::TestWithParam<MountCase> {};

TEST_P(NetworkMountOfTest, NamesTheServerAndShareOfEveryNetworkMount) {
  const MountCase& c = GetParam();
  const std::vector<MountEntry> entries = ParseMountInfo(c.line);
  ASSERT_EQ(entries.size(), 1u);
  const std::optional<NetworkMount> mount = NetworkMountOf(entries[0]);
  if (!c.server) {
    EXPECT_FALSE(mount) << Utf16ToUtf8(mount->server);
    return;
  }
  ASSERT_TRUE(mount);
  EXPECT_EQ(mount->server, c.server);
  EXPECT_EQ(mount->share, c.share);
  EXPECT_EQ(mount->path, c.path);
}

INSTANTIATE_TEST_SUITE_P(
    Samples, NetworkMountOfTest,
    testing::Values(
        MountCase{"36 25 0:45 / /mnt/music rw,relatime shared:1 - cifs //nas/music rw,vers=3.1.1", u"nas", u"music",
                  u"/mnt/music/"},
        MountCase{"36 25 0:45 / /mnt/deep rw - smb3 //nas.local/music/Jazz/ rw", u"nas.local", u"music/Jazz",
                  u"/mnt/deep/"},
        MountCase{"37 25 0:46 / /mnt/nfs\\040share rw - nfs4 nas:/srv/music rw", u"nas", u"/srv/music",
                  u"/mnt/nfs share/"},
        MountCase{"38 25 0:47 / /mnt/v6 rw - nfs [fe80::2]:/export rw", u"fe80::2", u"/export", u"/mnt/v6/"},
        MountCase{"39 25 0:48 / /home/anna/box rw - fuse.sshfs anna@box:Music rw", u"box", u"Music",
                  u"/home/anna/box/"},
        MountCase{"40 25 0:49 / /home/anna/home rw - fuse.sshfs anna@box: rw", u"box", u"~", u"/home/anna/home/"},
        MountCase{"41 25 0:50 / /mnt/dav rw - fuse.davfs2 https://anna@cloud.example:8443/dav/ rw", u"cloud.example",
                  u"/dav", u"/mnt/dav/"},
        // The desktop's own FUSE mount holds the shares; it is none itself.
        MountCase{"42 25 0:51 / /run/user/1000/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw", nullptr, nullptr, nullptr},
        MountCase{"43 1 8:1 / / rw - ext4 /dev/sda1 rw", nullptr, nullptr, nullptr},
        // A network type whose source names no server.
        MountCase{"44 25 0:52 / /mnt/shared rw - vboxsf Music rw", nullptr, nullptr, nullptr}));

struct DesktopFolderCase {
  const char16_t* name;
  const char16_t* server;  // nullptr: not a network share
  const char16_t* share;
};

class DesktopFolderTest : public testing::TestWithParam<DesktopFolderCase> {};

TEST_P(DesktopFolderTest, ReadsTheServerAndShareFromTheFolderName) {
  const DesktopFolderCase& c = GetParam();
  const std::optional<NetworkMount> mount = NetworkMountOfDesktopFolder(c.name, u"/run/user/1000/gvfs/");
  if (!c.server) {
    EXPECT_FALSE(mount);
    return;
  }
  ASSERT_TRUE(mount);
  EXPECT_EQ(mount->server, c.server);
  EXPECT_EQ(mount->share, c.share);
  EXPECT_EQ(mount->path, u"/run/user/1000/gvfs/" + std::u16string(c.name) + u"/");
}

INSTANTIATE_TEST_SUITE_P(
    Samples, DesktopFolderTest,
    testing::Values(DesktopFolderCase{u"smb-share:server=nas,share=music", u"nas", u"music"},
                    DesktopFolderCase{u"smb-share:domain=WG,server=nas,share=my%20music,user=anna", u"nas",
                                      u"my music"},
                    DesktopFolderCase{u"nfs:host=nas,prefix=%2Fsrv%2Fmusic", u"nas", u"/srv/music"},
                    DesktopFolderCase{u"sftp:host=box,user=anna", u"box", u"sftp"},
                    DesktopFolderCase{u"mtp:host=Phone", nullptr, nullptr},
                    DesktopFolderCase{u"smb-share:share=music", nullptr, nullptr},
                    DesktopFolderCase{u"no colon here", nullptr, nullptr}));

TEST(GroupByServer, OneComputerPerServerInTheOrderMetEachPathOnce) {
  const std::vector<NetworkMount> mounts = {
      {u"nas", u"music", u"/mnt/a/"},   {u"box", u"~", u"/mnt/b/"},      {u"NAS", u"video", u"/mnt/c/"},
      {u"nas", u"again", u"/mnt/a/"},  // the same path once more
  };
  const std::vector<STServer> servers = GroupByServer(mounts);
  ASSERT_EQ(servers.size(), 2u);
  EXPECT_EQ(servers[0].name, u"nas");
  EXPECT_EQ(servers[0].sharePaths, (std::vector<std::u16string>{u"/mnt/a/", u"/mnt/c/"}));
  EXPECT_EQ(servers[0].shareNames, (std::vector<std::u16string>{u"music", u"video"}));
  EXPECT_EQ(servers[1].name, u"box");
  EXPECT_EQ(servers[1].shareNames, std::vector<std::u16string>{u"~"});
}

TEST(TopMounts, APathMountedTwiceShowsTheMountOnTop) {
  const std::vector<MountEntry> top = TopMounts(ParseMountInfo(
      "36 25 0:45 / /mnt/a rw - cifs //old/music rw\n37 25 0:46 / /mnt/b rw - nfs nas:/x rw\n"
      "38 36 0:47 / /mnt/a rw - cifs //new/music rw\n"));
  ASSERT_EQ(top.size(), 2u);
  EXPECT_EQ(top[0].source, "nas:/x");
  EXPECT_EQ(top[1].source, "//new/music");
}

TEST(NetworkMountOf, VeryLongEscapedMountPointsComeThroughWhole) {
  const std::string folder(300, 'x');
  const std::vector<MountEntry> entries =
      ParseMountInfo("45 25 0:53 / /mnt/" + folder + "\\040end rw - cifs //nas/" + folder + " rw\n");
  ASSERT_EQ(entries.size(), 1u);
  const std::optional<NetworkMount> mount = NetworkMountOf(entries[0]);
  ASSERT_TRUE(mount);
  EXPECT_EQ(mount->path, Utf8ToUtf16("/mnt/" + folder + " end/"));
  EXPECT_EQ(mount->share, Utf8ToUtf16(folder));
}

// A share offered by the desktop's browser is mounted on its first read; one that
// cannot be (no such server, or no mount tool at all) says so, naming the share.
TEST(PrepareShareFolder, AShareThatCannotBeMountedGivesAMessageNamingIt) {
  test::TempDir temp;
  const std::u16string path = temp / u"smb-share:server=nowhere.invalid,share=music/";
  RememberUnmountedShare(path, "smb://nowhere.invalid/music");
  std::u16string message;
  EXPECT_FALSE(PrepareShareFolder(path, message));
  EXPECT_NE(message.find(u"smb://nowhere.invalid/music"), std::u16string::npos) << Utf16ToUtf8(message);
  // Any other folder needs nothing.
  message.clear();
  EXPECT_TRUE(PrepareShareFolder(temp.Path(), message));
  EXPECT_TRUE(message.empty());
}

}  // namespace
}  // namespace tessaroven
