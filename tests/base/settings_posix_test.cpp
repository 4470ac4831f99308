// The settings file on Linux: its exact text, foreign and damaged files, and many
// threads and processes writing at once.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <regex>
#include <thread>

#include "base/reg_file.h"
#include "base/settings.h"
#include "base/settings_test_key.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace test {

ScopedSettingsKey::ScopedSettingsKey() {
  static std::atomic<int> counter{0};
  path_ = u"Software\\Orvandelle\\TessarovenTest\\" +
          AsciiToUtf16(std::to_string(getpid()) + "-" + std::to_string(counter++));
}

// The settings file lives in the run's private folder, which goes with the run.
ScopedSettingsKey::~ScopedSettingsKey() = default;

}  // namespace test

namespace {

constexpr std::u16string_view kKey = u"Software\\Orvandelle\\Tessaroven";
constexpr char kHeader[] = "Windows Registry Editor Version 5.00\n\n";

std::string Utf8(const std::u16string& s) { return Utf16ToUtf8(s); }

// The program's own key, current user: what every test here reads and writes.
std::uint32_t Get(std::u16string_view name) { return SettingsGetDword(name, SettingsRoot::CurrentUser, kKey); }
bool Put(std::uint32_t value, std::u16string_view name) {
  return SettingsSetDword(value, name, SettingsRoot::CurrentUser, kKey);
}

// Points XDG_CONFIG_HOME at a fresh folder for the test.
class SettingsFileTest : public testing::Test {
 protected:
  std::u16string Folder() const { return dir_ / u"tessaroven/"; }
  std::u16string File() const { return Folder() + u"user.reg"; }
  std::string Text() const { return test::ReadBytes(File()); }

  std::vector<std::string> BadFiles() const {
    std::vector<std::string> names;
    const std::regex pattern(R"(user\.reg\.\d{8}-\d{6}(-\d+)?\.bad)");
    for (const auto& name : test::ListFolder(Folder()))
      if (std::regex_match(Utf8(name), pattern)) names.push_back(Utf8(name));
    return names;
  }

  test::TempDir dir_;

 private:
  test::ScopedEnv configVariable_{"XDG_CONFIG_HOME", dir_.Path()};
};

TEST_F(SettingsFileTest, WritesTheRegistryExportFormat) {
  const std::uint8_t blob[] = {0x01, 0x02, 0xFF};
  ASSERT_TRUE(Put(42, u"Width"));
  ASSERT_TRUE(SettingsSetString(u"Name\rSize", u"Cols", SettingsRoot::CurrentUser, kKey));
  ASSERT_TRUE(SettingsSetString(u"C:\\x \"q\" \u00E9", u"Path", SettingsRoot::CurrentUser, kKey));
  ASSERT_TRUE(SettingsSetValue(blob, sizeof blob, kRegBinary, u"Blob", SettingsRoot::CurrentUser, kKey));
  ASSERT_TRUE(SettingsSetDword(1, u"UnitsFreq", SettingsRoot::CurrentUser,
                               std::u16string_view(u"Software\\Orvandelle\\Tessaroven\\Ref")));
  ASSERT_TRUE(Put(43, u"width"));
  ASSERT_TRUE(SettingsSetString(u"x", u"Default", SettingsRoot::LocalMachine, kKey));
  EXPECT_EQ(Text(), std::string(kHeader) +
                        "[HKEY_CURRENT_USER\\Software\\Orvandelle\\Tessaroven]\n"
                        "\"Width\"=dword:0000002b\n"
                        "\"Cols\"=hex(1):4e,00,61,00,6d,00,65,00,0d,00,53,00,69,00,7a,00,65,00,00,00\n"
                        "\"Path\"=\"C:\\\\x \\\"q\\\" \xC3\xA9\"\n"
                        "\"Blob\"=hex:01,02,ff\n\n"
                        "[HKEY_CURRENT_USER\\Software\\Orvandelle\\Tessaroven\\Ref]\n"
                        "\"UnitsFreq\"=dword:00000001\n\n"
                        "[HKEY_LOCAL_MACHINE\\Software\\Orvandelle\\Tessaroven]\n"
                        "\"Default\"=\"x\"\n\n");
  // Roots are kept apart.
  EXPECT_EQ(SettingsGetString(u"Default", SettingsRoot::CurrentUser, kKey), u"");
  EXPECT_EQ(SettingsGetString(u"Default", SettingsRoot::LocalMachine, kKey), u"x");
}

// $XDG_CONFIG_HOME/tessaroven, made with its parents for the user only; a relative
// XDG_CONFIG_HOME is ignored by the XDG rules, and ~/.config serves instead.
TEST_F(SettingsFileTest, TheFileIsPrivateToTheUserInTheConfigFolder) {
  const std::u16string config = dir_ / u"a/b";
  setenv("XDG_CONFIG_HOME", Utf8(config).c_str(), 1);
  ASSERT_TRUE(Put(1, u"V"));
  struct stat st {};
  ASSERT_EQ(stat(Utf8(config + u"/tessaroven").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);
  ASSERT_EQ(stat(Utf8(config + u"/tessaroven/user.reg").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_EQ(SettingsStoreLocation(), config + u"/tessaroven/user.reg");

  const test::ScopedEnv home("HOME", dir_ / u"home");
  setenv("XDG_CONFIG_HOME", "relative/is/ignored", 1);
  EXPECT_TRUE(Put(5, u"V"));
  EXPECT_TRUE(test::FileExists(dir_ / u"home/.config/tessaroven/user.reg"));
  EXPECT_EQ(SettingsStoreLocation(), dir_ / u"home/.config/tessaroven/user.reg");
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(Get(u"V"), 5u);
}

TEST_F(SettingsFileTest, HandEditsAreNoticed) {
  ASSERT_TRUE(Put(1, u"V"));
  ASSERT_EQ(Get(u"V"), 1u);
  // Same size, same inode, written in place; only the time stamps tell.
  std::string text = Text();
  const std::size_t at = text.find("dword:00000001");
  ASSERT_NE(at, std::string::npos);
  text[at + 13] = '2';
  ASSERT_TRUE(test::WriteBytes(File(), text));
  struct stat st {};
  ASSERT_EQ(stat(Utf8(File()).c_str(), &st), 0);
  const timespec later[2] = {{0, UTIME_OMIT}, {st.st_mtim.tv_sec + 2, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, Utf8(File()).c_str(), later, 0), 0);
  EXPECT_EQ(Get(u"V"), 2u);

  // Replaced by another file, as editors save.
  text[at + 13] = '3';
  ASSERT_TRUE(test::WriteBytes(Folder() + u"edited", text));
  ASSERT_EQ(std::rename(Utf8(Folder() + u"edited").c_str(), Utf8(File()).c_str()), 0);
  EXPECT_EQ(Get(u"V"), 3u);

  // Deleted, then the whole folder removed while running: it is made again.
  std::filesystem::remove(Utf8(File()));
  EXPECT_EQ(Get(u"V"), 0u);
  std::filesystem::remove_all(Utf8(Folder()));
  EXPECT_TRUE(Put(2, u"V"));
  EXPECT_EQ(Get(u"V"), 2u);
}

// ---- What is not a regular file ---------------------------------------------------------------

// Reads a value on another thread, so that a read that blocks fails the test
// instead of hanging it; a blocked read of a named pipe is freed by opening the
// pipe for writing.
std::optional<std::uint32_t> ReadWithin(std::chrono::seconds limit, const std::string& pipe = {}) {
  auto result = std::make_shared<std::promise<std::uint32_t>>();
  std::future<std::uint32_t> future = result->get_future();
  std::thread([result] { result->set_value(Get(u"V")); }).detach();
  if (future.wait_for(limit) == std::future_status::ready) return future.get();
  if (!pipe.empty()) {
    const int fd = open(pipe.c_str(), O_WRONLY | O_NONBLOCK);
    if (fd >= 0) close(fd);
    future.wait();
  }
  return std::nullopt;
}

TEST_F(SettingsFileTest, ANamedPipeAsTheFileIsRefusedAndTheDefaultsServe) {
  ASSERT_TRUE(std::filesystem::create_directories(Utf8(Folder())));
  ASSERT_EQ(mkfifo(Utf8(File()).c_str(), 0600), 0);
  const std::optional<std::uint32_t> read = ReadWithin(std::chrono::seconds(20), Utf8(File()));
  ASSERT_TRUE(read.has_value()) << "the read waited on the pipe";
  EXPECT_EQ(*read, 0u);
  EXPECT_FALSE(Put(1, u"V")) << "nothing is written over it";
  struct stat st {};
  ASSERT_EQ(lstat(Utf8(File()).c_str(), &st), 0);
  EXPECT_TRUE(S_ISFIFO(st.st_mode)) << "left alone";
  EXPECT_NE(Utf8(SettingsStoreProblem()).find(Utf8(File()) + " is a named pipe, not a regular file"), std::string::npos)
      << Utf8(SettingsStoreProblem());

  // Once the pipe makes room for a file, the store works again and says nothing.
  ASSERT_EQ(unlink(Utf8(File()).c_str()), 0);
  EXPECT_TRUE(Put(3, u"V"));
  EXPECT_EQ(Get(u"V"), 3u);
  EXPECT_EQ(SettingsStoreProblem(), u"");
}

// A link is not followed, for the file or for its lock file: a link to a device
// would be read until memory runs out, and the lock file's counter would be written
// into whatever the link points at.
TEST_F(SettingsFileTest, LinksAsTheFileOrItsLockFileAreRefused) {
  ASSERT_TRUE(std::filesystem::create_directories(Utf8(Folder())));
  const std::string target = Utf8(dir_ / u"elsewhere.reg");
  ASSERT_TRUE(test::WriteBytes(dir_ / u"elsewhere.reg", std::string(kHeader) +
                                                            "[HKEY_CURRENT_USER\\Software\\Orvandelle\\Tessaroven]\n"
                                                            "\"V\"=dword:00000005\n"));
  const std::string before = test::ReadBytes(dir_ / u"elsewhere.reg");
  ASSERT_EQ(symlink(target.c_str(), Utf8(File()).c_str()), 0);
  EXPECT_EQ(ReadWithin(std::chrono::seconds(20)), std::optional<std::uint32_t>(0u));
  EXPECT_FALSE(Put(1, u"V"));
  EXPECT_NE(Utf8(SettingsStoreProblem()).find("is a symbolic link"), std::string::npos);
  ASSERT_EQ(unlink(Utf8(File()).c_str()), 0);

  const std::u16string lock = Folder() + u"user.reg.lock";
  std::filesystem::remove(Utf8(lock));
  ASSERT_EQ(symlink(target.c_str(), Utf8(lock).c_str()), 0);
  // A fresh folder for the store, so that the lock file is opened again.
  setenv("XDG_CONFIG_HOME", Utf8(dir_.Path()).c_str(), 1);
  EXPECT_FALSE(Put(2, u"V"));
  EXPECT_EQ(Get(u"V"), 0u);
  EXPECT_EQ(test::ReadBytes(dir_ / u"elsewhere.reg"), before) << "nothing written through the links";
  EXPECT_NE(Utf8(SettingsStoreProblem()).find(Utf8(lock) + " is a symbolic link"), std::string::npos)
      << Utf8(SettingsStoreProblem());
}

// A file that is no registry export is not trusted, nor overwritten: each one is
// kept aside under its own name before a new file is written.
TEST_F(SettingsFileTest, UnreadableFilesAreKeptAsideBeforeANewFileIsWritten) {
  const std::string unreadable[] = {
      std::string("\0\x01\x02\xFF\xFE garbage\n", 14),
      "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\Orvandelle\\Tessaroven]\n\"A\"=dword:00000005\n",
      std::string("W\0i\0n\0d\0o\0w\0s\0\r\0\n\0", 18)};
  ASSERT_TRUE(test::MakeFolder(Folder()));
  for (const auto& bytes : unreadable) {
    ASSERT_TRUE(test::WriteBytes(File(), bytes));
    // Values it might hold read as absent; the later files are written over unread.
    if (&bytes == unreadable) {
      EXPECT_EQ(Get(u"A"), 0u);
    }
    ASSERT_TRUE(Put(1, u"A"));
    EXPECT_TRUE(RegFile::Parse(Text()).has_value());
    EXPECT_EQ(Get(u"A"), 1u);
  }
  std::vector<std::string> kept;
  for (const auto& name : BadFiles()) kept.push_back(test::ReadBytes(Folder() + Utf8ToUtf16(name)));
  std::sort(kept.begin(), kept.end());
  std::vector<std::string> expected(std::begin(unreadable), std::end(unreadable));
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(kept, expected);
}

// ---- Several processes ---------------------------------------------------------------------

constexpr int kWriterThreads = 4;
constexpr int kValuesPerThread = 200;

std::u16string WriterValueName(int child, int thread, int n) {
  return AsciiToUtf16("p" + std::to_string(child) + "-t" + std::to_string(thread) + "-" + std::to_string(n));
}
std::uint32_t WriterValue(int child, int thread, int n) {
  return static_cast<std::uint32_t>(child * 100000 + thread * 1000 + n + 1);
}

TESSAROVEN_TEST_CHILD(settings_writer) {
  const int child = std::stoi(args.at(0));
  std::atomic<int> failures{0};
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kWriterThreads; ++t) {
      threads.emplace_back([&, t] {
        for (int n = 0; n < kValuesPerThread; ++n) {
          const std::u16string name = WriterValueName(child, t, n);
          if (!Put(WriterValue(child, t, n), name)) ++failures;
          // Reading one's own value back makes this side reload the file that the
          // other process keeps changing; the value must be there all the same.
          if (Get(name) != WriterValue(child, t, n)) ++failures;
        }
      });
    }
  }
  return failures == 0 ? 0 : 1;
}

TEST_F(SettingsFileTest, ProcessesAndThreadsWritingAtOnceLoseNothing) {
  EXPECT_EQ(test::RunChildren("settings_writer", {{"0"}, {"1"}}), (std::vector<int>{0, 0}));
  // The parent, whose cache is cold, reads every value back through the store.
  int missing = 0;
  for (int child = 0; child < 2; ++child)
    for (int t = 0; t < kWriterThreads; ++t)
      for (int n = 0; n < kValuesPerThread; ++n) missing += Get(WriterValueName(child, t, n)) != WriterValue(child, t, n);
  EXPECT_EQ(missing, 0) << "of " << 2 * kWriterThreads * kValuesPerThread;
  EXPECT_TRUE(BadFiles().empty());
  EXPECT_FALSE(test::FileExists(Folder() + u"user.reg.tmp"));
}

}  // namespace
}  // namespace tessaroven
