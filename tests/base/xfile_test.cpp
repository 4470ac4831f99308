#include "base/xfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "base/platform.h"
#include "base/text.h"
#include "support/scripted_prompts.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::ReadBytes;
using test::ScriptedPrompts;
using test::TempDir;
using test::WriteBytes;

constexpr std::uint32_t kReadWrite = GENERIC_READ | GENERIC_WRITE;
constexpr std::uint32_t kRetryCancelInformation = 0x45;
constexpr std::uint32_t kOkInformation = 0x40;

std::string ReadAll(XFile& file, std::uint32_t count) {
  std::string buffer(count, '\0');
  buffer.resize(file.Read(buffer.data(), count));
  return buffer;
}

bool WriteText(XFile& file, std::string_view text) {
  return file.Write(text.data(), static_cast<std::uint32_t>(text.size()));
}

std::u16string Quoted(std::u16string_view lead, const std::u16string& path) {
  return std::u16string(lead) + path + u"'";
}

// ---------------------------------------------------------------------------
// Creation dispositions

struct DispositionCase {
  const char* name;
  std::uint32_t access;
  std::uint32_t disposition;
  bool existsBefore;
  bool opens;
  std::optional<std::string> contentAfter;  // nullopt: the file must not exist
};

class XFileDisposition : public testing::TestWithParam<DispositionCase> {};

TEST_P(XFileDisposition, CreatesTruncatesOrRefusesAsWindowsDoes) {
  const auto& c = GetParam();
  TempDir dir;
  const std::u16string path = dir / u"file.bin";
  if (c.existsBefore) {
    ASSERT_TRUE(WriteBytes(path, "old content"));
  }

  XFile file(path);
  EXPECT_EQ(file.Open(c.access, c.disposition, false), c.opens);
  EXPECT_EQ(file.IsOpen(), c.opens);
  if (c.opens) {
    EXPECT_TRUE(file.OwnsHandle());
    EXPECT_EQ(file.Size(), c.contentAfter->size());
  }
  file.Close();

  EXPECT_EQ(test::FileExists(path), c.contentAfter.has_value());
  if (c.contentAfter) {
    EXPECT_EQ(ReadBytes(path), *c.contentAfter);
  }
}

INSTANTIATE_TEST_SUITE_P(
    XFile, XFileDisposition,
    testing::Values(
        DispositionCase{"CreateNewMakesMissingFile", kReadWrite, CREATE_NEW, false, true, ""},
        DispositionCase{"CreateNewRefusesExistingFile", kReadWrite, CREATE_NEW, true, false, "old content"},
        DispositionCase{"CreateAlwaysMakesMissingFile", kReadWrite, CREATE_ALWAYS, false, true, ""},
        DispositionCase{"CreateAlwaysTruncates", GENERIC_WRITE, CREATE_ALWAYS, true, true, ""},
        DispositionCase{"OpenExistingKeepsContent", GENERIC_READ, OPEN_EXISTING, true, true, "old content"},
        DispositionCase{"OpenExistingFailsOnMissingFile", kReadWrite, OPEN_EXISTING, false, false, std::nullopt},
        DispositionCase{"OpenAlwaysKeepsContent", kReadWrite, OPEN_ALWAYS, true, true, "old content"},
        DispositionCase{"OpenAlwaysMakesMissingFile", kReadWrite, OPEN_ALWAYS, false, true, ""},
        DispositionCase{"TruncateExistingEmptiesFile", kReadWrite, TRUNCATE_EXISTING, true, true, ""},
        DispositionCase{"TruncateExistingFailsOnMissingFile", kReadWrite, TRUNCATE_EXISTING, false, false,
                        std::nullopt},
        DispositionCase{"TruncateNeedsWriteAccess", GENERIC_READ, TRUNCATE_EXISTING, true, false, "old content"},
        DispositionCase{"UnknownDispositionFails", kReadWrite, 9, true, false, "old content"}),
    [](const auto& p) { return std::string(p.param.name); });

// ---------------------------------------------------------------------------
// Reading and writing

TEST(XFile, WrittenBytesReadBackUnchanged) {
  TempDir dir;
  const std::u16string path = dir / u"data.bin";
  // Every byte value, CR/LF pairs and NULs included: the file is binary, never text.
  std::string bytes;
  for (int round = 0; round < 3; ++round)
    for (int b = 0; b < 256; ++b) bytes.push_back(static_cast<char>(b));
  bytes += "\r\n\n\r";

  XFile writer(path);
  ASSERT_TRUE(writer.Open(GENERIC_WRITE, CREATE_ALWAYS, false));
  EXPECT_TRUE(WriteText(writer, bytes.substr(0, 100)));
  EXPECT_TRUE(WriteText(writer, bytes.substr(100)));
  EXPECT_EQ(writer.Size(), bytes.size());
  writer.Close();
  EXPECT_EQ(ReadBytes(path), bytes);

  XFile reader(path);
  ASSERT_TRUE(reader.Open(GENERIC_READ, OPEN_EXISTING, false));
  EXPECT_EQ(reader.Size(), bytes.size());
  EXPECT_EQ(ReadAll(reader, static_cast<std::uint32_t>(bytes.size())), bytes);
}

TEST(XFile, LargeTransferGoesThroughInOneCall) {
  TempDir dir;
  const std::u16string path = dir / u"large.bin";
  std::string bytes(5 * 1024 * 1024 + 7, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>((i * 131) >> 3);

  XFile file(path);
  ASSERT_TRUE(file.Open(kReadWrite, CREATE_ALWAYS, false));
  ASSERT_TRUE(WriteText(file, bytes));
  ASSERT_TRUE(file.Seek(0, kSeekFromStart));
  EXPECT_TRUE(ReadAll(file, static_cast<std::uint32_t>(bytes.size())) == bytes);
}

TEST(XFile, NonAsciiFileNamesWork) {
  TempDir dir;
  const std::u16string name = u"Caf\u00E9 \u65E5\u672C \U0001F3B5.bin";
  XFile file(dir / name);
  ASSERT_TRUE(file.Open(GENERIC_WRITE, CREATE_NEW, false));
  EXPECT_TRUE(WriteText(file, "tune"));
  file.Close();
  EXPECT_EQ(test::ListFolder(dir.Path()), std::vector<std::u16string>{name});
  EXPECT_EQ(ReadBytes(dir / name), "tune");
}

TEST(XFile, ReadingPastTheEndReturnsShortCountWithoutPrompt) {
  TempDir dir;
  const std::u16string path = dir / u"short.bin";
  ASSERT_TRUE(WriteBytes(path, "abcde"));
  ScriptedPrompts prompts;

  XFile file(path);
  ASSERT_TRUE(file.Open(GENERIC_READ, OPEN_EXISTING, true));
  EXPECT_EQ(ReadAll(file, 2), "ab");
  EXPECT_EQ(ReadAll(file, 10), "cde");
  EXPECT_EQ(ReadAll(file, 10), "");
  EXPECT_TRUE(prompts.Shown().empty());
}

TEST(XFile, ClosedObjectDoesNothing) {
  ScriptedPrompts prompts;
  XFile file(u"never opened");
  char buffer[4] = {'x', 'y', 'z', 'w'};
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.Handle(), kInvalidFileHandle);
  EXPECT_EQ(file.Size(), 0u);
  EXPECT_FALSE(file.Seek(0, kSeekFromStart));
  EXPECT_EQ(file.Read(buffer, sizeof(buffer)), 0u);
  EXPECT_FALSE(file.Write(buffer, sizeof(buffer)));
  EXPECT_TRUE(file.Write(nullptr, 0));
  file.Close();
  file.Close();
  EXPECT_TRUE(prompts.Shown().empty());
}

// Paths no file can have: each fails like a missing file, without a crash and
// without creating anything, even with a disposition that would create.
struct UnusablePathCase {
  const char* name;
  std::u16string path;
};

class XFileUnusablePath : public testing::TestWithParam<UnusablePathCase> {};

TEST_P(XFileUnusablePath, NeverOpens) {
  XFile file(GetParam().path);
  EXPECT_FALSE(file.Open(kReadWrite, OPEN_ALWAYS, false));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.Size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    XFile, XFileUnusablePath,
    testing::Values(UnusablePathCase{"Empty", u""},
                    UnusablePathCase{"SeparatorOnly", std::u16string(3, kPathSeparator)},
                    // Over 32k characters, in components of legal length.
                    UnusablePathCase{"Huge",
                                     [] {
                                       std::u16string path = test::TestRoot();
                                       for (int i = 0; i < 140; ++i) path += std::u16string(250, u'y') + kPathSeparator;
                                       return path + u"f";
                                     }()}),
    [](const auto& p) { return std::string(p.param.name); });

// ---------------------------------------------------------------------------
// Positioning

struct SeekCase {
  const char* name;
  std::uint32_t readFirst;  // bytes read before the seek
  std::int64_t offset;
  int mode;
  bool succeeds;
  std::string readAfter;  // the next two bytes
};

class XFileSeek : public testing::TestWithParam<SeekCase> {};

TEST_P(XFileSeek, MovesFromStartOrCurrentOnly) {
  const auto& c = GetParam();
  TempDir dir;
  const std::u16string path = dir / u"digits.txt";
  ASSERT_TRUE(WriteBytes(path, "0123456789"));
  XFile file(path);
  ASSERT_TRUE(file.Open(GENERIC_READ, OPEN_EXISTING, false));
  ASSERT_EQ(ReadAll(file, c.readFirst).size(), c.readFirst);

  EXPECT_EQ(file.Seek(c.offset, c.mode), c.succeeds);
  EXPECT_EQ(ReadAll(file, 2), c.readAfter);
}

INSTANTIATE_TEST_SUITE_P(XFile, XFileSeek,
                         testing::Values(SeekCase{"FromStart", 6, 3, kSeekFromStart, true, "34"},
                                         SeekCase{"ModeTwoIsRelative", 2, 3, kSeekFromCurrent, true, "56"},
                                         SeekCase{"RelativeBackwards", 4, -3, kSeekFromCurrent, true, "12"},
                                         // 1 is FILE_CURRENT in Win32, but here only 2 is relative.
                                         SeekCase{"ModeOneIsFromStart", 2, 7, 1, true, "78"},
                                         SeekCase{"UnknownModeIsFromStart", 5, 1, 99, true, "12"},
                                         SeekCase{"BeforeStartFailsAndStays", 2, -1, kSeekFromStart, false, "23"},
                                         SeekCase{"RelativeBeforeStartFails", 2, -5, kSeekFromCurrent, false, "23"},
                                         SeekCase{"PastEndIsAllowed", 0, 20, kSeekFromStart, true, ""},
                                         SeekCase{"LargeOffsetPastEnd", 0, 0x1'0000'0010LL, kSeekFromStart, true, ""}),
                         [](const auto& p) { return std::string(p.param.name); });

// ---------------------------------------------------------------------------
// Handles

TEST(XFile, AttachedHandleIsNotClosedWithoutOwnership) {
  TempDir dir;
  const std::u16string path = dir / u"shared.bin";
  ASSERT_TRUE(WriteBytes(path, "abcdef"));
  XFile owner(path);
  ASSERT_TRUE(owner.Open(GENERIC_READ, OPEN_EXISTING, false));
  {
    XFile borrower(path);
    borrower.Attach(owner.Handle(), false);
    EXPECT_TRUE(borrower.IsOpen());
    EXPECT_FALSE(borrower.OwnsHandle());
    EXPECT_EQ(ReadAll(borrower, 2), "ab");
    borrower.Close();
    EXPECT_FALSE(borrower.IsOpen());
    borrower.Attach(owner.Handle(), false);
  }  // destroyed while attached: still not closed
  EXPECT_EQ(ReadAll(owner, 2), "cd");
  EXPECT_EQ(owner.Size(), 6u);
}

TEST(XFile, MoveHandsOverTheHandle) {
  TempDir dir;
  const std::u16string path = dir / u"moved.bin";
  ASSERT_TRUE(WriteBytes(path, "xyz"));
  XFile first(path);
  ASSERT_TRUE(first.Open(GENERIC_READ, OPEN_EXISTING, false));
  XFile second(std::move(first));
  EXPECT_FALSE(first.IsOpen());  // NOLINT(bugprone-use-after-move): the moved-from state is defined
  EXPECT_EQ(ReadAll(second, 1), "x");

  XFile third(dir / u"other.bin");
  ASSERT_TRUE(third.Open(GENERIC_WRITE, CREATE_ALWAYS, false));
  third = std::move(second);
  EXPECT_EQ(third.Path(), path);
  EXPECT_EQ(ReadAll(third, 5), "yz");
}

// ---------------------------------------------------------------------------
// Failures and their prompts

struct OpenFailureCase {
  const char* name;
  std::uint32_t access;
  std::u16string_view caption;
};

class XFileOpenFailure : public testing::TestWithParam<OpenFailureCase> {};

TEST_P(XFileOpenFailure, PromptsUntilCancelWhenInteractive) {
  const auto& c = GetParam();
  TempDir dir;
  const std::u16string path = dir / u"missing folder" + kPathSeparator + u"file.bin";
  ScriptedPrompts prompts({kAnswerRetry, kAnswerRetry, kAnswerCancel});

  XFile file(path);
  EXPECT_FALSE(file.Open(c.access, OPEN_EXISTING, true));
  EXPECT_FALSE(file.IsOpen());
  const auto shown = prompts.Shown();
  ASSERT_EQ(shown.size(), 3u);  // the first try and two retries
  for (const auto& prompt : shown) {
    EXPECT_EQ(prompt.text, u"Unable to open '" + path + u"'");
    EXPECT_EQ(prompt.caption, c.caption);
    EXPECT_EQ(prompt.style, kRetryCancelInformation);
  }
}

TEST_P(XFileOpenFailure, FailsSilentlyWhenNotInteractive) {
  const auto& c = GetParam();
  TempDir dir;
  ScriptedPrompts prompts({kAnswerRetry});
  XFile file(dir / u"missing.bin");
  EXPECT_FALSE(file.Open(c.access, OPEN_EXISTING, false));
  EXPECT_TRUE(prompts.Shown().empty());
}

INSTANTIATE_TEST_SUITE_P(XFile, XFileOpenFailure,
                         testing::Values(OpenFailureCase{"Read", GENERIC_READ, u"File Read Error"},
                                         OpenFailureCase{"Write", GENERIC_WRITE, u"File Write Error"},
                                         OpenFailureCase{"ReadWrite", kReadWrite, u"File Write Error"}),
                         [](const auto& p) { return std::string(p.param.name); });

// Creates the missing file while the retry prompt is up, as a user fixing the
// problem before pressing Retry would.
class FixOnPrompt : public ScriptedPrompts {
 public:
  FixOnPrompt(std::u16string path, std::deque<int> answers) : ScriptedPrompts(std::move(answers)), path_(path) {}
  int Show(std::u16string_view text, std::u16string_view caption, std::uint32_t style) override {
    WriteBytes(path_, "arrived");
    return ScriptedPrompts::Show(text, caption, style);
  }

 private:
  std::u16string path_;
};

TEST(XFile, RetryOpensAFileThatAppearedMeanwhile) {
  TempDir dir;
  const std::u16string path = dir / u"late.bin";
  FixOnPrompt prompts(path, {kAnswerRetry});
  XFile file(path);
  EXPECT_TRUE(file.Open(GENERIC_READ, OPEN_EXISTING, true));
  EXPECT_EQ(prompts.Shown().size(), 1u);
  EXPECT_EQ(ReadAll(file, 16), "arrived");
}

TEST(XFile, CancelLeavesTheFileClosedEvenIfItAppeared) {
  TempDir dir;
  const std::u16string path = dir / u"late.bin";
  FixOnPrompt prompts(path, {kAnswerCancel});
  XFile file(path);
  EXPECT_FALSE(file.Open(GENERIC_READ, OPEN_EXISTING, true));
  EXPECT_EQ(prompts.Shown().size(), 1u);
}

struct FolderOpenCase {
  const char* name;
  std::uint32_t access;
  std::uint32_t disposition;
};

class XFileFolder : public testing::TestWithParam<FolderOpenCase> {};

TEST_P(XFileFolder, AFolderNeverOpensAsAFile) {
  const auto& c = GetParam();
  TempDir dir;
  const std::u16string folder = dir / u"sub";
  ASSERT_TRUE(test::MakeFolder(folder));
  XFile file(folder);
  EXPECT_FALSE(file.Open(c.access, c.disposition, false));
  EXPECT_FALSE(file.IsOpen());
}

INSTANTIATE_TEST_SUITE_P(XFile, XFileFolder,
                         testing::Values(FolderOpenCase{"Read", GENERIC_READ, OPEN_EXISTING},
                                         FolderOpenCase{"ReadOpenAlways", GENERIC_READ, OPEN_ALWAYS},
                                         FolderOpenCase{"Write", GENERIC_WRITE, OPEN_EXISTING},
                                         FolderOpenCase{"ReadWriteCreateAlways", kReadWrite, CREATE_ALWAYS}),
                         [](const auto& p) { return std::string(p.param.name); });

// A transfer the handle does not allow: each Retry really tries again, Cancel ends it,
// and the file keeps its content.
struct TransferFailureCase {
  const char* name;
  std::uint32_t access;  // the handle's access: the opposite of the transfer
  std::u16string_view text;
  std::u16string_view caption;
};

class XFileTransferFailure : public testing::TestWithParam<TransferFailureCase> {};

TEST_P(XFileTransferFailure, PromptsAndRetriesUntilCancel) {
  const auto& c = GetParam();
  TempDir dir;
  const std::u16string path = dir / u"file.bin";
  ASSERT_TRUE(WriteBytes(path, "keep"));
  ScriptedPrompts prompts({kAnswerRetry, kAnswerCancel});
  XFile file(path);
  ASSERT_TRUE(file.Open(c.access, OPEN_EXISTING, true));

  if (c.access == GENERIC_READ) EXPECT_FALSE(WriteText(file, "new"));
  else EXPECT_EQ(ReadAll(file, 4), "");
  const auto shown = prompts.Shown();
  ASSERT_EQ(shown.size(), 2u);
  for (const auto& prompt : shown) {
    EXPECT_EQ(prompt.text, Quoted(c.text, path));
    EXPECT_EQ(prompt.caption, c.caption);
    EXPECT_EQ(prompt.style, kRetryCancelInformation);
  }
  file.Close();
  EXPECT_EQ(ReadBytes(path), "keep");
}

INSTANTIATE_TEST_SUITE_P(
    XFile, XFileTransferFailure,
    testing::Values(TransferFailureCase{"WriteThroughReadOnlyHandle", GENERIC_READ, u"Unable to write to '",
                                        u"File Write Error"},
                    TransferFailureCase{"ReadThroughWriteOnlyHandle", GENERIC_WRITE, u"Unable to read from '",
                                        u"File Read Error"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(XFile, FailedTransfersAreSilentWhenNotInteractive) {
  TempDir dir;
  const std::u16string path = dir / u"quiet.bin";
  ASSERT_TRUE(WriteBytes(path, "data"));
  ScriptedPrompts prompts({kAnswerRetry, kAnswerRetry});

  XFile reader(path);
  ASSERT_TRUE(reader.Open(GENERIC_READ, OPEN_EXISTING, false));
  EXPECT_FALSE(WriteText(reader, "x"));
  XFile writer(path);
  ASSERT_TRUE(writer.Open(GENERIC_WRITE, OPEN_EXISTING, false));
  EXPECT_EQ(ReadAll(writer, 4), "");
  EXPECT_TRUE(prompts.Shown().empty());
}

struct NullBufferCase {
  const char* name;
  bool interactive;
  std::uint32_t count;
  bool result;
  bool prompts;
};

class XFileNullBuffer : public testing::TestWithParam<NullBufferCase> {};

TEST_P(XFileNullBuffer, WritesNothing) {
  const auto& c = GetParam();
  TempDir dir;
  const std::u16string path = dir / u"target.bin";
  ASSERT_TRUE(WriteBytes(path, "unchanged"));
  ScriptedPrompts prompts;
  XFile file(path);
  ASSERT_TRUE(file.Open(kReadWrite, OPEN_EXISTING, c.interactive));

  EXPECT_EQ(file.Write(nullptr, c.count), c.result);
  const auto shown = prompts.Shown();
  if (c.prompts) {
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].text, u"Error writing a NULL buffer to file");
    EXPECT_EQ(shown[0].caption, u"File Write Error");
    EXPECT_EQ(shown[0].style, kOkInformation);
  } else {
    EXPECT_TRUE(shown.empty());
  }
  // The position did not move and the content is intact.
  EXPECT_EQ(ReadAll(file, 3), "unc");
  file.Close();
  EXPECT_EQ(ReadBytes(path), "unchanged");
}

INSTANTIATE_TEST_SUITE_P(XFile, XFileNullBuffer,
                         testing::Values(NullBufferCase{"ZeroCountInteractive", true, 0, true, false},
                                         NullBufferCase{"ZeroCountQuiet", false, 0, true, false},
                                         NullBufferCase{"BytesInteractive", true, 4, false, true},
                                         NullBufferCase{"BytesQuiet", false, 4, false, false}),
                         [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace tessaroven
