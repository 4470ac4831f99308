#include "filters/filter_fields.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "base/platform.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

std::string Le(std::u16string_view text) {
  std::string bytes;
  for (const char16_t c : text) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>(c >> 8));
  }
  return bytes;
}

const std::string kBom = "\xFF\xFE";
const std::string kDefaultBytes = Le(u"Artist\r\nAlbum\r\nComposer\r\nRating\r\nAlbum Artist\r\nGenre");
const FilterFieldNames kDefaultSlots = {u"Artist",       u"Album", u"Composer", u"Rating",
                                        u"Album Artist", u"Genre", u"",         u""};

std::filesystem::path Fs(const std::u16string& path) { return std::filesystem::path(ToOsString(path)); }

struct FieldFileCase {
  const char* name;
  std::optional<std::string> content;  // nullopt: no file
  FilterFieldNames fields;
  bool rewritten;  // whether the defaults replace the content
};

class FieldFileTest : public testing::TestWithParam<FieldFileCase> {
 protected:
  void SetUp() override {
    // The real file in the real application-data folder (the run's own on Linux; on
    // Windows the test prefix's, shared by the cases, so each case sets it up).
    path_ = FilterFieldsFilePath();
    std::error_code error;
    std::filesystem::remove(Fs(path_), error);
    std::filesystem::create_directories(Fs(path_).parent_path(), error);
  }
  void TearDown() override {
    std::error_code error;
    std::filesystem::remove(Fs(path_), error);
  }
  std::u16string path_;
};

TEST_P(FieldFileTest, ReadsEightSlotsAndWritesDefaultsOnlyWhenNoName) {
  const auto& c = GetParam();
  if (c.content) {
    ASSERT_TRUE(test::WriteBytes(path_, *c.content));
  }
  EXPECT_EQ(LoadFilterFields(), c.fields);
  EXPECT_EQ(test::ReadBytes(path_), c.rewritten ? kDefaultBytes : *c.content);
  EXPECT_FALSE(test::FileExists(path_ + u".new"));
}

const std::string kTenNames = Le(u"A\r\nB\r\nC\r\nD\r\nE\r\nF\r\nG\r\nH\r\nI\r\nJ");

INSTANTIATE_TEST_SUITE_P(
    Files, FieldFileTest,
    testing::Values(
        FieldFileCase{"MissingGetsDefaults", std::nullopt, kDefaultSlots, true},
        FieldFileCase{"EmptyGetsDefaults", "", kDefaultSlots, true},
        FieldFileCase{"OnlySeparatorsGetDefaults", Le(u"\r\n\r\n"), kDefaultSlots, true},
        FieldFileCase{"TenNamesKeepTheFirstEight", kTenNames, {u"A", u"B", u"C", u"D", u"E", u"F", u"G", u"H"}, false},
        FieldFileCase{"ThreeNamesLeaveFiveEmpty",
                      Le(u"Mood\r\nYear\r\nLabel"),
                      {u"Mood", u"Year", u"Label", u"", u"", u"", u"", u""},
                      false},
        FieldFileCase{"ByteOrderMarkIsSkipped",
                      kBom + Le(u"Genre\r\nArtist"),
                      {u"Genre", u"Artist", u"", u"", u"", u"", u"", u""},
                      false},
        FieldFileCase{"EmptyLineIsAnUnusedSlot",
                      Le(u"Artist\r\n\r\nGenre\r\n"),
                      {u"Artist", u"", u"Genre", u"", u"", u"", u"", u""},
                      false},
        FieldFileCase{"OddLastByteIsDropped", Le(u"Genre") + "G", {u"Genre", u"", u"", u"", u"", u"", u"", u""}, false},
        FieldFileCase{"ZeroCharacterEndsTheText",
                      Le(u"Genre") + std::string(2, '\0') + Le(u"\r\nJunk"),
                      {u"Genre", u"", u"", u"", u"", u"", u"", u""},
                      false},
        // Not text at all: lone surrogates and stray bytes still make a (useless) name
        // rather than a crash or a lost file.
        FieldFileCase{"GarbageBytesStayOneName",
                      std::string("\xFF\xD8\x00\xDC\x41\x00", 6),
                      {std::u16string{u'\xD8FF', u'\xDC00', u'A'}, u"", u"", u"", u"", u"", u"", u""},
                      false}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(FilterFieldsTest, LiveInTheApplicationDataFolder) {
  const std::u16string path = FilterFieldsFilePath();
  const std::u16string tail = std::u16string(u"Tessaroven") + kPathSeparator + u"BatchConverterFilters.txt";
  ASSERT_GT(path.size(), tail.size());
  EXPECT_EQ(path.substr(path.size() - tail.size()), tail);
  if constexpr (!kIsWindows) {
    EXPECT_EQ(ToOsString(path), std::string(std::getenv("XDG_DATA_HOME")) + "/Tessaroven/BatchConverterFilters.txt");
  }
}

TEST(FilterFieldsTest, MissingFoldersAreCreatedForTheDefaults) {
  test::TempDir dir;
  const std::u16string path = dir.Path() + u"deeper" + kPathSeparator + u"Tessaroven" + kPathSeparator + u"f.txt";
  EXPECT_EQ(LoadFilterFields(path), kDefaultSlots);
  EXPECT_EQ(test::ReadBytes(path), kDefaultBytes);
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
