#include "base/reg_file.h"

#include <gtest/gtest.h>

#include "base/settings.h"
#include "base/text.h"

namespace tessaroven {
namespace {

constexpr std::u16string_view kKey = u"HKEY_CURRENT_USER\\Software\\T";

RegValue Sz(std::u16string_view text) { return RegValue{kRegSz, Utf16LeBytes(text, true)}; }
RegValue Dword(std::uint32_t v) {
  return RegValue{kRegDword,
                  {static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v >> 16),
                   static_cast<std::uint8_t>(v >> 24)}};
}

// What regedit writes: UTF-16LE after its byte-order mark.
std::string Utf16LeFile(std::u16string_view text) {
  const std::vector<std::uint8_t> bytes = Utf16LeBytes(text, false);
  return "\xFF\xFE" + std::string(bytes.begin(), bytes.end());
}

// ---- Reading: what a file says, value by value -------------------------------------

struct Expect {
  std::u16string key;
  std::u16string name;
  std::optional<RegValue> value;  // nullopt: must read as absent
};

struct ParseCase {
  const char* name;
  std::string file;
  std::vector<Expect> expect;
};

const std::u16string k(kKey);
constexpr char kHead[] = "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\T]\n";

TEST(RegFile, FindsWhatTheFileSays) {
  const ParseCase cases[] = {
      ParseCase{"DwordAnyCaseAndShortForms",
                std::string(kHead) + "\"a\"=dword:0000002a\n\"b\"=DWORD:FFFFFFFF\n\"c\"=dword:7\n",
                {{k, u"a", Dword(42)}, {k, u"b", Dword(0xFFFFFFFF)}, {k, u"c", Dword(7)}}},
      ParseCase{"DwordTooLongIsNotAValue", std::string(kHead) + "\"a\"=dword:123456789\n", {{k, u"a", std::nullopt}}},
      ParseCase{"ContinuationCutOffAtEndOfFile",
                std::string(kHead) + "\"ok\"=dword:1\n\"c\"=hex:01,02,\\\n",
                {{k, u"ok", Dword(1)}, {k, u"c", std::nullopt}}},
      ParseCase{"ContinuationBrokenByNextValue",
                std::string(kHead) + "\"c\"=hex:01,\\\n\"next\"=dword:2\n",
                {{k, u"c", std::nullopt}, {k, u"next", Dword(2)}}},
      ParseCase{"KeysAndNamesFoldAsciiCase",
                "Windows Registry Editor Version 5.00\n\n[hkey_current_user\\SOFTWARE\\t]\n\"Name\"=dword:3\n",
                {{k, u"NAME", Dword(3)}, {k, u"name", Dword(3)}}},
      ParseCase{"NonAsciiLettersDoNotFold",
                std::string(kHead) + "\"\xC3\x89t\xC3\xA9\"=dword:1\n",
                {{k, u"\u00C9t\u00E9", Dword(1)}, {k, u"\u00E9t\u00E9", std::nullopt}}},
      ParseCase{"LastOccurrenceWins",
                std::string(kHead) +
                    "\"a\"=dword:1\n\"b\"=dword:1\n\"a\"=dword:2\n\n[HKEY_CURRENT_USER\\Software\\Other]\n"
                    "\"b\"=dword:5\n\n[HKEY_CURRENT_USER\\Software\\T]\n\"b\"=dword:3\n",
                {{k, u"a", Dword(2)}, {k, u"b", Dword(3)}, {u"HKEY_CURRENT_USER\\Software\\Other", u"b", Dword(5)}}},
      ParseCase{"GarbageLinesAreIgnored",
                std::string(kHead) +
                    "this is not a value\n; a comment\n\"del\"=-\n\"open\"=\"no end\n\"esc\"=\"bad \\q\"\n"
                    "\"num\"=dword:xyz\n\"tail\"=\"x\" junk\n\"good\"=\"yes\"\n\x01\x02\xFF\n",
                {{k, u"del", std::nullopt},
                 {k, u"open", std::nullopt},
                 {k, u"esc", std::nullopt},
                 {k, u"num", std::nullopt},
                 {k, u"tail", std::nullopt},
                 {k, u"good", Sz(u"yes")}}},
      ParseCase{"TruncatedLastLine",
                std::string(kHead) + "\"a\"=dword:1\n\"b\"=\"unfinish",
                {{k, u"a", Dword(1)}, {k, u"b", std::nullopt}}},
      ParseCase{"TruncatedLastValueThatStillParses", std::string(kHead) + "\"a\"=dword:1", {{k, u"a", Dword(1)}}},
      ParseCase{"ValuesOutsideAnyKeyAreIgnored",
                "Windows Registry Editor Version 5.00\n\"loose\"=dword:1\n[HKEY_CURRENT_USER\\Software\\T]\n",
                {{k, u"loose", std::nullopt}}},
      ParseCase{"DeletedKeyAndDamagedHeaderOwnNoValues",
                std::string(kHead) + "\"a\"=dword:1\n[-HKEY_CURRENT_USER\\Software\\T]\n\"b\"=dword:2\n"
                                     "[HKEY_CURRENT_USER\\Software\\T\n\"c\"=dword:3\n",
                {{k, u"a", Dword(1)}, {k, u"b", std::nullopt}, {k, u"c", std::nullopt}}},
      ParseCase{"CrLfAndUtf8Bom",
                "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\T]\r\n"
                "\"s\"=\"v\"\r\n\"h\"=hex:01,\\\r\n  02\r\n",
                {{k, u"s", Sz(u"v")}, {k, u"h", RegValue{kRegBinary, {1, 2}}}}},
      ParseCase{"SpacesAroundEquals", std::string(kHead) + "  \"a\" = dword:1  \n", {{k, u"a", Dword(1)}}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto file = RegFile::Parse(c.file);
    ASSERT_TRUE(file.has_value());
    for (const auto& e : c.expect) {
      const RegValue* got = file->Find(e.key, e.name);
      if (e.value) {
        ASSERT_NE(got, nullptr) << Utf16ToUtf8(e.name);
        EXPECT_EQ(*got, *e.value) << Utf16ToUtf8(e.name);
      } else {
        EXPECT_EQ(got, nullptr) << Utf16ToUtf8(e.name);
      }
    }
  }
}

TEST(RegFile, ParentKeysExistThroughTheirChildren) {
  const auto file = RegFile::Parse(
      "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\A\\B]\n[HKEY_CURRENT_USER\\Software\\"
      "Gone]x\n");
  ASSERT_TRUE(file.has_value());
  EXPECT_TRUE(file->HasKey(u"HKEY_CURRENT_USER\\Software\\A\\B"));
  EXPECT_TRUE(file->HasKey(u"hkey_current_user\\software\\a"));
  EXPECT_TRUE(file->HasKey(u"HKEY_CURRENT_USER\\Software\\A\\"));
  EXPECT_FALSE(file->HasKey(u"HKEY_CURRENT_USER\\Software\\A\\B\\C"));
  EXPECT_FALSE(file->HasKey(u"HKEY_CURRENT_USER\\Software\\Gone"));
  EXPECT_FALSE(file->HasKey(u"HKEY_CURRENT_USER\\Software\\A\\Bx"));
}

// ---- Files that cannot be parsed at all ----------------------------------------------

TEST(RegFile, TellsARegistryFileFromAnythingElse) {
  const std::pair<std::string, bool> cases[] = {
      {"", true},
      {"\n \n\t\r\n", true},
      {"\n\nWindows Registry Editor Version 5.00\n", true},
      {"Windows Registry Editor Version 5.00 \r\n", true},
      {"REGEDIT4\n\n[HKEY_CURRENT_USER\\Software]\n", false},
      {"\xFE\xFF\0W\0i\0n", false},  // UTF-16 big-endian
      {"junk\nWindows Registry Editor Version 5.00\n", false},
  };
  for (const auto& [bytes, parses] : cases) EXPECT_EQ(RegFile::Parse(bytes).has_value(), parses) << bytes;
}

// ---- Writing values --------------------------------------------------------------------

struct FormatCase {
  const char* name;
  std::u16string valueName;
  RegValue value;
  std::u16string line;
};

std::vector<std::uint8_t> Counting(std::size_t n) {
  std::vector<std::uint8_t> bytes(n);
  for (std::size_t i = 0; i < n; ++i) bytes[i] = static_cast<std::uint8_t>(i);
  return bytes;
}

TEST(RegFile, WritesEachValueAsItsLineAndReadsBackTheSameBytes) {
  const FormatCase cases[] = {
      FormatCase{"EscapedQuotesAndBackslashes", u"a\"b\\", Sz(u"C:\\Music\\\"x\""),
                 u"\"a\\\"b\\\\\"=\"C:\\\\Music\\\\\\\"x\\\"\""},
      FormatCase{"EmptyText", u"e", Sz(u""), u"\"e\"=\"\""},
      FormatCase{"NonAscii", u"\u00C9", Sz(u"\u65E5\U0001F3B5"), u"\"\u00C9\"=\"\u65E5\U0001F3B5\""},
      FormatCase{"DefaultValue", u"", Sz(u"d"), u"@=\"d\""},
      FormatCase{"LineFeedAsHex", u"l", Sz(u"\n"), u"\"l\"=hex(1):0a,00,00,00"},
      FormatCase{"MissingTerminatorAsHex", u"t", RegValue{kRegSz, Utf16LeBytes(u"ab", false)},
                 u"\"t\"=hex(1):61,00,62,00"},
      FormatCase{"OddByteCountAsHex", u"o", RegValue{kRegSz, {0x61, 0, 0}}, u"\"o\"=hex(1):61,00,00"},
      FormatCase{"EmbeddedNulAsHex", u"n", RegValue{kRegSz, {0x61, 0, 0, 0, 0x62, 0, 0, 0}},
                 u"\"n\"=hex(1):61,00,00,00,62,00,00,00"},
      FormatCase{"LoneSurrogateAsHex", u"s", Sz(u"\xD800"), u"\"s\"=hex(1):00,d8,00,00"},
      FormatCase{"ZeroLengthSz", u"z", RegValue{kRegSz, {}}, u"\"z\"=hex(1):"},
      FormatCase{"Dword", u"d", Dword(0x2A), u"\"d\"=dword:0000002a"},
      FormatCase{"DwordOfWrongSizeAsHex", u"d", RegValue{kRegDword, {1, 2}}, u"\"d\"=hex(4):01,02"},
      FormatCase{"Binary", u"b", RegValue{kRegBinary, {0, 0x7F, 0xFF}}, u"\"b\"=hex:00,7f,ff"},
      FormatCase{"ExpandSz", u"x", RegValue{kRegExpandSz, Utf16LeBytes(u"%A%", true)}, u"\"x\"=hex(2):25,00,41,00,25,00,00,00"},
      FormatCase{"QwordType", u"q", RegValue{11, {1, 0, 0, 0, 0, 0, 0, 0}}, u"\"q\"=hex(b):01,00,00,00,00,00,00,00"},
      FormatCase{"LongBinaryWraps", u"long", RegValue{kRegBinary, Counting(40)},
                 u"\"long\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\n"
                 u"  16,17,18,19,1a,1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Utf16ToUtf8(RegFile::FormatValue(c.valueName, c.value)), Utf16ToUtf8(c.line));
    RegFile file;
    ASSERT_EQ(file.Set(kKey, c.valueName, c.value), RegFile::Change::kChanged);
    const auto reread = RegFile::Parse(file.Serialize());
    ASSERT_TRUE(reread.has_value());
    ASSERT_NE(reread->Find(kKey, c.valueName), nullptr);
    EXPECT_EQ(*reread->Find(kKey, c.valueName), c.value);
  }
}

// ---- Editing keeps the file as it was ---------------------------------------------------

TEST(RegFile, AFileReadAndWrittenBackKeepsEveryByte) {
  const std::string cases[] = {
      "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\T]\r\n"
      "\"a\"=dword:0000002A\r\n\"h\"=hex:01,\\\r\n    02\r\n\r\n",
      // Hand-written, then garbage.
      "\nWindows Registry Editor Version 5.00\n; settings\n[HKEY_CURRENT_USER\\Software\\T]\n"
      "  \"a\" =  \"x\"   \n\"a\"=\"y\"\n\n[junk\n\"b\"=-\n",
      "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\T]\n\x01\xFF\xFE\n"
      "\"x\"=hex:zz\n\"c\"=hex:01,\\\n",
  };
  for (const auto& bytes : cases) {
    const auto file = RegFile::Parse(bytes);
    ASSERT_TRUE(file.has_value());
    EXPECT_EQ(file->Serialize(), bytes);
  }
}

TEST(RegFile, SetUpdatesTheWinningLineInPlace) {
  auto file = RegFile::Parse(
      "Windows Registry Editor Version 5.00\n\n"
      "[HKEY_CURRENT_USER\\Software\\T]\n\"A\"=dword:00000001\ngarbage\n\n"
      "[HKEY_CURRENT_USER\\Software\\U]\n\"x\"=dword:00000009\n\n"
      "[HKEY_CURRENT_USER\\Software\\T]\n\"a\"=dword:00000002\n\"z\"=\"last\"\n\n");
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ(file->Set(kKey, u"a", Dword(2)), RegFile::Change::kUnchanged);
  EXPECT_EQ(file->Set(kKey, u"a", Dword(3)), RegFile::Change::kChanged);
  EXPECT_EQ(file->Set(kKey, u"new", Sz(u"n")), RegFile::Change::kChanged);
  EXPECT_EQ(file->Set(u"HKEY_CURRENT_USER\\Software\\V", u"v", Dword(5)), RegFile::Change::kChanged);
  EXPECT_EQ(file->Set(u"HKEY_CURRENT_USER\\Software\\U", u"X", Dword(10)), RegFile::Change::kChanged);
  // The updated line keeps the spelling of its name; new values go to the end of the
  // key's last section, new keys to the end of the file.
  EXPECT_EQ(file->Serialize(),
            "Windows Registry Editor Version 5.00\n\n"
            "[HKEY_CURRENT_USER\\Software\\T]\n\"A\"=dword:00000001\ngarbage\n\n"
            "[HKEY_CURRENT_USER\\Software\\U]\n\"x\"=dword:0000000a\n\n"
            "[HKEY_CURRENT_USER\\Software\\T]\n\"a\"=dword:00000003\n\"z\"=\"last\"\n\"new\"=\"n\"\n\n"
            "[HKEY_CURRENT_USER\\Software\\V]\n\"v\"=dword:00000005\n\n");
  EXPECT_EQ(*file->Find(kKey, u"A"), Dword(3));
}

TEST(RegFile, NewKeysAfterAFileWithoutFinalNewline) {
  auto file =
      RegFile::Parse("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\T]\r\n\"a\"=\"tr");
  ASSERT_TRUE(file.has_value());
  EXPECT_TRUE(file->AddKey(u"HKEY_CURRENT_USER\\Software\\New"));
  EXPECT_FALSE(file->AddKey(u"hkey_current_user\\software\\NEW"));
  EXPECT_FALSE(file->AddKey(u"HKEY_CURRENT_USER\\Software"));  // exists as a parent
  EXPECT_EQ(file->Set(kKey, u"a", Sz(u"fixed")), RegFile::Change::kChanged);
  EXPECT_EQ(file->Serialize(),
            "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\T]\r\n\"a\"=\"tr\r\n"
            "\"a\"=\"fixed\"\r\n\r\n[HKEY_CURRENT_USER\\Software\\New]\r\n\r\n");
}

struct RejectCase {
  const char* name;
  std::u16string key;
  std::u16string valueName;
  bool keyIsBad;
};

TEST(RegFile, RefusesWhatTheFormatCannotCarry) {
  const std::u16string kKeyText(kKey);
  const RejectCase cases[] = {RejectCase{"LineBreakInName", kKeyText, u"a\nb", false},
                              RejectCase{"CarriageReturnInName", kKeyText, u"a\rb", false},
                              RejectCase{"NulInName", kKeyText, std::u16string(u"a\0b", 3), false},
                              RejectCase{"LoneSurrogateInName", kKeyText, u"\xDCE9", false},
                              RejectCase{"EmptyKeyComponent", u"HKEY_CURRENT_USER\\\\X", u"ok", true},
                              RejectCase{"LeadingBackslash", u"\\HKEY_CURRENT_USER", u"ok", true},
                              RejectCase{"DeleteMarker", u"-HKEY_CURRENT_USER\\X", u"ok", true},
                              RejectCase{"EmptyKey", u"", u"ok", true},
                              RejectCase{"LineBreakInKey", u"HKEY_CURRENT_USER\\a\nb", u"ok", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    RegFile file;
    const std::string before = file.Serialize();
    EXPECT_EQ(file.Set(c.key, c.valueName, Dword(1)), RegFile::Change::kRejected);
    EXPECT_EQ(RegFile::IsValidKeyPath(c.key), !c.keyIsBad);
    EXPECT_EQ(RegFile::IsValidName(c.valueName), c.keyIsBad);
    if (c.keyIsBad) {
      EXPECT_FALSE(file.AddKey(c.key));
    }
    EXPECT_EQ(file.Serialize(), before);
  }
}

TEST(RegFile, Utf16FileIsRewrittenAsUtf8KeepingUnpairedSurrogates) {
  auto file = RegFile::Parse(Utf16LeFile(
      u"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\T]\r\n\"s\"=\"a\xD800\"\r\n"
      u"\"n\"=\"\u00E9\"\r\n"));
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ(*file->Find(kKey, u"s"), Sz(u"a\xD800"));
  EXPECT_EQ(file->Serialize(),
            "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\T]\r\n"
            "\"s\"=hex(1):61,00,00,d8,00,00\r\n\"n\"=\"\xC3\xA9\"\r\n");
}

}  // namespace
}  // namespace tessaroven
