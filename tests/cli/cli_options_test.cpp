#include "cli/cli_options.h"

#include <gtest/gtest.h>

namespace tessaroven::cli {
namespace {

struct BadCase {
  const char* name;
  std::vector<std::string> args;
  const char* error;  // a part of the one-line reason
};

class BadCommandLine : public ::testing::TestWithParam<BadCase> {};

TEST_P(BadCommandLine, IsRefusedWithAReason) {
  const ParseResult result = ParseOptions(GetParam().args);
  EXPECT_NE(result.error.find(GetParam().error), std::string::npos) << result.error;
  EXPECT_EQ(result.error.find('\n'), std::string::npos) << "one line";
}

INSTANTIATE_TEST_SUITE_P(Cases, BadCommandLine,
                         ::testing::Values(BadCase{"Unknown", {"--folders", "/m"}, "unknown option '--folders'"},
                                           BadCase{"MissingValue", {"--folder"}, "--folder needs a value"},
                                           BadCase{"EmptyValue", {"--file="}, "not empty"},
                                           BadCase{"SlotTooHigh", {"--filter", "8=Rock"}, "SLOT 0 to 7"},
                                           BadCase{"SlotMissing", {"--filter", "Rock"}, "SLOT 0 to 7"},
                                           BadCase{"SlotNotANumber", {"--filter-exclude-all", "x"}, "slot 0 to 7"},
                                           BadCase{"DateMode", {"--date", "4,30"}, "MODE 0 to 3"},
                                           BadCase{"DateShape", {"--date", "30"}, "MODE,DAYS"},
                                           BadCase{"DateTrailing", {"--date", "1,30x"}, "MODE,DAYS"},
                                           BadCase{"TypeWithoutDot", {"--exclude-type", "mp3"}, "with its dot"},
                                           BadCase{"JsonAlone", {"--json"}, "--json goes with"},
                                           BadCase{"ColumnsAlone", {"--columns", "Name"}, "--columns goes with"},
                                           BadCase{
                                               "EmptyColumn", {"--list", "--columns", "Name,,Size"}, "empty column"}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(CommandLine, StepsKeepTheirOrderAndValuesTheirBytes) {
  const ParseResult result = ParseOptions({"--folder", "/m/a b", "--exclude-folder=/m/a b/x", "--file", "caf\xE9.mp3",
                                           "--filter", "2=A=B", "--filter-exclude-all", "7", "--date", "1,30", "--list",
                                           "--columns", "Name,Album Artist", "--json"});
  ASSERT_EQ(result.error, "");
  const Options& options = result.options;
  ASSERT_EQ(options.steps.size(), 6u);
  EXPECT_EQ(options.steps[0].kind, StepKind::Folder);
  EXPECT_EQ(options.steps[0].text, "/m/a b");
  EXPECT_EQ(options.steps[1].kind, StepKind::ExcludeFolder);
  EXPECT_EQ(options.steps[1].text, "/m/a b/x");
  EXPECT_EQ(options.steps[2].text, "caf\xE9.mp3");
  EXPECT_EQ(options.steps[3].slot, 2);
  EXPECT_EQ(options.steps[3].text, "A=B") << "only the first '=' separates the slot";
  EXPECT_EQ(options.steps[4].slot, 7);
  EXPECT_EQ(options.steps[5].text, "1,30");
  EXPECT_TRUE(options.list);
  EXPECT_TRUE(options.json);
  EXPECT_EQ(options.columns, (std::vector<std::string>{"Name", "Album Artist"}));
}

}  // namespace
}  // namespace tessaroven::cli
