#include "filters/type_filter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/text.h"

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

TEST(TypeFilterTest, AppliesExactSubstringsWithTheirSemicolon) {
  // excluded by record: .mp3 .MP3 .mp .ogg .wma .ogg
  for (const auto& [text, excluded] :
       {std::pair{u".mp3;", std::vector<bool>{true, false, false, false, false, false}},
        std::pair{u".mp3", std::vector<bool>{false, false, false, false, false, false}},
        std::pair{u".mp;", std::vector<bool>{false, false, true, false, false, false}},
        std::pair{u".wma;.ogg;", std::vector<bool>{false, false, false, true, true, true}}}) {
    TypeFilter filter = MakeFilter();
    filter.Records()[4].excluded = true;  // a previous state the text must replace
    filter.ApplyExcludedExtensionsText(text);
    EXPECT_EQ(Flags(filter), excluded) << Utf16ToUtf8(text);
  }
}

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

}  // namespace
}  // namespace tessaroven
