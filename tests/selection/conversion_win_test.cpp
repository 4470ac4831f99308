// The command line the hand-off writes, read back by the system's own parser.
#include <windows.h>
// shellapi.h needs windows.h first.
#include <shellapi.h>

#include <gtest/gtest.h>

#include "base/text.h"
#include "selection/conversion.h"

namespace tessaroven {
namespace {

// What CommandLineToArgvW makes of `arguments` behind a program name.
std::vector<std::u16string> SystemSplit(const std::u16string& arguments) {
  const std::wstring line = L"\"C:\\Program Files\\Kovantrix.exe\" " + ToOsString(arguments);
  int count = 0;
  wchar_t** list = CommandLineToArgvW(line.c_str(), &count);
  std::vector<std::u16string> result;
  for (int i = 1; list != nullptr && i < count; ++i) result.push_back(FromOsString(list[i]));
  LocalFree(list);
  return result;
}

TEST(ConversionWin, SplittingAgreesWithCommandLineToArgvW) {
  const std::u16string texts[] = {
      u"a b\tc",
      u"-x=\"a b\"c d",
      u"a \"\" b",
      u"C:\\a\\\\b\\",
      u"\"a\\\\\" b",
      u"a\\\"b \"c\\\\\\\"d\"",
      u"\"a\\\" b\" c",
      u"\"a\"\"b c\"",
      u"\"\"\"a b",
      u"\"a b",
      u"\"a\"\"\"\"b\"",
      u"a\"\"\"b\"\" c",
      u"x \\\\\\\\\"y z\"",
  };
  for (const auto& text : texts) EXPECT_EQ(SplitWindowsCommandLine(text), SystemSplit(text)) << Utf16ToUtf8(text);
}

TEST(ConversionWin, EscapedValuesComeBackWhole) {
  const std::u16string values[] = {
      u"C:\\Users\\A B\\Temp\\TMP1.tmp", u"a\"b", u"\"", u"a\\\"", u"C:\\Temp\\", u"x\\\\", u""};
  for (const auto& value : values) {
    EXPECT_EQ(SystemSplit(BuildConverterArguments(value, u"fsqrv-1", 5, value)),
              (std::vector<std::u16string>{u"-list_to_conv=" + value, u"-signal_event_got_files=fsqrv-1",
                                           u"-centeronwnd=5", u"-additionalprofile=" + value}))
        << Utf16ToUtf8(value);
  }
}

}  // namespace
}  // namespace tessaroven
