#include "filters/filter_state.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "base/text.h"
#include "filters/value_key.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

const FilterFieldNames kFields = {u"Artist", u"Album", u"Genre", u"", u"", u"", u"", u"Mood"};

void AddTypes(FilterState& state) {
  for (const char16_t* extension : {u".flac", u".mp3", u".ogg"}) {
    state.Types().Records().Add(DecoderTypeRecord{extension, u"Audio", false});
  }
}

TEST(FilterStateTest, FilterButtonIsActiveWhenAnyPartNarrows) {
  // excluded extensions, date filter text, a value marked, active
  for (const auto& [excluded, date, mark, active] :
       {std::tuple{u"", u"0,0", false, false}, std::tuple{u".mp3;", u"0,0", false, true},
        std::tuple{u"", u"3,1", false, true}, std::tuple{u"", u"0,0", true, true}}) {
    FilterState state(kFields);
    AddTypes(state);
    state.Types().ApplyExcludedExtensionsText(excluded);
    state.Date().SetDateFilterText(date);
    if (mark) state.Metadata().Slot(7).Marked().Add(ValueKey(u"calm"));
    EXPECT_EQ(state.AnyFilterActive(), active) << Utf16ToUtf8(excluded) << Utf16ToUtf8(date) << mark;
  }
}

TEST(FilterStateTest, ClearEmptiesSelectionsButKeepsWhatWasLearned) {
  FilterState state(kFields);
  AddTypes(state);
  state.Types().ApplyExcludedExtensionsText(u".ogg;");
  state.Date().Set(kDateModifiedOlder, 30);
  const TagList tags = {Tag{u"Genre", u"Rock", {}}};
  state.Metadata().Slot(2).Marked().Add(ValueKey(u"Rock"));
  state.Metadata().Slot(3).SetExcludeAll(true);
  EXPECT_TRUE(state.Metadata().IsExcludedByTags(&tags));
  EXPECT_FALSE(state.IsAcceptedFile(u"a.ogg"));

  state.Clear();
  EXPECT_FALSE(state.AnyFilterActive());
  EXPECT_TRUE(state.IsAcceptedFile(u"a.ogg"));
  EXPECT_EQ(state.Date().DateFilterText(), u"0,0");
  EXPECT_FALSE(state.Metadata().Slot(3).ExcludeAll());
  EXPECT_TRUE(state.Metadata().Slot(2).Marked().Empty());
  EXPECT_FALSE(state.Metadata().IsExcludedByTags(&tags));
  EXPECT_EQ(state.Metadata().Fields(), kFields);
  EXPECT_EQ(state.Metadata().Slot(2).Catalogue().Count(), 1u);
}

}  // namespace
}  // namespace tessaroven
