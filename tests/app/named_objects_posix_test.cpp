#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "app/named_objects.h"
#include "app/single_instance.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::TempDir;

// Makes the object folder unsafe in one way; false when this user cannot.
bool MakeUnsafe(const std::string& folder, int how) {
  switch (how) {
    case 0:  // owned by another user, which only root can arrange
      return geteuid() == 0 && mkdir(folder.c_str(), 0700) == 0 && chown(folder.c_str(), 65534, 65534) == 0;
    case 1:  // writable by anyone
      return mkdir(folder.c_str(), 0700) == 0 && chmod(folder.c_str(), 0777) == 0;
    case 2:  // writable by the group
      return mkdir(folder.c_str(), 0700) == 0 && chmod(folder.c_str(), 0770) == 0;
    case 3:  // a link to a private folder
      return mkdir((folder + "-real").c_str(), 0700) == 0 && symlink((folder + "-real").c_str(), folder.c_str()) == 0;
    default:  // a file
      return test::WriteBytes(Utf8ToUtf16(folder), "x");
  }
}

TEST(NamedObjects, AnUnsafeFolderIsRefusedAndNothingIsOpenedInIt) {
  for (int how = 0; how < 5; ++how) {
    SCOPED_TRACE(how);
    TempDir runtime;
    test::ScopedEnv env("XDG_RUNTIME_DIR", runtime.Path());
    const std::string folder = Utf16ToUtf8(runtime.Path()) + "tessaroven";
    if (!MakeUnsafe(folder, how)) {
      ASSERT_EQ(how, 0) << "could not prepare the folder";
      continue;
    }

    NamedEvent event;
    EXPECT_FALSE(event.Create(kAcceptEventName));
    EXPECT_FALSE(event.IsOpen());
    EXPECT_NE(Utf16ToUtf8(event.Error()).find(folder), std::string::npos) << Utf16ToUtf8(event.Error());
    NamedSharedBlock block;
    EXPECT_FALSE(block.Create(u"NSharedData_ShrPassNewFolderSel", 520));

    // The start-up then takes every start for a first selector: no path goes into a
    // block that someone else could read.
    SingleInstance instance;
    instance.Open();
    EXPECT_FALSE(instance.AcceptEvent().IsOpen());
    EXPECT_FALSE(instance.Channel().Open());
    instance.Close();
    struct stat info {};
    if (lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
      EXPECT_FALSE(test::FileExists(Utf8ToUtf16(folder + "/evtBCCanAcceptFiles")));
    }
  }
}

TEST(NamedObjects, LiveInAPrivateFolderNamedAfterTheirWindowsNames) {
  TempDir runtime;
  test::ScopedEnv env("XDG_RUNTIME_DIR", runtime.Path());
  const std::u16string folder = runtime / u"tessaroven/";
  EXPECT_EQ(NamedObjectFolder(), folder);
  SingleInstance instance;
  instance.Open();
  ASSERT_TRUE(instance.Channel().Open());
  NamedEvent odd, hidden;
  ASSERT_TRUE(odd.Create(u"Local\\x y%"));
  ASSERT_TRUE(hidden.Create(u".."));

  struct stat info {};
  ASSERT_EQ(stat(Utf16ToUtf8(folder).c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
  auto names = test::ListFolder(folder);
  std::erase(names, u".creation-lock");
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::u16string>{u"%2E.", u"Local%5Cx%20y%25", u"NReceiver_ShrPassNewFolderSel",
                                                u"NSharedData_ShrPassNewFolderSel", u"SMutex_ShrPassNewFolderSel",
                                                u"evtBCCanAcceptFiles", u"evtPickupNewShr"}));
  // The last holder takes the files away.
  instance.Close();
  odd.Close();
  hidden.Close();
  names = test::ListFolder(folder);
  EXPECT_EQ(names, std::vector<std::u16string>{u".creation-lock"});
}

TEST(NamedObjects, WithoutARuntimeFolderUseAPrivateFolderInTmp) {
  test::ScopedEnv env("XDG_RUNTIME_DIR", nullptr);
  const std::string folder = "/tmp/tessaroven-" + std::to_string(geteuid()) + "/";
  EXPECT_EQ(NamedObjectFolder(), Utf8ToUtf16(folder));
  const std::u16string name = u"tessaroven-test-" + AsciiToUtf16(std::to_string(getpid()));
  NamedEvent event;
  ASSERT_TRUE(event.Create(name)) << Utf16ToUtf8(event.Error());
  EXPECT_TRUE(test::FileExists(Utf8ToUtf16(folder) + name));
  event.Close();
  EXPECT_FALSE(test::FileExists(Utf8ToUtf16(folder) + name));
}

TEST(SingleInstance, LinuxCommandLineCarriesNonUtf8BytesIntact) {
  std::string program = "/usr/bin/tessaroven";
  std::string path = "/music/Caf\xE9 \"live\"\n\xFF.flac";
  char* argv[] = {program.data(), path.data(), nullptr};
  EXPECT_EQ(Utf16ToUtf8(ExtractArgument(ProcessCommandLine(2, argv))), path);
}

}  // namespace
}  // namespace tessaroven
