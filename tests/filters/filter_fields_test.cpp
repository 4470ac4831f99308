#include "filters/filter_fields.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "base/platform.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

// Spelled out here rather than taken from the code under test.
std::string Le(std::u16string_view text) {
  std::string bytes;
  for (const char16_t c : text) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>(c >> 8));
  }
  return bytes;
}

const std::string kDefaultBytes = Le(u"Artist\r\nAlbum\r\nComposer\r\nRating\r\nAlbum Artist\r\nGenre");
const FilterFieldNames kDefaultSlots = {u"Artist",       u"Album", u"Composer", u"Rating",
                                        u"Album Artist", u"Genre", u"",         u""};

// The real file in the real application-data folder (the run's own on Linux; on
// Windows the test prefix's, so each row starts without it).
TEST(FilterFieldsTest, ReadsEightSlotsAndWritesDefaultsOnlyWhenNoName) {
  struct Case {
    const char* name;
    std::optional<std::string> content;  // nullopt: no file
    FilterFieldNames fields;
  };
  const Case cases[] = {
      {"MissingGetsDefaults", std::nullopt, kDefaultSlots},
      {"EmptyGetsDefaults", "", kDefaultSlots},
      {"OnlySeparatorsGetDefaults", Le(u"\r\n\r\n"), kDefaultSlots},
      {"TenNamesKeepTheFirstEight", Le(u"A\r\nB\r\nC\r\nD\r\nE\r\nF\r\nG\r\nH\r\nI\r\nJ"),
       {u"A", u"B", u"C", u"D", u"E", u"F", u"G", u"H"}},
      {"ByteOrderMarkAndEmptyLine", "\xFF\xFE" + Le(u"Genre\r\n\r\nArtist"),
       {u"Genre", u"", u"Artist", u"", u"", u"", u"", u""}},
      {"OddLastByteIsDropped", Le(u"Genre") + "G", {u"Genre", u"", u"", u"", u"", u"", u"", u""}},
      {"ZeroCharacterEndsTheText", Le(u"Genre") + std::string(2, '\0') + Le(u"\r\nJunk"),
       {u"Genre", u"", u"", u"", u"", u"", u"", u""}},
      // Not text at all: lone surrogates and stray bytes still make a (useless) name
      // rather than a crash or a lost file.
      {"GarbageBytesStayOneName", std::string("\xFF\xD8\x00\xDC\x41\x00", 6),
       {std::u16string{u'\xD8FF', u'\xDC00', u'A'}, u"", u"", u"", u"", u"", u"", u""}},
  };
  const std::u16string path = FilterFieldsFilePath();
  if constexpr (kIsWindows) {
    const std::u16string tail = u"\\Tessaroven\\BatchConverterFilters.txt";
    EXPECT_EQ(path.substr(path.size() - tail.size()), tail);
  } else {
    EXPECT_EQ(ToOsString(path), std::string(std::getenv("XDG_DATA_HOME")) + "/Tessaroven/BatchConverterFilters.txt");
  }
  const std::filesystem::path fsPath(ToOsString(path));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::error_code error;
    std::filesystem::remove(fsPath, error);
    std::filesystem::create_directories(fsPath.parent_path(), error);
    if (c.content) {
      ASSERT_TRUE(test::WriteBytes(path, *c.content));
    }
    EXPECT_EQ(LoadFilterFields(), c.fields);
    EXPECT_EQ(test::ReadBytes(path), c.fields == kDefaultSlots ? kDefaultBytes : *c.content);
    EXPECT_FALSE(test::FileExists(path + u".new"));
  }
  std::error_code error;
  std::filesystem::remove(fsPath, error);
}

TEST(FilterFieldsTest, SomethingThatCannotBeOpenedIsLeftAlone) {
  // A folder where the file should be: it exists but opens as no file. The defaults
  // apply, and nothing of the user's is replaced.
  test::TempDir dir;
  const std::u16string path = dir / u"BatchConverterFilters.txt";
  ASSERT_TRUE(test::MakeFolder(path));
  ASSERT_TRUE(test::WriteBytes(path + kPathSeparator + u"keep.txt", "mine"));
  EXPECT_EQ(LoadFilterFields(path), kDefaultSlots);
  EXPECT_EQ(test::ReadBytes(path + kPathSeparator + u"keep.txt"), "mine");
  EXPECT_FALSE(test::FileExists(path + u".new"));
}

}  // namespace
}  // namespace tessaroven
