// The command line the hand-off writes, read back by the system's own parser.
#include <windows.h>
// shellapi.h needs windows.h first.
#include <shellapi.h>

#include <gtest/gtest.h>

#include "base/text.h"
#include "conversion_test_support.h"
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

TEST(ConversionWin, TheSplitTableAgreesWithCommandLineToArgvW) {
  for (const auto& c : test::kSplitCases) EXPECT_EQ(SystemSplit(c.text), c.arguments) << c.name;
}

TEST(ConversionWin, EscapedValuesComeBackWhole) {
  for (const auto& [name, value] : test::kQuotedValues) {
    EXPECT_EQ(SystemSplit(BuildConverterArguments(value, u"fsqrv-1", 5, value)),
              (std::vector<std::u16string>{u"-list_to_conv=" + value, u"-signal_event_got_files=fsqrv-1",
                                           u"-centeronwnd=5", u"-additionalprofile=" + value}))
        << name;
  }
}

}  // namespace
}  // namespace tessaroven
