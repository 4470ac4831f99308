#include "filters/metadata_filter.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "decode/fake_plugins.h"
#include "base/text.h"
#include "filters/value_key.h"

namespace tessaroven {
namespace {

TagList Tags(std::initializer_list<std::pair<std::u16string, std::u16string>> pairs) {
  TagList tags;
  for (const auto& [name, value] : pairs) tags.push_back(Tag{name, value, {}});
  return tags;
}

TEST(SlotValueTest, FormsTheSlotsValue) {
  struct Case {
    std::u16string field;
    TagList tags;
    std::u16string value;
  };
  for (const Case& c : {
           Case{u"Genre", Tags({{u"Artist", u"X"}}), u"[no Genre]"},
           Case{u"Album", Tags({{u"Album", u"Hits"}, {u"Album Artist", u"Y"}, {u"Artist", u"X"}}), u"Y - Hits"},
           Case{u"ALBUM", Tags({{u"album", u"Hits"}, {u"Artist", u"X"}}), u"X - Hits"},
           Case{u"Album", Tags({{u"Album", u"Hits"}, {u"Artist", u"X"}, {u"Compilation", u"  +2 discs"}}), u"Hits"},
           Case{u"Album", Tags({{u"Album", u"Hits"}, {u"Album Artist", u"Y"}, {u"Compilation", u"1"}}), u"Y - Hits"},
           Case{u"Album Artist", Tags({{u"Album Artist", u"Y"}, {u"Artist", u"X"}}), u"Y"}}) {
    EXPECT_EQ(SlotValueFor(c.field, c.tags), c.value) << Utf16ToUtf8(c.value);
  }
}

// --- The marked set and its profile bytes ---

TEST(MarkedSetTest, LoadsSortedUniqueNonZeroKeysAndWritesThemAscendingLittleEndian) {
  clFiltered marked;
  marked.Add(7);  // replaced, not merged
  marked.FromBytes(std::vector<std::uint8_t>{3, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 9, 9});
  EXPECT_EQ(marked.Keys(), (std::vector<std::uint32_t>{1, 3, 0xFFFFFFFFu}));

  clFiltered written;
  EXPECT_TRUE(written.Add(0x01020304));
  EXPECT_TRUE(written.Add(0x00000010));
  EXPECT_FALSE(written.Add(0x00000010));
  EXPECT_FALSE(written.Add(0));
  const std::vector<std::uint8_t> bytes = written.ToBytes();
  EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0x10, 0, 0, 0, 0x04, 0x03, 0x02, 0x01}));
  clFiltered back;
  back.FromBytes(bytes);
  EXPECT_EQ(back, written);
  EXPECT_TRUE(back.Remove(0x10));
  EXPECT_FALSE(back.Remove(0x10));
  EXPECT_FALSE(back.Contains(0x10));
}

// --- Reading files through the fake plug-ins ---
//
// alpha (.fka): first tag block Plugin=alpha, Artist="Alpha Artist", Track, Rating;
//               the second block has an Album, which the filter must not see.
// beta (.fkb):  Plugin=beta, nothing else.
// open_fail (.fko): Open fails. No plug-in at all declares .xyz.

struct FakeCase {
  const char* name;
  int slot;
  std::u16string markedValue;
  bool excludeAll;
  bool alpha, beta, openFails, unknown;  // excluded?
};

class MetadataFakePluginTest : public test::PluginFolderFixture, public testing::WithParamInterface<FakeCase> {};

TEST_P(MetadataFakePluginTest, OneReadDecidesForEveryFile) {
  InstallAll({u"alpha", u"beta", u"open_fail"});
  const auto& c = GetParam();
  MetadataFilter filter({u"Artist", u"Album", u"Plugin", u"", u"", u"", u"", u""});
  if (!c.markedValue.empty()) filter.Slot(c.slot).Marked().Add(ValueKey(c.markedValue));
  filter.Slot(c.slot).SetExcludeAll(c.excludeAll);

  clQzDecoder decoder;  // one shared decoder for every file, as the window keeps it
  EXPECT_EQ(filter.IsMetadataExcluded(Folder() + u"a.fka", decoder), c.alpha);
  EXPECT_EQ(filter.IsMetadataExcluded(Folder() + u"b.fkb", decoder), c.beta);
  EXPECT_EQ(filter.IsMetadataExcluded(Folder() + u"c.fko", decoder), c.openFails);
  EXPECT_EQ(filter.IsMetadataExcluded(Folder() + u"d.xyz", decoder), c.unknown);
  EXPECT_EQ(decoder.Instance(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Marks, MetadataFakePluginTest,
                         testing::Values(FakeCase{"ArtistMarked", 0, u"alpha artist", false, true, false, false, false},
                                         FakeCase{"NoArtistMarked", 0, u"[no Artist]", false, false, true, false,
                                                  false},
                                         // Only the first tag block counts, and "[no Album]" is not widened.
                                         FakeCase{"NoAlbumMarked", 1, u"[no Album]", false, true, true, false, false},
                                         FakeCase{"ExcludeAllButBeta", 2, u"beta", true, true, false, false, false}),
                         [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace tessaroven
