#include "cli/cli_options.h"

#include <gtest/gtest.h>

namespace tessaroven::cli {
namespace {

// Each refused with a one-line reason that holds the given part.
TEST(CommandLine, BadOnesAreRefusedWithAReason) {
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"--folders", "/m"}, "unknown option '--folders'"},
      {{"--folder"}, "--folder needs a value"},
      {{"--file="}, "not empty"},
      {{"--filter", "8=Rock"}, "SLOT 0 to 7"},
      {{"--filter", "Rock"}, "SLOT 0 to 7"},
      {{"--filter-exclude-all", "x"}, "slot 0 to 7"},
      {{"--date", "4,30"}, "MODE 0 to 3"},
      {{"--date", "30"}, "MODE,DAYS"},
      {{"--date", "1,30x"}, "MODE,DAYS"},
      {{"--exclude-type", "mp3"}, "with its dot"},
      {{"--json"}, "--json goes with"},
      {{"--columns", "Name"}, "--columns goes with"},
      {{"--list", "--columns", "Name,,Size"}, "empty column"},
  };
  for (const auto& [args, error] : cases) {
    const ParseResult result = ParseOptions(args);
    EXPECT_NE(result.error.find(error), std::string::npos) << result.error;
    EXPECT_EQ(result.error.find('\n'), std::string::npos) << "one line: " << result.error;
  }
}

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
