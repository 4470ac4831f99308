// The metadata filter on real audio files (tests/data) through the real TagLib
// plug-in. The plug-ins exist only in the full Linux build.
#ifdef TESSAROVEN_PLUGIN_DIR

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "decode/plugin_folder.h"
#include "filters/metadata_filter.h"
#include "filters/value_key.h"

namespace tessaroven {
namespace {

std::u16string DataFile(const char* name) { return FromOsString(std::string(TESSAROVEN_TEST_DATA) + "/" + name); }

class MetadataRealFilesTest : public testing::Test {
 protected:
  void SetUp() override { SetPluginFolderOverride(FromOsString(std::string(TESSAROVEN_PLUGIN_DIR) + "/")); }
  void TearDown() override { SetPluginFolderOverride(std::nullopt); }
};

TEST_F(MetadataRealFilesTest, TaggedFilesShowTheirValuesAndTheWidenedAlbum) {
  MetadataFilter filter({u"Artist", u"Album", u"Genre", u"Composer", u"", u"", u"", u""});
  clQzDecoder decoder;
  for (const char* name : {"tone.flac", "tone.mp3", "tone.ogg", "tone.m4a"}) {
    SCOPED_TRACE(name);
    TagList tags;
    ASSERT_TRUE(ReadFilterTags(DataFile(name), decoder, tags));
    EXPECT_EQ(SlotValueFor(u"Album", tags), u"Fixture Album Artist - Fixture Album");
    EXPECT_EQ(SlotValueFor(u"Genre", tags), u"Ambient");
    EXPECT_FALSE(filter.IsMetadataExcluded(DataFile(name), decoder));
  }
  // One value per slot for all four files: they carry the same tags.
  EXPECT_EQ(filter.Slot(1).Catalogue().Count(), 1u);
  EXPECT_EQ(filter.Slot(3).Catalogue()[0].value, u"Fixture Composer");
}

TEST_F(MetadataRealFilesTest, MarkedAlbumExcludesTaggedFilesButNotUntaggedOnes) {
  MetadataFilter filter({u"", u"Album", u"", u"", u"", u"", u"", u""});
  filter.Slot(1).Marked().Add(ValueKey(u"fixture album artist - fixture album"));
  clQzDecoder decoder;
  EXPECT_TRUE(filter.IsMetadataExcluded(DataFile("tone.flac"), decoder));
  EXPECT_TRUE(filter.IsMetadataExcluded(DataFile("tone.wv"), decoder));
  // MP2 carries no tag at all: it shows as [no Album] and stays.
  EXPECT_FALSE(filter.IsMetadataExcluded(DataFile("tone.mp2"), decoder));
  EXPECT_EQ(filter.Slot(1).Catalogue()[1].value, u"[no Album]");
}

}  // namespace
}  // namespace tessaroven

#endif  // TESSAROVEN_PLUGIN_DIR
