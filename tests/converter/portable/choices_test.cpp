#include "converter/choices.h"

#include <gtest/gtest.h>

#include "base/known_folders.h"
#include "base/settings.h"
#include "base/text.h"
#include "support/native_path.h"

namespace kovantrix {
namespace {

using tessaroven::SettingsRoot;
using tessaroven::test::Native;

// Every test starts from a settings store of its own: the converter's key and its
// profiles emptied of what an earlier test stored.
class ChoicesTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& key : {ChoicesKeyPath(std::nullopt), ChoicesKeyPath(u"Phone"), ChoicesKeyPath(u"Other")}) {
      for (const auto* name : {u"OutputFolder", u"Format", u"Preset"})
        tessaroven::SettingsSetString(u"", name, SettingsRoot::CurrentUser, key);
      tessaroven::SettingsSetDword(0, u"OverwriteRule", SettingsRoot::CurrentUser, key);
    }
  }
};

TEST_F(ChoicesTest, AProfileKeepsItsOwnAndFallsBackToTheGeneralOnes) {
  // Nothing stored: the music folder's "Converted" and FLAC.
  const Choices defaults = LoadChoices(u"Phone");
  EXPECT_EQ(defaults.outputFolder, tessaroven::GetSpecialFolder(tessaroven::kFolderMyMusic, u"") + Native(u"Converted/"));
  EXPECT_EQ(defaults.format, Format::kFlac);
  EXPECT_EQ(defaults.preset, u"default");

  Choices general{Native(u"/general/"), Format::kOpus, u"96k", false};
  ASSERT_TRUE(SaveChoices(general, std::nullopt));
  Choices phone{Native(u"/phone/"), Format::kMp3, u"v5", true};
  ASSERT_TRUE(SaveChoices(phone, u"Phone"));
  // Only one value stored for this profile: the rest come from the general key.
  ASSERT_TRUE(tessaroven::SettingsSetString(Native(u"/other"), u"OutputFolder", SettingsRoot::CurrentUser,
                                            ChoicesKeyPath(u"Other")));

  const Choices loadedGeneral = LoadChoices(std::nullopt);
  EXPECT_EQ(loadedGeneral.outputFolder, Native(u"/general/"));
  EXPECT_EQ(loadedGeneral.format, Format::kOpus);
  EXPECT_EQ(loadedGeneral.preset, u"96k");
  EXPECT_FALSE(loadedGeneral.overwrite);

  const Choices loadedPhone = LoadChoices(u"Phone");
  EXPECT_EQ(loadedPhone.outputFolder, Native(u"/phone/"));
  EXPECT_EQ(loadedPhone.format, Format::kMp3);
  EXPECT_EQ(loadedPhone.preset, u"v5");
  EXPECT_TRUE(loadedPhone.overwrite);

  const Choices loadedOther = LoadChoices(u"Other");
  EXPECT_EQ(loadedOther.outputFolder, Native(u"/other/"));
  EXPECT_EQ(loadedOther.format, Format::kOpus);
  EXPECT_EQ(loadedOther.preset, u"96k");

  // A profile that keeps existing files says so over a general rule that replaces.
  ASSERT_TRUE(SaveChoices(Choices{Native(u"/general/"), Format::kOpus, u"96k", true}, std::nullopt));
  ASSERT_TRUE(SaveChoices(Choices{Native(u"/phone/"), Format::kMp3, u"v5", false}, u"Phone"));
  EXPECT_FALSE(LoadChoices(u"Phone").overwrite);
  EXPECT_TRUE(LoadChoices(u"Other").overwrite);

  // Profiles live below the converter's key; a backslash in a name must not open a
  // deeper key that another profile owns.
  EXPECT_EQ(ChoicesKeyPath(std::nullopt), u"Software\\Orvandelle\\Kovantrix");
  EXPECT_EQ(ChoicesKeyPath(u"Phone"), u"Software\\Orvandelle\\Kovantrix\\Profiles\\Phone");
  EXPECT_EQ(ChoicesKeyPath(u"a\\b"), u"Software\\Orvandelle\\Kovantrix\\Profiles\\a/b");
  EXPECT_NE(ChoicesKeyPath(u""), ChoicesKeyPath(std::nullopt));
}

}  // namespace
}  // namespace kovantrix
