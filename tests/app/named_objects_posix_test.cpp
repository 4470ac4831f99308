#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <thread>

#include "app/named_objects.h"
#include "app/single_instance.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using std::chrono::milliseconds;
using test::TempDir;

// Points XDG_RUNTIME_DIR somewhere else for one test.
class RuntimeDir {
 public:
  explicit RuntimeDir(const std::u16string& path) : old_(std::getenv("XDG_RUNTIME_DIR")) {
    if (path.empty())
      unsetenv("XDG_RUNTIME_DIR");
    else
      setenv("XDG_RUNTIME_DIR", Utf16ToUtf8(path).c_str(), 1);
  }
  ~RuntimeDir() {
    if (old_)
      setenv("XDG_RUNTIME_DIR", old_->c_str(), 1);
    else
      unsetenv("XDG_RUNTIME_DIR");
  }

 private:
  std::optional<std::string> old_;
};

struct FolderCase {
  const char* name;
  std::function<void(const std::string& folder)> prepare;
  bool needsRoot = false;  // to give a folder away
};

class UnsafeObjectFolder : public testing::TestWithParam<FolderCase> {};

TEST_P(UnsafeObjectFolder, IsRefusedAndNothingIsOpenedInIt) {
  if (GetParam().needsRoot && geteuid() != 0) GTEST_SKIP() << "only root can give a folder to another user";
  TempDir runtime;
  RuntimeDir env(runtime.Path());
  const std::string folder = Utf16ToUtf8(runtime.Path()) + "tessaroven";
  GetParam().prepare(folder);

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

INSTANTIATE_TEST_SUITE_P(NamedObjects, UnsafeObjectFolder,
                         testing::Values(FolderCase{"OwnedByAnotherUser",
                                                    [](const std::string& f) {
                                                      ASSERT_EQ(mkdir(f.c_str(), 0700), 0);
                                                      ASSERT_EQ(chown(f.c_str(), 65534, 65534), 0);
                                                    }},
                                         FolderCase{"WorldWritable",
                                                    [](const std::string& f) {
                                                      ASSERT_EQ(mkdir(f.c_str(), 0700), 0);
                                                      ASSERT_EQ(chmod(f.c_str(), 0777), 0);
                                                    }},
                                         FolderCase{"GroupWritable",
                                                    [](const std::string& f) {
                                                      ASSERT_EQ(mkdir(f.c_str(), 0700), 0);
                                                      ASSERT_EQ(chmod(f.c_str(), 0770), 0);
                                                    }},
                                         FolderCase{"SymlinkToAPrivateFolder",
                                                    [](const std::string& f) {
                                                      ASSERT_EQ(mkdir((f + "-real").c_str(), 0700), 0);
                                                      ASSERT_EQ(symlink((f + "-real").c_str(), f.c_str()), 0);
                                                    }},
                                         FolderCase{"AFile",
                                                    [](const std::string& f) {
                                                      ASSERT_TRUE(test::WriteBytes(Utf8ToUtf16(f), "x"));
                                                    }}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(NamedObjects, LiveInAPrivateFolderNamedAfterTheirWindowsNames) {
  TempDir runtime;
  RuntimeDir env(runtime.Path());
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
  RuntimeDir env(u"");
  const std::string folder = "/tmp/tessaroven-" + std::to_string(geteuid()) + "/";
  EXPECT_EQ(NamedObjectFolder(), Utf8ToUtf16(folder));
  const std::u16string name = u"tessaroven-test-" + AsciiToUtf16(std::to_string(getpid()));
  NamedEvent event;
  ASSERT_TRUE(event.Create(name)) << Utf16ToUtf8(event.Error());
  EXPECT_TRUE(test::FileExists(Utf8ToUtf16(folder) + name));
  event.Close();
  EXPECT_FALSE(test::FileExists(Utf8ToUtf16(folder) + name));
}

// What a killed process leaves behind: files that no live process holds. Their
// content, whatever it is, must not carry over into the next start.
struct StaleCase {
  const char* name;
  std::function<std::string()> leftover;  // bytes of the file "tessaroven-test-stale"
};

std::string SnapshotOf(const std::function<void(NamedEvent&, NamedMutex&)>& use, bool mutex) {
  const std::u16string file = NamedObjectFolder() + u"tessaroven-test-stale";
  NamedEvent event;
  NamedMutex lock;
  if (mutex)
    lock.Create(u"tessaroven-test-stale");
  else
    event.Create(u"tessaroven-test-stale");
  use(event, lock);
  return test::ReadBytes(file);
}

class StaleObjectFile : public testing::TestWithParam<StaleCase> {};

TEST_P(StaleObjectFile, IsStartedAfreshByTheNextOpen) {
  TempDir runtime;
  RuntimeDir env(runtime.Path());
  const std::string bytes = GetParam().leftover();
  mkdir(Utf16ToUtf8(NamedObjectFolder()).c_str(), 0700);
  ASSERT_TRUE(test::WriteBytes(NamedObjectFolder() + u"tessaroven-test-stale", bytes));

  NamedEvent event;
  ASSERT_TRUE(event.Create(u"tessaroven-test-stale")) << Utf16ToUtf8(event.Error());
  EXPECT_FALSE(event.ExistedBefore());
  EXPECT_FALSE(event.Wait(milliseconds(0)));
  EXPECT_TRUE(event.Set());
  EXPECT_TRUE(event.Wait(milliseconds(0)));
  event.Close();

  ASSERT_TRUE(test::WriteBytes(NamedObjectFolder() + u"tessaroven-test-stale", bytes));
  NamedMutex mutex;
  ASSERT_TRUE(mutex.Create(u"tessaroven-test-stale"));
  bool got = false;
  std::thread([&] {
    got = mutex.Wait(milliseconds(0));
    mutex.Release();
  }).join();
  EXPECT_TRUE(got);
}

INSTANTIATE_TEST_SUITE_P(
    NamedObjects, StaleObjectFile,
    testing::Values(
        StaleCase{"Garbage", [] { return std::string("garbage"); }}, StaleCase{"Empty", [] { return std::string(); }},
        StaleCase{"SignalledEvent", [] { return SnapshotOf([](NamedEvent& e, NamedMutex&) { e.Set(); }, false); }},
        StaleCase{"MutexHeldByAThreadThatIsGone",
                  [] {
                    std::string snapshot;
                    std::thread([&] {
                      snapshot = SnapshotOf([](NamedEvent&, NamedMutex& m) { m.Wait(milliseconds(-1)); }, true);
                    }).join();
                    return snapshot;
                  }}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(SingleInstance, LinuxCommandLineCarriesNonUtf8BytesIntact) {
  std::string program = "/usr/bin/tessaroven";
  std::string path = "/music/Caf\xE9 \"live\"\n\xFF.flac";
  char* argv[] = {program.data(), path.data(), nullptr};
  EXPECT_EQ(Utf16ToUtf8(ExtractArgument(ProcessCommandLine(2, argv))), path);
}

}  // namespace
}  // namespace tessaroven
