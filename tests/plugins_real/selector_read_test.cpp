// The real plug-ins as the selector uses them: found in the plug-in folder by
// extension, read with ReadFileInfo for the columns and with ReadFilterTags for the
// metadata filter.
#include <gtest/gtest.h>

#include "base/text.h"
#include "decode/file_info.h"
#include "decode/plugin_folder.h"
#include "filters/metadata_filter.h"
#include "real_plugin.h"

namespace tessaroven::test {
namespace {

// The build's real plug-ins in the plug-in folder for the length of a test.
class SelectorReadTest : public testing::Test {
 protected:
  void SetUp() override { SetPluginFolderOverride(FromOsString(std::string(TESSAROVEN_PLUGIN_DIR) + "/")); }
  void TearDown() override { SetPluginFolderOverride(std::nullopt); }
};

// The compilation flag in each kind of tag that carries one, and the album filter's
// widening by the artist that it turns off. tone.wav and tone.dsf have the same tags
// without the flag (and without an album artist), so their albums are widened; a file
// without tags shows as "[no Album]".
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
