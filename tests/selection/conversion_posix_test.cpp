// Linux names may hold what no Windows name can: quotes, backslashes, newlines and
// bytes that are not UTF-8. They still reach the converter byte for byte.
#include <gtest/gtest.h>

#include <filesystem>

#include "base/text.h"
#include "conversion_test_support.h"
#include "selection/conversion.h"
#include "support/fake_converter_record.h"
#include "support/scripted_prompts.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

struct OddNameCase {
  const char* name;
  std::string bytes;  // a folder name as the file system holds it
};

class OddNames : public testing::TestWithParam<OddNameCase> {};

TEST_P(OddNames, ListFileConverterAndProfileArriveByteForByte) {
  const std::u16string odd = FromOsString(GetParam().bytes);
  test::TempDir root;
  const std::u16string temp = root.Path() + odd + u"/";
  const std::u16string converter = root.Path() + u"bin " + odd + u"/" + std::u16string(kConverterFileName);
  const std::u16string music = root.Path() + u"music " + odd + u"/";
  ASSERT_TRUE(test::MakeFolder(temp));
  ASSERT_TRUE(test::MakeFolder(music));
  ASSERT_TRUE(test::WriteBytes(music + odd + u".flac", "x"));
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(ToOsString(converter)).parent_path(), error);
  ASSERT_TRUE(std::filesystem::copy_file(ToOsString(ConverterPath()), ToOsString(converter), error)) << error.message();

  test::TempDir record;
  test::ScopedEnv tempVariable("TMPDIR", ToOsString(temp).c_str());  // the bytes as they are, not UTF-8
  test::ScopedEnv recordVariable("TESSAROVEN_FAKE_CONVERTER_RECORD", record.Path());
  SetConverterPathOverride(converter);
  test::RecordingHost host;
  host.lists.lstFoldersNoSub = {music};
  host.profile = odd;
  test::ScriptedPrompts prompts;
  const ConversionResult result = Convert(host);
  SetConverterPathOverride(std::nullopt);

  ASSERT_EQ(result, ConversionResult::kConverterEnded);
  EXPECT_TRUE(prompts.Shown().empty());
  const std::vector<std::u16string> arguments = test::RecordedWords(test::ReadBytes(record / u"args"));
  ASSERT_GE(arguments.size(), 5u);
  EXPECT_EQ(ToOsString(arguments[0]), ToOsString(converter));
  const std::u16string listFile = arguments[1].substr(std::u16string_view(u"-list_to_conv=").size());
  EXPECT_EQ(ToOsString(listFile).substr(0, ToOsString(temp).size()), ToOsString(temp));
  EXPECT_EQ(ToOsString(arguments[4]), "-additionalprofile=" + GetParam().bytes);
  // The converter could open the list by the name it got, and read the path in it.
  EXPECT_EQ(test::ReadBytes(record / u"list"), test::ListFileBytes({music + odd + u".flac"}));
  EXPECT_FALSE(test::FileExists(listFile));
}

INSTANTIATE_TEST_SUITE_P(Conversion, OddNames,
                         // On Linux the words go to the converter as they are; only bytes that are not
                         // UTF-8 take another way through the program's strings.
                         testing::Values(OddNameCase{"NotUtf8", "Caf\xe9 \xff\xfe"},
                                         OddNameCase{"SpacesQuotesBackslashesNewlines",
                                                     "\t\"a\\\" b\n\xc3\x28 \\  end\\"}),
                         [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace tessaroven
