#include "cli/cli_output.h"

#include <gtest/gtest.h>

namespace tessaroven::cli {
namespace {

struct JsonCase {
  const char* name;
  std::u16string text;
  std::string json;
};

class JsonText : public ::testing::TestWithParam<JsonCase> {};

TEST_P(JsonText, IsOneValidStringLiteral) { EXPECT_EQ(JsonString(GetParam().text), GetParam().json); }

INSTANTIATE_TEST_SUITE_P(Cases, JsonText,
                         ::testing::Values(JsonCase{"Plain", u"Pink Floyd", "\"Pink Floyd\""},
                                           JsonCase{"QuotesAndBackslash", u"a \"b\" \\c", "\"a \\\"b\\\" \\\\c\""},
                                           JsonCase{"LineBreaks", u"a\r\nb\tc", "\"a\\r\\nb\\tc\""},
                                           JsonCase{"Control",
                                                    std::u16string(u"a\x01"
                                                                   u"b"),
                                                    "\"a\\u0001b\""},
                                           JsonCase{"Accents", u"Gr\u00FC\u00DFe",
                                                    "\"Gr\xC3\xBC\xC3\x9F"
                                                    "e\""},
                                           JsonCase{"PairedSurrogates", u"\U0001F3B5", "\"\xF0\x9F\x8E\xB5\""},
                                           // A byte of a name that is not UTF-8, in the program's escape.
                                           JsonCase{"EscapedByte", std::u16string(u"caf\xDCE9"), "\"caf\\udce9\""},
                                           JsonCase{"LoneHigh", std::u16string(u"x\xD800y"), "\"x\\ud800y\""}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(TabLine, KeepsOneFilePerLine) {
  EXPECT_EQ(TabLine({u"a.mp3", u"Artist One\rArtist Two", u"x\ty\nz"}), "a.mp3\tArtist One Artist Two\tx y z");
}

TEST(JsonLine, PairsNamesWithValuesInOrder) {
  EXPECT_EQ(JsonLine({u"Name", u"Size"}, {u"a.mp3", u"3 KB"}), "{\"Name\": \"a.mp3\", \"Size\": \"3 KB\"}");
}

}  // namespace
}  // namespace tessaroven::cli
