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

TEST_F(SettingsTest, EmptyKeyPathMakesEveryCallANoOp) {
  const SettingsKeyPath none = std::u16string_view();
  EXPECT_FALSE(SettingsOpenKey(kKeyWrite, SettingsRoot::CurrentUser, none));
  EXPECT_FALSE(SettingsSetDword(1, u"V", SettingsRoot::CurrentUser, none));
  EXPECT_EQ(SettingsGetDword(u"V", SettingsRoot::CurrentUser, none), 0u);
  EXPECT_EQ(SettingsGetString(u"V", SettingsRoot::CurrentUser, none), u"");
}

}  // namespace
}  // namespace tessaroven
