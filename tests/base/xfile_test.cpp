#include "base/xfile.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

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

std::string ReadAll(XFile& file, std::uint32_t count) {
  std::string buffer(count, '\0');
  buffer.resize(file.Read(buffer.data(), count));
  return buffer;
}

bool WriteText(XFile& file, std::string_view text) {
  return file.Write(text.data(), static_cast<std::uint32_t>(text.size()));
}

// Every prompt shown has this text, caption and style (Retry/Cancel unless told).
void ExpectPrompts(const ScriptedPrompts& prompts, std::size_t count, const std::u16string& text,
                   std::u16string_view caption, std::uint32_t style = kRetryCancelInformation) {
  const auto shown = prompts.Shown();
  ASSERT_EQ(shown.size(), count);
  for (const auto& prompt : shown) {
    EXPECT_EQ(prompt.text, text);
    EXPECT_EQ(prompt.caption, caption);
    EXPECT_EQ(prompt.style, style);
  }
}

enum class Before { Nothing, File, Folder };

// What each disposition does to a missing file, a file and a folder, as Windows does.
TEST(XFile, DispositionsCreateTruncateOrRefuse) {
  struct {
    Before before;
    std::uint32_t access, disposition;
    bool opens;
    std::optional<std::string> contentAfter;  // nullopt: no file there
  } const cases[] = {
      {Before::Nothing, kReadWrite, CREATE_NEW, true, ""},
      {Before::File, kReadWrite, CREATE_NEW, false, "old content"},
      {Before::Nothing, kReadWrite, CREATE_ALWAYS, true, ""},
      {Before::File, GENERIC_WRITE, CREATE_ALWAYS, true, ""},
      {Before::File, GENERIC_READ, OPEN_EXISTING, true, "old content"},
      {Before::Nothing, kReadWrite, OPEN_EXISTING, false, std::nullopt},
      {Before::File, kReadWrite, OPEN_ALWAYS, true, "old content"},
      {Before::Nothing, kReadWrite, OPEN_ALWAYS, true, ""},
      {Before::File, kReadWrite, TRUNCATE_EXISTING, true, ""},
      {Before::Nothing, kReadWrite, TRUNCATE_EXISTING, false, std::nullopt},
      {Before::File, GENERIC_READ, TRUNCATE_EXISTING, false, "old content"},  // truncating needs write access
      {Before::File, kReadWrite, 9, false, "old content"},                    // no such disposition
      // A folder never opens as a file.
      {Before::Folder, GENERIC_READ, OPEN_EXISTING, false, std::nullopt},
      {Before::Folder, GENERIC_READ, OPEN_ALWAYS, false, std::nullopt},
      {Before::Folder, GENERIC_WRITE, OPEN_EXISTING, false, std::nullopt},
      {Before::Folder, kReadWrite, CREATE_ALWAYS, false, std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "before " << static_cast<int>(c.before) << ", access " << c.access
                                    << ", disposition " << c.disposition);
    TempDir dir;
    const std::u16string path = dir / u"file.bin";
    ASSERT_TRUE(c.before != Before::File || WriteBytes(path, "old content"));
    ASSERT_TRUE(c.before != Before::Folder || test::MakeFolder(path));
    XFile file(path);
    EXPECT_EQ(file.Open(c.access, c.disposition, false), c.opens);
    EXPECT_EQ(file.IsOpen(), c.opens);
    if (c.opens) {
      EXPECT_TRUE(file.OwnsHandle());
      EXPECT_EQ(file.Size(), c.contentAfter->size());
    }
    file.Close();
    if (c.before != Before::Folder) {
      EXPECT_EQ(test::FileExists(path), c.contentAfter.has_value());
    }
    EXPECT_EQ(ReadBytes(path), c.contentAfter.value_or(""));
  }
}

// Paths no file can have fail like a missing file, without creating anything, and
// leave a closed object that does nothing and asks nothing.
TEST(XFile, UnusablePathsLeaveAClosedObjectThatDoesNothing) {
  ScriptedPrompts prompts;
  std::u16string huge = test::TestRoot();  // over 32k characters, in components of legal length
  for (int i = 0; i < 140; ++i) huge += std::u16string(250, u'y') + kPathSeparator;
  for (const std::u16string& path : {std::u16string(), std::u16string(3, kPathSeparator), huge + u"f"}) {
    XFile file(path);
    EXPECT_FALSE(file.Open(kReadWrite, OPEN_ALWAYS, false)) << path.size();
    char buffer[4] = {'x', 'y', 'z', 'w'};
    EXPECT_EQ(file.Handle(), kInvalidFileHandle);
    EXPECT_EQ(file.Size(), 0u);
    EXPECT_FALSE(file.Seek(0, kSeekFromStart));
    EXPECT_EQ(file.Read(buffer, sizeof(buffer)), 0u);
    EXPECT_FALSE(file.Write(buffer, sizeof(buffer)));
    EXPECT_TRUE(file.Write(nullptr, 0));
    file.Close();
    file.Close();
  }
  EXPECT_TRUE(prompts.Shown().empty());
}

TEST(XFile, SeekMovesFromStartOrCurrentOnly) {
  struct {
    std::uint32_t readFirst;  // bytes read before the seek
    std::int64_t offset;
    int mode;
    bool succeeds;
    std::string readAfter;  // the next two bytes
  } const cases[] = {
      {6, 3, kSeekFromStart, true, "34"},
      {4, -3, kSeekFromCurrent, true, "12"},
      {2, 7, 1, true, "78"},  // 1 is FILE_CURRENT in Win32, but here only 2 is relative
      {2, -1, kSeekFromStart, false, "23"},
      {2, -5, kSeekFromCurrent, false, "23"},
      {0, 0x1'0000'0010LL, kSeekFromStart, true, ""},
  };
  TempDir dir;
  ASSERT_TRUE(WriteBytes(dir / u"digits.txt", "0123456789"));
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "after " << c.readFirst << ", seek " << c.offset << " mode " << c.mode);
    XFile file(dir / u"digits.txt");
    ASSERT_TRUE(file.Open(GENERIC_READ, OPEN_EXISTING, false));
    ASSERT_EQ(ReadAll(file, c.readFirst).size(), c.readFirst);
    EXPECT_EQ(file.Seek(c.offset, c.mode), c.succeeds);
    EXPECT_EQ(ReadAll(file, 2), c.readAfter);
  }
}

TEST(XFile, HandlesAreClosedOnlyByTheirOwner) {
  TempDir dir;
  const std::u16string path = dir / u"shared.bin";
  ASSERT_TRUE(WriteBytes(path, "abcdefgh"));
  ScriptedPrompts prompts;
  XFile owner(path);
  ASSERT_TRUE(owner.Open(GENERIC_READ, OPEN_EXISTING, true));
  {
    XFile borrower(path);
    borrower.Attach(owner.Handle(), false);
    EXPECT_FALSE(borrower.OwnsHandle());
    EXPECT_EQ(ReadAll(borrower, 2), "ab");
    borrower.Close();
    EXPECT_FALSE(borrower.IsOpen());
    borrower.Attach(owner.Handle(), false);
  }  // destroyed while attached: still not closed
  EXPECT_EQ(ReadAll(owner, 2), "cd");

  // Moving hands the handle over, to a new object or in place of an open one.
  XFile second(std::move(owner));
  EXPECT_FALSE(owner.IsOpen());  // NOLINT(bugprone-use-after-move): the moved-from state is defined
  EXPECT_EQ(ReadAll(second, 1), "e");
  XFile third(dir / u"other.bin");
  ASSERT_TRUE(third.Open(GENERIC_WRITE, CREATE_ALWAYS, false));
  third = std::move(second);
  EXPECT_EQ(third.Path(), path);
  // Reading past the end is no failure: a short count, and no prompt.
  EXPECT_EQ(ReadAll(third, 5), "fgh");
  EXPECT_TRUE(prompts.Shown().empty());
}

// Open, read and write failures ask until Cancel when interactive (each Retry
// really tries again) and fail at once when quiet; the file keeps its content. Any
// access that may change the file counts as a write.
TEST(XFile, FailuresPromptUntilCancelOnlyWhenInteractive) {
  TempDir dir;
  const std::u16string path = dir / u"file.bin";
  const std::u16string missing = dir / u"missing folder" + kPathSeparator + u"file.bin";
  ASSERT_TRUE(WriteBytes(path, "keep"));
  for (const std::uint32_t access : {GENERIC_READ, GENERIC_WRITE, kReadWrite}) {
    for (const bool interactive : {true, false}) {
      SCOPED_TRACE(testing::Message() << "access " << access << (interactive ? " interactive" : " quiet"));
      {
        ScriptedPrompts prompts({kAnswerRetry, kAnswerRetry});
        XFile file(missing);
        EXPECT_FALSE(file.Open(access, OPEN_EXISTING, interactive));
        EXPECT_FALSE(file.IsOpen());
        ExpectPrompts(prompts, interactive ? 3 : 0, u"Unable to open '" + missing + u"'",
                      access == GENERIC_READ ? std::u16string_view(u"File Read Error") : u"File Write Error");
      }
      ScriptedPrompts prompts({kAnswerRetry});
      XFile file(path);
      ASSERT_TRUE(file.Open(access, OPEN_EXISTING, interactive));
      if (access == GENERIC_READ) {
        EXPECT_FALSE(WriteText(file, "new"));
        ExpectPrompts(prompts, interactive ? 2 : 0, u"Unable to write to '" + path + u"'", u"File Write Error");
      } else if (access == GENERIC_WRITE) {
        EXPECT_EQ(ReadAll(file, 4), "");
        ExpectPrompts(prompts, interactive ? 2 : 0, u"Unable to read from '" + path + u"'", u"File Read Error");
      }
    }
  }
  EXPECT_EQ(ReadBytes(path), "keep");
}

TEST(XFile, NullBufferWritesNothingAndSaysSoWhenInteractive) {
  TempDir dir;
  const std::u16string path = dir / u"target.bin";
  ASSERT_TRUE(WriteBytes(path, "unchanged"));
  for (const bool interactive : {true, false}) {
    for (const std::uint32_t count : {0u, 4u}) {
      SCOPED_TRACE(testing::Message() << count << (interactive ? " interactive" : " quiet"));
      ScriptedPrompts prompts;
      XFile file(path);
      ASSERT_TRUE(file.Open(kReadWrite, OPEN_EXISTING, interactive));
      EXPECT_EQ(file.Write(nullptr, count), count == 0);
      // An OK box: there is nothing to retry.
      ExpectPrompts(prompts, interactive && count != 0, u"Error writing a NULL buffer to file", u"File Write Error",
                    0x40);
      EXPECT_EQ(ReadAll(file, 3), "unc") << "the position did not move";
    }
  }
  EXPECT_EQ(ReadBytes(path), "unchanged");
}

}  // namespace
}  // namespace tessaroven
