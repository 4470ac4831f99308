// The real plug-ins as the selector uses them: found in the plug-in folder by
// extension, read with ReadFileInfo, and turned into the values the columns show.
#include <gtest/gtest.h>

#include "base/text.h"
#include "decode/file_info.h"
#include "decode/plugin_folder.h"
#include "real_plugin.h"

namespace tessaroven::test {
namespace {

struct ColumnCase {
  const char* file;
  const char16_t* sampleRate;
  const char16_t* sampleSize;  // empty: lossy, so none
  const char16_t* bitRate;
  const char16_t* track;
};

void PrintTo(const ColumnCase& c, std::ostream* os) { *os << c.file; }

class SelectorReadTest : public testing::TestWithParam<ColumnCase> {
 protected:
  void SetUp() override { SetPluginFolderOverride(FromOsString(std::string(TESSAROVEN_PLUGIN_DIR) + "/")); }
  void TearDown() override { SetPluginFolderOverride(std::nullopt); }
};

TEST_P(SelectorReadTest, ColumnsShowWhatThePluginRead) {
  const ColumnCase& c = GetParam();
  clQzDecoder decoder;
  FileInfo info;
  ASSERT_TRUE(ReadFileInfo(FromOsString(DataFolder() + c.file), decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), c.sampleRate);
  EXPECT_EQ(TagValue(info.tags, u"Sample Size"), c.sampleSize);
  EXPECT_EQ(TagValue(info.tags, u"Bit Rate"), c.bitRate);
  EXPECT_EQ(TagValue(info.tags, u"Track"), c.track);
  EXPECT_EQ(TagValue(info.tags, u"Channels"), u"2");
}

// The sample rate follows the user's decimal separator; the test's own settings file
// has none, so the locale of the test process ("C") gives a dot.
const ColumnCase kColumnCases[] = {
    {"tone.flac", u"44.1 kHz", u"16 bit", u"280 kbps", u"03"},  {"tone.mp3", u"44.1 kHz", u"", u"71 kbps", u"03"},
    {"tone.aiff", u"48.0 kHz", u"16 bit", u"1536 kbps", u"03"}, {"tone.dsf", u"DSD64", u"1 bit", u"5644 kbps", u"03"},
    {"tone.dff", u"DSD128", u"1 bit", u"11289 kbps", u""},      {"tone.mka", u"44.1 kHz", u"", u"240 kbps", u"03"},
};

INSTANTIATE_TEST_SUITE_P(Fixtures, SelectorReadTest, testing::ValuesIn(kColumnCases), [](const auto& p) {
  std::string name = p.param.file;
  for (auto& ch : name) ch = (ch == '.' || ch == '-') ? '_' : ch;
  return name;
});

}  // namespace
}  // namespace tessaroven::test
