#include "filters/type_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "decode/fake_plugins.h"

namespace tessaroven {
namespace {

// Records as two plug-ins might declare them: both spellings of .mp3, a shorter
// extension that is a prefix of another, and a duplicate across libraries.
TypeFilter MakeFilter() {
  TypeFilter filter;
  for (const char16_t* extension : {u".mp3", u".MP3", u".mp", u".ogg", u".wma", u".ogg"}) {
    filter.Records().Add(DecoderTypeRecord{extension, u"Audio", false});
  }
  return filter;
}

std::vector<bool> Flags(const TypeFilter& filter) {
  std::vector<bool> flags;
  for (std::size_t i = 0; i < filter.Records().Count(); ++i) flags.push_back(filter.Records()[i].excluded);
  return flags;
}

struct ApplyCase {
  const char* name;
  std::u16string text;
  std::vector<bool> excluded;  // by record: .mp3 .MP3 .mp .ogg .wma .ogg
};

class ExcludedExtensionsText : public testing::TestWithParam<ApplyCase> {};

TEST_P(ExcludedExtensionsText, AppliesExactSubstringsWithTheirSemicolon) {
  const auto& c = GetParam();
  TypeFilter filter = MakeFilter();
  filter.Records()[4].excluded = true;  // a previous state the text must replace
  filter.ApplyExcludedExtensionsText(c.text);
  EXPECT_EQ(Flags(filter), c.excluded);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ExcludedExtensionsText,
    testing::Values(ApplyCase{"EmptyExcludesNothing", u"", {false, false, false, false, false, false}},
                    ApplyCase{"CaseSensitive", u".mp3;", {true, false, false, false, false, false}},
                    ApplyCase{"WithoutSemicolonNothing", u".mp3", {false, false, false, false, false, false}},
                    ApplyCase{"PrefixIsNotEnough", u".mp;", {false, false, true, false, false, false}},
                    ApplyCase{"DuplicatesTogether", u".wma;.ogg;", {false, false, false, true, true, true}}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(TypeFilterTest, TextListsExcludedRecordsInRecordOrderAndRoundTrips) {
  TypeFilter filter = MakeFilter();
  EXPECT_EQ(filter.ExcludedExtensionsText(), u"");
  filter.Records()[4].excluded = true;  // .wma
  filter.Records()[3].excluded = true;  // .ogg
  filter.Records()[1].excluded = true;  // .MP3
  EXPECT_EQ(filter.ExcludedExtensionsText(), u".MP3;.ogg;.wma;");

  TypeFilter loaded = MakeFilter();
  loaded.ApplyExcludedExtensionsText(filter.ExcludedExtensionsText());
  // The second .ogg record shares the first one's extension, so it follows it.
  EXPECT_EQ(Flags(loaded), (std::vector<bool>{false, true, false, true, true, true}));
}

struct AcceptCase {
  const char* name;
  std::u16string text;
  std::u16string path;
  bool accepted;
};

class AcceptedTypeTest : public testing::TestWithParam<AcceptCase> {};

TEST_P(AcceptedTypeTest, AnyAcceptedRecordOfTheExtensionAccepts) {
  const auto& c = GetParam();
  TypeFilter filter = MakeFilter();
  filter.ApplyExcludedExtensionsText(c.text);
  EXPECT_EQ(filter.IsAcceptedFile(c.path), c.accepted);
}

INSTANTIATE_TEST_SUITE_P(Files, AcceptedTypeTest,
                         testing::Values(AcceptCase{"ExtensionsFoldCase", u"", u"SONG.OGG", true},
                                         AcceptCase{"Unlisted", u"", u"song.flac", false},
                                         AcceptCase{"PrefixOfExtensionIsNotIt", u"", u"song.og", false},
                                         AcceptCase{"ExcludedEveryRecord", u".ogg;", u"song.Ogg", false},
                                         // The .MP3 record still accepts either spelling.
                                         AcceptCase{"OtherSpellingStillAccepts", u".mp3;", u"song.mp3", true},
                                         AcceptCase{"BothSpellingsExcluded", u".mp3;.MP3;", u"song.Mp3", false},
                                         AcceptCase{"DotInFolderIsNoExtension", u"", u"a.ogg/song", false}),
                         [](const auto& p) { return std::string(p.param.name); });

using TypeFilterBuildTest = test::PluginFolderFixture;

TEST_F(TypeFilterBuildTest, RecordsComeFromThePlugins) {
  InstallAll({u"alpha", u"open_fail"});
  TypeFilter filter;
  filter.Records().Add(DecoderTypeRecord{u".old", u"Gone", true});
  filter.Build();
  std::vector<std::u16string> extensions;
  for (std::size_t i = 0; i < filter.Records().Count(); ++i) {
    extensions.push_back(filter.Records()[i].extension);
    EXPECT_FALSE(filter.Records()[i].excluded);
  }
  std::sort(extensions.begin(), extensions.end());  // plug-ins come in directory order
  EXPECT_EQ(extensions, (std::vector<std::u16string>{u".fka", u".fko", u".fkw"}));
  EXPECT_TRUE(filter.IsAcceptedFile(u"x.FKW"));
  EXPECT_FALSE(filter.IsAcceptedFile(u"x.old"));
}

}  // namespace
}  // namespace tessaroven
