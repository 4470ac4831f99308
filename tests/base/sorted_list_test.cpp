#include "base/sorted_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "base/text.h"

namespace tessaroven {
namespace {

TEST(SortedList, KeepsInsertionOrderAndASortedIndexOverRandomInput) {
  std::mt19937 random(7);
  STStringStorage list;
  std::vector<std::u16string> added;
  for (int i = 0; i < 2000; ++i) {
    std::u16string text;
    const int length = static_cast<int>(random() % 4);
    for (int k = 0; k < length; ++k) text.push_back(static_cast<char16_t>(u"aAbB_z.\u00E9"[random() % 8]));
    EXPECT_EQ(list.Add(text), added.size());
    added.push_back(text);
  }
  ASSERT_EQ(list.Count(), added.size());
  for (std::size_t i = 0; i < added.size(); ++i) EXPECT_EQ(list[i], added[i]);

  std::vector<std::u16string> expected = added;
  std::stable_sort(expected.begin(), expected.end(),
                   [](const auto& a, const auto& b) { return AsciiFoldCompare(a, b) < 0; });
  for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(list.Sorted(i), expected[i]) << i;
}

TEST(SortedList, FindsUnderTheFoldAndAddsOnlyWhatIsAbsent) {
  STStringStorage list;
  for (const auto* ext : {u".mp3", u".FLAC", u".ogg", u".wav"}) list.Add(ext);
  EXPECT_EQ(list.Find(std::u16string_view(u".flac")), 1u);
  EXPECT_EQ(list.Find(std::u16string_view(u".WAV")), 3u);
  // Absent: between entries, empty, below the first and above the last.
  for (const auto* absent : {u".opus", u"", u".a", u".zzz"})
    EXPECT_EQ(list.Find(std::u16string_view(absent)), STStringStorage::npos) << Utf16ToUtf8(absent);
  // Equal under the fold: the first spelling stays.
  EXPECT_EQ(list.AddUnique(u".Mp3"), std::make_pair(std::size_t{0}, false));
  EXPECT_EQ(list.AddUnique(u".opus"), std::make_pair(std::size_t{4}, true));
  EXPECT_EQ(list.Count(), 5u);
  EXPECT_EQ(list[0], u".mp3");
}

struct Value {
  std::uint32_t key;
  std::u16string text;
  std::uint32_t Key() const { return key; }
};

TEST(SortedList, UnnamedRecordsSortAndFindByTheirKey) {
  XBinarySortList<Value, XObjNoName> values;
  values.Add({0xFFFFFFFFu, u"last"});
  values.Add({7, u"seven"});
  values.Add({1, u"one"});
  EXPECT_EQ(values.Sorted(0).text, u"one");
  EXPECT_EQ(values.Sorted(2).text, u"last");
  EXPECT_EQ(values.Find(std::uint32_t{7}), 1u);
  EXPECT_EQ(values.Find(std::uint32_t{8}), (XBinarySortList<Value, XObjNoName>::npos));
}

TEST(SortedList, ReferencesStayValidWhileTheListGrows) {
  STStringStorage list;
  const std::u16string& first = list[list.Add(u"first")];
  for (int i = 0; i < 10000; ++i) list.Add(u"x");
  EXPECT_EQ(first, u"first");
}

}  // namespace
}  // namespace tessaroven
