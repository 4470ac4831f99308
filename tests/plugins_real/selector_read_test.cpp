// The real plug-ins as the selector uses them: found in the plug-in folder by
// extension, read with ReadFileInfo and turned into the values the columns show, and
// read for the metadata filter.
#include <gtest/gtest.h>

#include "base/text.h"
#include "decode/file_info.h"
#include "decode/plugin_folder.h"
#include "filters/metadata_filter.h"
#include "filters/value_key.h"
#include "real_plugin.h"

namespace tessaroven::test {
namespace {

struct ColumnCase {
  const char* file;
  const char16_t* sampleRate;
  const char16_t* sampleSize;  // empty: lossy, so none
  const char16_t* bitRate;
  const char16_t* track;
  const char16_t* compression;
};

// The build's real plug-ins in the plug-in folder for the length of a test.
class SelectorReadTest : public testing::Test {
 protected:
  void SetUp() override { SetPluginFolderOverride(FromOsString(std::string(TESSAROVEN_PLUGIN_DIR) + "/")); }
  void TearDown() override { SetPluginFolderOverride(std::nullopt); }
};

void CheckColumns(const ColumnCase& c) {
  clQzDecoder decoder;
  FileInfo info;
  ASSERT_TRUE(ReadFileInfo(FromOsString(DataFolder() + c.file), decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), c.sampleRate);
  EXPECT_EQ(TagValue(info.tags, u"Sample Size"), c.sampleSize);
  EXPECT_EQ(TagValue(info.tags, u"Bit Rate"), c.bitRate);
  EXPECT_EQ(TagValue(info.tags, u"Track"), c.track);
  EXPECT_EQ(TagValue(info.tags, u"Channels"), u"2");
  EXPECT_EQ(TagValue(info.tags, u"Compression"), c.compression);
}

// The sample rate follows the user's decimal separator; the test's own settings file
// has none, so the locale of the test process ("C") gives a dot. DSD files have no PCM
// size to compare with (1-bit samples), so they count as not compressed.
// clang-format off
const ColumnCase kColumnCases[] = {
    // file        sample rate   size       bit rate        track  compression
    {"tone.flac",  u"44.1 kHz",  u"16 bit", u"280 kbps",   u"03", u"44%"},
    {"tone.mp3",   u"44.1 kHz",  u"",       u"71 kbps",    u"03", u"5%"},
    {"tone.aiff",  u"48.0 kHz",  u"16 bit", u"1536 kbps",  u"03", u"100%"},
    {"tone.dsf",   u"DSD64",     u"1 bit",  u"5644 kbps",  u"03", u"100%"},
    {"tone.dff",   u"DSD128",    u"1 bit",  u"11289 kbps", u"",   u"100%"},
    {"tone.mka",   u"44.1 kHz",  u"",       u"240 kbps",   u"03", u"17%"},
};
// clang-format on

TEST_F(SelectorReadTest, ColumnsShowWhatThePluginRead) {
  for (const ColumnCase& c : kColumnCases) {
    SCOPED_TRACE(c.file);
    CheckColumns(c);
  }
}

// The compilation flag in each kind of tag that carries one, and the album filter's
// widening by the artist that it turns off. tone.wav and tone.dsf have the same tags
// without the flag (and without an album artist), so their albums are widened; a file
// without tags shows as "[no Album]" and is excluded only when that is marked.
struct CompilationCase {
  const char* file;
  const char16_t* compilation;  // the column
  const char16_t* albumValue;   // what the filter's Album slot shows
};

void CheckCompilation(const CompilationCase& c) {
  const std::u16string path = FromOsString(DataFolder() + c.file);
  clQzDecoder decoder;
  FileInfo info;
  ASSERT_TRUE(ReadFileInfo(path, decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Compilation"), c.compilation);

  TagList tags;
  ASSERT_TRUE(ReadFilterTags(path, decoder, tags));
  EXPECT_EQ(SlotValueFor(u"Album", tags), c.albumValue);
  // Marking that value excludes the file; marking the other form does not.
  const std::u16string other =
      std::u16string_view(c.albumValue) == u"Fixture Album" ? u"Fixture Artist - Fixture Album" : u"Fixture Album";
  MetadataFilter filter({u"", u"Album", u"", u"", u"", u"", u"", u""});
  filter.Slot(1).Marked().Add(ValueKey(other));
  EXPECT_FALSE(filter.IsMetadataExcluded(path, decoder));
  filter.Slot(1).Marked().Add(ValueKey(c.albumValue));
  EXPECT_TRUE(filter.IsMetadataExcluded(path, decoder));
}

const CompilationCase kCompilationCases[] = {
    {"tone-compilation.mp3", u"Yes", u"Fixture Album"},   // ID3v2 TCMP
    {"tone-compilation.m4a", u"Yes", u"Fixture Album"},   // MP4 cpil
    {"tone-compilation.opus", u"Yes", u"Fixture Album"},  // Vorbis comment COMPILATION
    {"tone-compilation.wv", u"Yes", u"Fixture Album"},    // APE Compilation
    {"tone.wav", u"No", u"Fixture Artist - Fixture Album"}, {"tone.dsf", u"No", u"Fixture Artist - Fixture Album"},
    {"tone.mp2", u"No", u"[no Album]"},  // no tag at all
};

TEST_F(SelectorReadTest, CompilationFlagShowsAndKeepsTheAlbumFilterFromAddingTheArtist) {
  for (const CompilationCase& c : kCompilationCases) {
    SCOPED_TRACE(c.file);
    CheckCompilation(c);
  }
}

}  // namespace
}  // namespace tessaroven::test
