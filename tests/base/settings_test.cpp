// The settings functions against the real store of the platform: the settings file
// on Linux, the registry under Wine and Windows.
#include "base/settings.h"

#include <gtest/gtest.h>

#include "base/settings_test_key.h"
#include "base/text.h"
#include "support/settings_raw.h"

namespace tessaroven {
namespace {

class SettingsTest : public testing::Test {
 protected:
  SettingsKeyPath Path() const { return key_.Path(); }
  const std::u16string& PathText() const { return key_.Path(); }

  test::ScopedSettingsKey key_;
};

// ---- Every stored type, read back through each getter ---------------------------------

struct StoredCase {
  const char* name;
  std::uint32_t type;
  std::vector<std::uint8_t> bytes;
  std::uint32_t asDword;
  std::u16string asString;
  bool mayGainNul = false;
  // Names the case in test listings instead of dumping its bytes.
  friend void PrintTo(const StoredCase& c, std::ostream* os) { *os << c.name; }
};

class SettingsReading : public SettingsTest, public testing::WithParamInterface<StoredCase> {};

TEST_P(SettingsReading, GettersAcceptOnlyTheirOwnType) {
  const auto& c = GetParam();
  ASSERT_TRUE(SettingsSetValue(c.bytes.data(), static_cast<std::uint32_t>(c.bytes.size()), c.type, u"Value",
                               SettingsRoot::CurrentUser, Path()));
  EXPECT_EQ(SettingsGetDword(u"Value", SettingsRoot::CurrentUser, Path()), c.asDword);
  EXPECT_EQ(Utf16ToUtf8(SettingsGetString(u"Value", SettingsRoot::CurrentUser, Path())), Utf16ToUtf8(c.asString));
  const auto raw = test::SettingsGetRaw(u"Value", SettingsRoot::CurrentUser, Path());
  ASSERT_TRUE(raw.has_value());
  EXPECT_EQ(raw->type, c.type);
  // Wine's registry hands text stored without its NUL back with one added; Windows
  // and the settings file return the bytes as stored.
  std::vector<std::uint8_t> terminated = c.bytes;
  terminated.insert(terminated.end(), {0, 0});
  if (c.mayGainNul && raw->data == terminated) return;
  EXPECT_EQ(raw->data, c.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, SettingsReading,
    testing::Values(StoredCase{"DwordAllBits", kRegDword, {0xFF, 0xFF, 0xFF, 0xFF}, 0xFFFFFFFF, u""},
                    StoredCase{"DwordBytesOrder", kRegDword, {0x78, 0x56, 0x34, 0x12}, 0x12345678, u""},
                    StoredCase{"FourBinaryBytesAreNoDword", kRegBinary, {42, 0, 0, 0}, 0, u""},
                    StoredCase{"ExpandSzIsTakenLiterally", kRegExpandSz, Utf16LeBytes(u"%SystemRoot%\\x", true), 0,
                               u"%SystemRoot%\\x"},
                    StoredCase{"ZeroLengthText", kRegSz, {}, 0, u""},
                    StoredCase{"TextWithoutTerminator", kRegSz, Utf16LeBytes(u"abc", false), 0, u"abc", true},
                    StoredCase{"TextEndsAtFirstNul", kRegSz, Utf16LeBytes(std::u16string(u"ab\0cd", 5), true), 0, u"ab"},
                    StoredCase{"NonAsciiText", kRegSz, Utf16LeBytes(u"Gr\u00F6\u00DFe \u65E5\U0001F3B5", true), 0,
                               u"Gr\u00F6\u00DFe \u65E5\U0001F3B5"},
                    StoredCase{"MultiSzIsNoText", 7, Utf16LeBytes(std::u16string(u"a\0b\0", 4), true), 0, u""}),
    [](const auto& p) { return std::string(p.param.name); });

// ---- Writing -----------------------------------------------------------------------------

TEST_F(SettingsTest, TypedSettersRoundTrip) {
  std::u16string text = u"C:\\Music\\\"Best\" of \u00E9\r";
  for (int i = 0; i < 5000; ++i) text += static_cast<char16_t>(u'a' + i % 26);
  EXPECT_TRUE(SettingsSetDword(0xCAFEF00D, u"Number", SettingsRoot::CurrentUser, Path()));
  EXPECT_TRUE(SettingsSetString(text, u"Text", SettingsRoot::CurrentUser, Path()));
  EXPECT_EQ(SettingsGetDword(u"Number", SettingsRoot::CurrentUser, Path()), 0xCAFEF00Du);
  EXPECT_EQ(SettingsGetString(u"Text", SettingsRoot::CurrentUser, Path()), text);
  // A text setting is kept as REG_SZ with its terminating NUL.
  const auto raw = test::SettingsGetRaw(u"Text", SettingsRoot::CurrentUser, Path());
  ASSERT_TRUE(raw.has_value());
  EXPECT_EQ(raw->type, kRegSz);
  EXPECT_EQ(raw->data, Utf16LeBytes(text, true));
}

// A name holds one value of one type; names and key paths fold ASCII case, and the
// empty name is the key's default value, not "@".
TEST_F(SettingsTest, ANameHoldsOneValueWhateverItsCase) {
  ASSERT_TRUE(SettingsSetString(u"first", u"MixedCase", SettingsRoot::CurrentUser, Path()));
  ASSERT_TRUE(SettingsSetString(u"second", u"mixedcase", SettingsRoot::CurrentUser, Path()));
  EXPECT_EQ(SettingsGetString(u"MIXEDCASE", SettingsRoot::CurrentUser, Path()), u"second");
  ASSERT_TRUE(SettingsSetDword(3, u"MixedCase", SettingsRoot::CurrentUser, Path()));
  EXPECT_EQ(SettingsGetString(u"MixedCase", SettingsRoot::CurrentUser, Path()), u"");
  const std::u16string upper = AsciiToUtf16("SOFTWARE") + PathText().substr(8);
  EXPECT_EQ(SettingsGetDword(u"mixedCASE", SettingsRoot::CurrentUser, std::u16string_view(upper)), 3u);

  ASSERT_TRUE(SettingsSetString(u"unnamed", u"", SettingsRoot::CurrentUser, Path()));
  ASSERT_TRUE(SettingsSetString(u"named", u"@", SettingsRoot::CurrentUser, Path()));
  EXPECT_EQ(SettingsGetString(u"", SettingsRoot::CurrentUser, Path()), u"unnamed");
  EXPECT_EQ(SettingsGetString(u"@", SettingsRoot::CurrentUser, Path()), u"named");
}

TEST_F(SettingsTest, MissingValuesReadAsZeroOrEmpty) {
  EXPECT_EQ(SettingsGetDword(u"Missing", SettingsRoot::CurrentUser, Path()), 0u);
  EXPECT_EQ(SettingsGetString(u"Missing", SettingsRoot::CurrentUser, Path()), u"");
  EXPECT_FALSE(test::SettingsGetRaw(u"Missing", SettingsRoot::CurrentUser, Path()).has_value());
  const std::u16string sub = PathText() + u"\\Sub\\Deeper";
  EXPECT_EQ(SettingsGetDword(u"Missing", SettingsRoot::CurrentUser, std::u16string_view(sub)), 0u);
  // The read created the key: it can be opened and written like any other.
  EXPECT_TRUE(SettingsOpenKey(kKeyQueryValue, SettingsRoot::CurrentUser, std::u16string_view(sub)));
  EXPECT_TRUE(SettingsSetDword(1, u"Now", SettingsRoot::CurrentUser, std::u16string_view(sub)));
  EXPECT_EQ(SettingsGetDword(u"Now", SettingsRoot::CurrentUser, std::u16string_view(sub)), 1u);
}

// ---- Empty key paths and defaults --------------------------------------------------------

TEST_F(SettingsTest, EmptyKeyPathMakesEveryCallANoOp) {
  const SettingsKeyPath none = std::u16string_view();
  EXPECT_FALSE(SettingsOpenKey(kKeyWrite, SettingsRoot::CurrentUser, none));
  EXPECT_FALSE(SettingsSetDword(1, u"V", SettingsRoot::CurrentUser, none));
  EXPECT_EQ(SettingsGetDword(u"V", SettingsRoot::CurrentUser, none), 0u);
  EXPECT_EQ(SettingsGetString(u"V", SettingsRoot::CurrentUser, none), u"");
}

class SettingsDefaults : public SettingsTest {
 protected:
  void SetUp() override {
    savedRoot_ = DefaultSettingsRoot();
    savedPath_ = DefaultSettingsKeyPath();
  }
  void TearDown() override {
    SetDefaultSettingsRoot(savedRoot_);
    SetDefaultSettingsKeyPath(savedPath_);
  }

 private:
  SettingsRoot savedRoot_ = SettingsRoot::CurrentUser;
  std::u16string savedPath_;
};

TEST_F(SettingsDefaults, AbsentRootAndPathMeanTheDefaults) {
  SetDefaultSettingsRoot(SettingsRoot::CurrentUser);
  SetDefaultSettingsKeyPath(PathText());
  ASSERT_TRUE(SettingsSetDword(77, u"ViaDefault"));
  ASSERT_TRUE(SettingsSetString(u"t", u"TextViaDefault", SettingsRoot::Default));
  EXPECT_EQ(SettingsGetDword(u"ViaDefault", SettingsRoot::CurrentUser, Path()), 77u);
  EXPECT_EQ(SettingsGetString(u"TextViaDefault", SettingsRoot::CurrentUser, Path()), u"t");
  EXPECT_EQ(SettingsGetDword(u"ViaDefault"), 77u);
}

}  // namespace
}  // namespace tessaroven
