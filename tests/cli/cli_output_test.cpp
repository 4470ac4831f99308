#include "cli/cli_output.h"

#include <gtest/gtest.h>

namespace tessaroven::cli {
namespace {

TEST(CliOutput, JsonStringsAreValidLiteralsAndLinesKeepOneFileEach) {
  const std::pair<std::u16string, std::string> cases[] = {
      {u"Pink Floyd", "\"Pink Floyd\""},
      {u"a \"b\" \\c", "\"a \\\"b\\\" \\\\c\""},
      {u"a\r\nb\tc", "\"a\\r\\nb\\tc\""},
      {std::u16string(u"a\x01"
                      u"b"),
       "\"a\\u0001b\""},
      {u"Gr\u00FC\u00DFe",
       "\"Gr\xC3\xBC\xC3\x9F"
       "e\""},
      {u"\U0001F3B5", "\"\xF0\x9F\x8E\xB5\""},
      // A byte of a name that is not UTF-8, in the program's escape.
      {std::u16string(u"caf\xDCE9"), "\"caf\\udce9\""},
      {std::u16string(u"x\xD800y"), "\"x\\ud800y\""},
  };
  for (const auto& [text, json] : cases) EXPECT_EQ(JsonString(text), json) << json;
  EXPECT_EQ(TabLine({u"a.mp3", u"Artist One\rArtist Two", u"x\ty\nz"}), "a.mp3\tArtist One Artist Two\tx y z");
  EXPECT_EQ(JsonLine({u"Name", u"Size"}, {u"a.mp3", u"3 KB"}), "{\"Name\": \"a.mp3\", \"Size\": \"3 KB\"}");
}

}  // namespace
}  // namespace tessaroven::cli
