// The real tessaroven-cli over real audio files, as a script would run it.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/text.h"
#include "selection/profile_store.h"
#include "selection/profiles.h"
#include "support/fake_converter_record.h"
#include "support/test_env.h"

namespace tessaroven::cli {
namespace {

namespace fs = std::filesystem;

struct Result {
  int code = -1;
  std::string out;
  std::string err;
};

std::string Slurp(const std::string& path) { return test::ReadBytes(FromOsString(path)); }

class CliRunTest : public ::testing::Test {
 protected:
  CliRunTest() : root_(ToOsString(dir_.Path())) {}

  // Runs the program through the shell, every word quoted, so any bytes pass.
  Result Cli(const std::vector<std::string>& args, const std::string& program = TESSAROVEN_CLI_PATH) {
    auto quoted = [](const std::string& word) {
      std::string out = "'";
      for (const char c : word) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
      return out + "'";
    };
    std::string command = quoted(program);
    for (const std::string& arg : args) command += " " + quoted(arg);
    const int status =
        std::system((command + " >" + quoted(root_ + "stdout") + " 2>" + quoted(root_ + "stderr")).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(root_ + "stdout"), Slurp(root_ + "stderr")};
  }

  // A copy of a fixture (real audio with tags) at `relative` below the library.
  std::string Put(const std::string& fixture, const std::string& relative) {
    const fs::path target = fs::path(root_) / "lib" / relative;
    fs::create_directories(target.parent_path());
    fs::copy_file(fs::path(TESSAROVEN_TEST_DATA_DIR) / fixture, target);
    return target.string();
  }
  std::string Lib(const std::string& relative = "") const { return root_ + "lib/" + relative; }

  // The program copied into bin/ beside the plug-ins, as an installation has it;
  // with the test converter beside it when asked. Returns the program's path.
  std::string InstallCopy(bool withConverter) {
    const fs::path bin = fs::path(root_) / "bin";
    fs::create_directories(bin);
    fs::copy_file(TESSAROVEN_CLI_PATH, bin / "tessaroven-cli");
    if (withConverter) fs::copy_file(TESSAROVEN_FAKE_CONVERTER_PATH, bin / "kovantrix");
    fs::create_directory_symlink(TESSAROVEN_BUILD_PLUGIN_DIR, bin / "decoder");
    return (bin / "tessaroven-cli").string();
  }

  test::TempDir dir_;
  std::string root_;
};

// Lists the selection in hand-off order; column names are matched without case and
// printed in their own spelling; filters narrow the list; a name that is not UTF-8
// comes out byte for byte.
TEST_F(CliRunTest, ListsTheSelectionInHandOffOrderWithColumnsAndFilters) {
  Put("tone.flac", "A/one.flac");
  Put("tone.mp3", "A/B/two.mp3");
  Put("tone.ogg", "C/three.ogg");
  const std::string single = Put("tone.wav", "D/four.wav");
  const std::string odd = Put("tone.mp3", "N/caf\xE9 \"live\".mp3");

  const Result result = Cli(
      {"--folder", Lib("A"), "--exclude-folder", Lib("A/B"), "--folder-only", Lib("C"), "--file", single, "--list"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, Lib("A/one.flac") + "\n" + Lib("C/three.ogg") + "\n" + single + "\n");

  const Result columns = Cli({"--folder-only", Lib("A"), "--list", "--columns", "name,TYPE,Sample Rate,Artist"});
  EXPECT_EQ(columns.code, 0) << columns.err;
  EXPECT_EQ(columns.out, "one.flac\tFLAC lossless audio\t44.1 kHz\tFixture Artist Second Artist\n");
  const Result json = Cli({"--list-folder", Lib("A"), "--json", "--columns", "Name,Channels"});
  EXPECT_EQ(json.out, "{\"Name\": \"one.flac\", \"Channels\": \"2\"}\n");

  EXPECT_EQ(Cli({"--folder", Lib("A"), "--exclude-type", ".FLAC", "--list"}).out, Lib("A/B/two.mp3") + "\n");
  // Modified more than 30 days ago: the fresh copies are not.
  const Result old = Cli({"--folder", Lib("A"), "--date", "1,30", "--list"});
  EXPECT_EQ(old.code, 1);
  EXPECT_EQ(old.out, "");

  EXPECT_EQ(Cli({"--folder", Lib("N"), "--list"}).out, odd + "\n");
  EXPECT_EQ(Cli({"--folder", Lib("N"), "--list", "--json", "--columns", "Name"}).out,
            "{\"Name\": \"caf\\udce9 \\\"live\\\".mp3\"}\n");
}

// The hand-off end to end: the program copied beside a test converter (which
// records its arguments and the list it got, then signals the event), as an
// installation would have the real one.
TEST_F(CliRunTest, ConvertHandsTheListToTheConverterBesideTheProgram) {
  const std::string first = Put("tone.flac", "A/one.flac");
  const std::string second = Put("tone.mp3", "A/B/two.mp3");
  const std::string program = InstallCopy(true);
  const std::string record = root_ + "record-";
  setenv("TESSAROVEN_FAKE_CONVERTER_RECORD", record.c_str(), 1);

  const Result result = Cli({"--folder-only", Lib("A/B"), "--file", first, "--convert"}, program);
  unsetenv("TESSAROVEN_FAKE_CONVERTER_RECORD");
  EXPECT_EQ(result.code, 0) << result.err;

  EXPECT_EQ(Slurp(record + "list"), test::ListFileBytes({Utf8ToUtf16(second), Utf8ToUtf16(first)}));
  const std::vector<std::u16string> words = test::RecordedWords(Slurp(record + "args"));
  ASSERT_EQ(words.size(), 4u) << "the converter's own path, three arguments, and no -additionalprofile";
  EXPECT_EQ(words[0], FromOsString((fs::path(program).parent_path() / "kovantrix").string()));
  EXPECT_TRUE(words[1].starts_with(u"-list_to_conv="));
  EXPECT_TRUE(words[2].starts_with(u"-signal_event_got_files=fsqrv-"));
  EXPECT_EQ(words[3], u"-centeronwnd=0");
  EXPECT_FALSE(fs::exists(ToOsString(words[1].substr(14)))) << "the list file is deleted afterwards";
}

// A profile keeps the selection and the filters. Steps after a profile load apply
// also where an earlier step had opened the same branch of the tree before the load
// reset it, and saving under a new name leaves the loaded profile's bytes as they were.
TEST_F(CliRunTest, AProfileKeepsTheSelectionAndTheFiltersAndStepsAfterItApply) {
  Put("tone.flac", "A/one.flac");
  Put("tone.mp3", "A/two.mp3");
  Put("tone.ogg", "A/B/three.ogg");
  Put("tone.wav", "C/D/four.wav");
  const std::string name = "Jazz: \"live\"/2024";
  const Result saved =
      Cli({"--folder", Lib("A"), "--exclude-folder", Lib("A/B"), "--exclude-type", ".mp3", "--save-profile", name});
  EXPECT_EQ(saved.code, 0) << saved.err;
  EXPECT_EQ(Cli({"--profile", name, "--list"}).out, Lib("A/one.flac") + "\n");

  const std::string before = Slurp(ToOsString(ProfilePath(Utf8ToUtf16(name))));
  ASSERT_FALSE(before.empty());
  const Result again = Cli({"--folder", Lib("C"), "--profile", name, "--folder", Lib("C/D"), "--save-profile", "P3"});
  EXPECT_EQ(again.code, 0) << again.err;
  EXPECT_EQ(Slurp(ToOsString(ProfilePath(Utf8ToUtf16(name)))), before);
  EXPECT_EQ(Cli({"--profile", "P3", "--list"}).out, Lib("A/one.flac") + "\n" + Lib("C/D/four.wav") + "\n");
}

// The window loads a damaged profile in silence; the CLI names the file and where the
// damage begins, and leaves out entries that are no absolute paths.
TEST_F(CliRunTest, ADamagedProfileIsNamedWithWhereItsDamageBegins) {
  Put("tone.flac", "A/one.flac");
  ProfileStore store;
  store.SetText(u"lstFoldersAndSub", u"relative/path{_{_}_}" + FromOsString(Lib("A")) + u"/");
  std::vector<std::uint8_t> bytes = store.Serialize();
  bytes[0] = 2;  // a second record promised
  const std::size_t damage = bytes.size();
  for (std::uint8_t b : {0xFF, 0x00, 0x00, 0x00, 0x41}) bytes.push_back(b);  // its length runs past the end
  fs::create_directories(ToOsString(ProfileFolder()));
  std::ofstream(ToOsString(ProfilePath(u"Damaged")), std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  const Result result = Cli({"--profile", "Damaged", "--list"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, Lib("A/one.flac") + "\n");
  EXPECT_NE(result.err.find(ToOsString(ProfilePath(u"Damaged")) + " is damaged from byte " + std::to_string(damage)),
            std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("not an absolute path: 'relative/path'"), std::string::npos) << result.err;
}

TEST_F(CliRunTest, ConvertWithoutAConverterFailsWithTheReason) {
  Put("tone.flac", "A/one.flac");
  const std::string program = InstallCopy(false);
  const Result result = Cli({"--folder", Lib("A"), "--convert"}, program);
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.err.find("no converter is installed beside the program"), std::string::npos) << result.err;

  // A converter that is there but cannot be started (not executable).
  std::ofstream(fs::path(program).parent_path() / "kovantrix") << "not a program";
  const Result notStarted = Cli({"--folder", Lib("A"), "--convert"}, program);
  EXPECT_EQ(notStarted.code, 3);
  EXPECT_NE(notStarted.err.find("the converter could not be started"), std::string::npos) << notStarted.err;
}

// Deeper than PATH_MAX: no program can open it, so the run names it on stderr
// instead of leaving it out without a word (for --list and --convert alike).
TEST_F(CliRunTest, PathsTooLongForTheSystemAreNamed) {
  const std::string kept = Put("tone.flac", "deep/one.flac");
  int fd = open(Lib("deep").c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_GE(fd, 0);
  const std::string part(200, 'd');
  for (int i = 0; i < 22; ++i) {
    ASSERT_EQ(mkdirat(fd, part.c_str(), 0700), 0);
    const int next = openat(fd, part.c_str(), O_RDONLY | O_DIRECTORY);
    close(fd);
    ASSERT_GE(next, 0);
    fd = next;
  }
  close(fd);
  const Result listed = Cli({"--folder", Lib("deep"), "--list"});
  EXPECT_EQ(listed.code, 0) << listed.err;
  EXPECT_EQ(listed.out, kept + "\n");
  EXPECT_NE(listed.err.find("left out, the path is too long for the system: " + Lib("deep/") + part + "/"),
            std::string::npos)
      << listed.err.substr(0, 300);

  const Result converted = Cli({"--folder", Lib("deep"), "--convert"}, InstallCopy(false));
  EXPECT_NE(converted.err.find("left out, the path is too long for the system"), std::string::npos)
      << converted.err.substr(0, 300);
}

// Every failure exits with its code and says on stderr what went wrong. "LIB"
// stands for an empty library folder.
TEST_F(CliRunTest, ExitCodesSayWhatWentWrong) {
  fs::create_directories(Lib("empty"));
  fs::create_directories(ToOsString(ProfilePath(u"Broken")));  // a folder where the file should be
  const struct {
    std::vector<std::string> args;
    int code;
    const char* err;
  } cases[] = {
      {{"--folder", "LIB", "--list"}, 1, "No audio files selected for conversion"},
      {{"--folder", "/no/such/folder", "--list"}, 2, "no such folder"},
      {{"--folder", TESSAROVEN_CLI_PATH, "--list"}, 2, "no such folder"},
      {{"--exclude-type", ".xyz", "--list"}, 2, "no decoder reads .xyz"},
      {{"--lst"}, 2, "unknown option"},
      {{"--profile", "Nothing Like It", "--list"}, 2, "no profile named"},
      {{"--folder", "LIB", "--profile", "Broken", "--list"}, 2, "--profile Broken: cannot read"},
      {{"--folder", "LIB", "--list", "--columns", "Name,Bogus"},
       2,
       "--columns: no column is named 'Bogus'; the columns are: Name, Size, Type, Date Modified"},
      {{"--folder", "LIB", "--exclude-folder", "LIB", "--list"},
       2,
       "that is the ticked folder itself, not a folder inside it; nothing changed"},
      {{"--exclude-folder", "LIB", "--list"}, 2, "not inside a folder ticked with its sub-folders; nothing changed"},
      {{}, 2, "Usage: tessaroven-cli"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.err);
    std::vector<std::string> args = c.args;
    for (std::string& arg : args) {
      if (arg == "LIB") arg = Lib("empty");
    }
    const Result result = Cli(args);
    EXPECT_EQ(result.code, c.code);
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
  }
}

}  // namespace
}  // namespace tessaroven::cli
