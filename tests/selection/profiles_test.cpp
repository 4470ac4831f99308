#include "selection/profiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/path.h"
#include "base/text.h"
#include "null_view.h"
#include "support/native_path.h"
#include "support/scripted_prompts.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using enum TreeCheckState;
using Bytes = std::vector<std::uint8_t>;
using Names = std::vector<std::u16string>;
using test::Native;

// The window: counts the refreshes profiles ask for and answers the new-profile
// dialog from `newName`.
class FakeWindow : public test::NullView, public ProfileWindow {
 public:
  void UpdateStatusLine() override { ++statusUpdates; }
  void RefillFileList() override { ++refills; }
  void ClearFilters() override { filters->Clear(); }
  std::optional<std::u16string> RunNewProfileDialog() override { return newName; }
  void ProfileListChanged() override { ++listChanges; }

  FilterState* filters = nullptr;
  std::optional<std::u16string> newName;
  int statusUpdates = 0, refills = 0, listChanges = 0;
};

std::filesystem::path Fs(const std::u16string& path) { return std::filesystem::path(ToOsString(path)); }

Bytes FileBytes(const std::u16string& path) {
  const std::string bytes = test::ReadBytes(path);
  return Bytes(bytes.begin(), bytes.end());
}

std::u16string Repeat(std::u16string_view unit, std::size_t count) {
  std::u16string out;
  for (std::size_t i = 0; i < count; ++i) out += unit;
  return out;
}

class ProfilesTest : public testing::Test {
 protected:
  ProfilesTest() : filters(FilterFieldNames{}), model(window), profiles(model, window, filters, window) {
    window.filters = &filters;
    // The application-data folder is the run's own on Linux but the Wine prefix's on
    // Windows: start and end every test without profiles.
    RemoveProfiles();
    for (const auto* extension : {u".flac", u".mp3", u".ogg", u".wma"}) {
      filters.Types().Records().Add(DecoderTypeRecord{extension, u"Audio", false});
    }
    model.Lists().lstTreeRoots = {Native(u"/"), Native(u"/music/")};
    drive = model.Tree().AddNode(kNoNode, Native(u"/"));
    music = model.Tree().AddNode(kNoNode, Native(u"/music/"));
    profiles.FillProfileList();
  }
  ~ProfilesTest() override { RemoveProfiles(); }

  static void RemoveProfiles() {
    std::error_code error;
    std::filesystem::remove_all(Fs(ProfileFolder()), error);
  }

  // A full set of choices: lists, excluded types, marks in three slots, two
  // exclude-all switches (one on a slot with nothing marked), a date filter.
  void ChooseA() {
    auto& l = model.Lists();
    l.lstFoldersAndSub = {Native(u"/m/a/"), Native(u"/x/")};
    l.lstFoldersNoSub = {Native(u"/music/")};
    l.lstFoldersExclude = {Native(u"/m/a/skip/")};
    l.lstSingleFiles = {};
    l.lstSingleFilesExclude = {Native(u"/m/a/bad.flac"), Native(u"/x/bad \u00e9.mp3"), Native(u"/x/3.ogg")};
    filters.Types().ApplyExcludedExtensionsText(u".ogg;.wma;");
    filters.Metadata().Slot(0).Marked().Add(17);
    filters.Metadata().Slot(0).Marked().Add(5);
    filters.Metadata().Slot(3).Marked().Add(0xDEADBEEF);
    filters.Metadata().Slot(3).SetExcludeAll(true);
    filters.Metadata().Slot(7).SetExcludeAll(true);
    filters.Date().Set(1, 30);
  }
  // Different choices in every part.
  void ChooseB() {
    model.ClearSelections();
    model.Lists().lstSingleFiles = {Native(u"/other.mp3")};
    filters.Types().ApplyExcludedExtensionsText(u".flac;");
    filters.Metadata().Slot(5).Marked().Add(99);
    filters.Date().Set(2, 7);
  }

  // Everything a profile stores, one record a line; the file layout test below pins
  // that the records hold every choice. `lists` stands in for the selection's.
  std::string Take(const SelectionLists* lists = nullptr) const {
    std::string text;
    const ProfileStore store = BuildProfileStore(lists ? *lists : model.Lists(), filters);
    for (const auto& record : store.Records()) {
      text += Utf16ToUtf8(record.key) + "=" + Utf16ToUtf8(record.value);
      for (const auto byte : record.data) text += " " + std::to_string(byte);
      text += "\n";
    }
    return text;
  }

  // Makes `name` the current profile through the drop-down's create entry.
  void Create(std::u16string_view name) {
    window.newName = std::u16string(name);
    Pick(kCreateProfileEntry);
    ASSERT_EQ(profiles.List().current, name);
  }
  void Pick(std::u16string_view entry) {
    const auto index = profiles.List().IndexOf(entry);
    ASSERT_TRUE(index) << Utf16ToUtf8(entry);
    profiles.ProfileSelectionChanged(*index);
  }
  std::u16string SelectedEntry() const { return profiles.List().entries.at(profiles.List().selected); }
  void WriteProfile(std::u16string_view name, const std::string& bytes) {
    std::filesystem::create_directories(Fs(ProfileFolder()));
    ASSERT_TRUE(test::WriteBytes(ProfilePath(name), bytes));
  }

  FakeWindow window;
  FilterState filters;
  SelectionModel model;
  Profiles profiles;
  NodeId drive = kNoNode;
  NodeId music = kNoNode;
};

// ---- Saving and loading ----------------------------------------------------

TEST_F(ProfilesTest, SavedFileHoldsTheKeysInTheirFixedOrderAndTheListTexts) {
  Create(u"Order");
  ChooseA();
  ASSERT_TRUE(profiles.SaveProfile());
  const Bytes bytes = FileBytes(ProfilePath(u"Order"));
  EXPECT_EQ(bytes, BuildProfileStore(model.Lists(), filters).Serialize());
  EXPECT_EQ(test::ListFolder(ProfileFolder()), Names{u"Order.bin"});

  const ProfileStore store = ProfileStore::Parse(bytes);
  Names keys;
  for (const auto& record : store.Records()) keys.push_back(record.key);
  const Names expected = {
      u"lstFoldersAndSub", u"lstFoldersNoSub", u"lstFoldersExclude", u"lstSingleFiles", u"lstSingleFilesExclude",
      u"lstExcludedExt",   u"Filter0",         u"Filter1",           u"Filter2",        u"Filter3-ExcludeAll",
      u"Filter3",          u"Filter4",         u"Filter5",           u"Filter6",        u"Filter7-ExcludeAll",
      u"Filter7",          u"DateFilter"};
  EXPECT_EQ(keys, expected);

  EXPECT_EQ(store.Text(u"lstFoldersAndSub"), Native(u"/m/a/") + u"{_{_}_}" + Native(u"/x/"));
  EXPECT_EQ(store.Text(u"lstFoldersNoSub"), Native(u"/music/"));  // one entry: no separator
  EXPECT_EQ(store.Text(u"lstSingleFiles"), u"");                  // empty list: empty text
  EXPECT_EQ(store.Text(u"lstExcludedExt"), u".ogg;.wma;");
  EXPECT_EQ(store.Data(u"Filter0"), (Bytes{5, 0, 0, 0, 17, 0, 0, 0}));
  EXPECT_EQ(store.Data(u"Filter3"), (Bytes{0xEF, 0xBE, 0xAD, 0xDE}));
  EXPECT_EQ(store.Text(u"Filter3-ExcludeAll"), u"1");
  EXPECT_TRUE(store.Data(u"Filter1").empty());
  EXPECT_EQ(store.Text(u"DateFilter"), u"1,30");
}

// Files that are empty, short or damaged: the selection is reset, the records before
// the damage load, and the filters missing from the file are off.
struct BadFileCase {
  const char* name;
  std::optional<std::string> bytes;  // nullopt: no file at all
  bool read;
  PathList noSub;  // what the file's one good record holds, when it is read
  std::optional<std::size_t> damageAt = std::nullopt;
};

const std::string kKeptRecord(
    "\x2C\x00\x00\x00"
    "l\0s\0t\0F\0o\0l\0d\0e\0r\0s\0N\0o\0S\0u\0b\0\0\0"
    "/\0k\0/\0\0\0",
    44);
const std::string kOne("\x01\x00\x00\x00", 4);
const std::string kTwo("\x02\x00\x00\x00", 4);

const BadFileCase kBadFiles[] = {
    {"NoFile", std::nullopt, false, {}},
    {"EmptyFile", std::string(), true, {}},
    {"WholeRecord", kOne + kKeptRecord, true, {u"/k/"}},
    {"TruncatedSecondRecord", kTwo + kKeptRecord + kKeptRecord.substr(0, 20), true, {u"/k/"}, 48},
};

class BadProfileFiles : public ProfilesTest, public testing::WithParamInterface<BadFileCase> {};

TEST_P(BadProfileFiles, LoadWhatCameBeforeTheDamageAfterResetting) {
  const auto& c = GetParam();
  std::filesystem::create_directories(Fs(ProfileFolder()));
  if (c.bytes) WriteProfile(u"Bad", *c.bytes);
  ChooseA();
  EXPECT_EQ(profiles.LoadProfile(u"Bad"), c.read);
  EXPECT_EQ(profiles.LastLoad().read, c.read);
  EXPECT_EQ(profiles.LastLoad().damageAt, c.damageAt) << "where the damage begins, for the CLI to name";
  EXPECT_EQ(profiles.List().current, u"Bad");
  EXPECT_TRUE(model.Lists().lstFoldersAndSub.empty());
  EXPECT_EQ(model.Lists().lstFoldersNoSub, c.noSub);
  EXPECT_EQ(filters.Date().DateFilterText(), u"0,0");
  EXPECT_FALSE(filters.AnyFilterActive());
}

INSTANTIATE_TEST_SUITE_P(Files, BadProfileFiles, testing::ValuesIn(kBadFiles),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(ProfilesTest, FiltersOnlyProfileKeepsTheTicksAndReplacesTheFilters) {
  Create(u"Rock [No File Selections]");
  ChooseA();
  const SelectionLists none;
  const std::string aFilters = Take(&none);
  ASSERT_TRUE(profiles.SaveProfile());
  // The lists are written whatever the name.
  EXPECT_EQ(ProfileStore::Parse(FileBytes(ProfilePath(u"Rock [No File Selections]"))).Text(u"lstFoldersNoSub"),
            Native(u"/music/"));

  ChooseB();
  ASSERT_TRUE(profiles.LoadProfile(u"Rock [No File Selections]"));
  EXPECT_EQ(Take(&none), aFilters);
  EXPECT_EQ(model.Lists().lstSingleFiles, PathList{Native(u"/other.mp3")});
  EXPECT_TRUE(model.Lists().lstFoldersAndSub.empty());
}

TEST_F(ProfilesTest, NoneSelectedResetsTheSelectionSavesNothingAndDeletesNothing) {
  // No profile folder yet: the fixed entries only.
  EXPECT_EQ(profiles.List().entries, (Names{u"(none selected)", u"[Create Profile]", u"[Delete Profile]"}));
  ChooseA();
  EXPECT_TRUE(profiles.SaveProfile());  // nothing to do
  EXPECT_FALSE(std::filesystem::exists(Fs(ProfileFolder())));
  test::ScriptedPrompts prompts({kAnswerYes});
  Pick(kDeleteProfileEntry);
  EXPECT_TRUE(prompts.Shown().empty());
  EXPECT_EQ(profiles.List().selected, 0u);
  EXPECT_FALSE(profiles.LoadProfile(kNoProfileEntry));
  EXPECT_FALSE(model.Lists().HasSelections());
  EXPECT_FALSE(profiles.List().HasCurrentProfile());
}

// ---- Names and files -------------------------------------------------------

// The characters the file-name sanitiser replaces have their own table; here only
// that a profile name goes through it, and what is added for profiles: device names
// before a dot or spaces, and the cut to 255 bytes of UTF-8 without halving a pair
// (".bin" takes four of them; a character of two bytes fits 125 times).
const std::pair<std::u16string, std::u16string> kNames[] = {
    {u"Rock", u"Rock"},
    {u"AC/DC: live", u"AC-DC; live"},
    {u"COM1", u"COM1_"},
    {u"lpt9 .mix", u"lpt9_ .mix"},
    {u"Con.x", u"Con_.x"},
    {u"COM10", u"COM10"},
    {u"con x", u"con x"},
    {Repeat(u"x", 300), Repeat(u"x", 251)},
    {Repeat(u"\u00e9", 300), Repeat(u"\u00e9", 125)},
    {Repeat(u"\U0001F3B5", 150), Repeat(u"\U0001F3B5", 62)},
};

// The file's name read back as a profile name gives the same file, so the listed
// name loads (every choice, the tree's states derived again) and deletes it, and
// creating the first name again takes the listed entry.
TEST_F(ProfilesTest, NameBecomesOneSafeFileThatListsLoadsAndDeletes) {
  for (const auto& [name, stem] : kNames) {
    EXPECT_EQ(ProfilePath(name), ProfileFolder() + stem + u".bin") << Utf16ToUtf8(name);
    EXPECT_EQ(ProfilePath(stem), ProfilePath(name)) << Utf16ToUtf8(name);
  }
  const auto& [name, stem] = kNames[9];
  Create(name);
  ChooseA();
  const std::string saved = Take();
  ASSERT_TRUE(profiles.SaveProfile());
  EXPECT_EQ(test::ListFolder(ProfileFolder()), Names{stem + u".bin"});

  // A fresh start lists the file under its file name, and choosing it loads it.
  ChooseB();
  ASSERT_NE(Take(), saved);
  profiles.FillProfileList();
  const Names listed = {u"(none selected)", stem, u"[Create Profile]", u"[Delete Profile]"};
  EXPECT_EQ(profiles.List().entries, listed);
  const int refills = window.refills;
  const int statusUpdates = window.statusUpdates;
  Pick(stem);
  EXPECT_EQ(Take(), saved);
  EXPECT_EQ(model.Tree().StateOf(drive), csChildSelected);
  EXPECT_EQ(model.Tree().StateOf(music), csFolderNoSub);
  EXPECT_GT(window.refills, refills);
  EXPECT_GT(window.statusUpdates, statusUpdates);
  window.newName = name;
  Pick(kCreateProfileEntry);
  EXPECT_EQ(profiles.List().entries, listed);
  EXPECT_EQ(SelectedEntry(), stem);

  test::ScriptedPrompts prompts({kAnswerYes});
  Pick(kDeleteProfileEntry);
  EXPECT_TRUE(test::ListFolder(ProfileFolder()).empty());
  EXPECT_FALSE(profiles.List().HasCurrentProfile());
}

TEST_F(ProfilesTest, ListSortsNamesWithAsciiLettersFoldedAndOtherUnitsByValue) {
  std::filesystem::create_directories(Fs(ProfileFolder()));
  for (const auto* name : {u"beta.bin", u"Zed.bin", u"_x.bin", u"alpha2.bin", u"Alpha.bin", u"\u00e9t\u00e9.bin",
                           u"[x.bin", u"notes.txt", u"Old.bin.tmp"})
    ASSERT_TRUE(test::WriteBytes(ProfileFolder() + name, ""));
  ASSERT_TRUE(test::MakeFolder(ProfileFolder() + u"folder.bin"));

  ChooseA();
  const int listChanges = window.listChanges;
  profiles.FillProfileList();
  // Folded, "A".."Z" sort after "[" (0x5B) and "_" (0x5F); unfolded they would not.
  EXPECT_EQ(profiles.List().entries, (Names{u"(none selected)", u"[x", u"_x", u"Alpha", u"alpha2", u"beta", u"Zed",
                                            u"\u00e9t\u00e9", u"[Create Profile]", u"[Delete Profile]"}));
  EXPECT_EQ(profiles.List().selected, 0u);
  EXPECT_EQ(window.listChanges, listChanges + 1);
  // Filling the list loads nothing.
  EXPECT_TRUE(model.Lists().HasSelections());
}

// ---- The drop-down list ----------------------------------------------------

TEST_F(ProfilesTest, CreateMakesTheNameCurrentInSortedPlaceAndWritesOnTheNextSave) {
  Create(u"beta");
  Create(u"Alpha");
  ChooseA();
  const std::string a = Take();
  EXPECT_EQ(profiles.List().entries,
            (Names{u"(none selected)", u"Alpha", u"beta", u"[Create Profile]", u"[Delete Profile]"}));
  EXPECT_EQ(SelectedEntry(), u"Alpha");
  // Created, not loaded: the choices of the moment stay and become the profile's.
  EXPECT_EQ(Take(), a);
  EXPECT_FALSE(test::FileExists(ProfilePath(u"Alpha")));

  // A cancelled dialog or a name the list uses for itself changes nothing.
  for (const auto& refused :
       {std::optional<std::u16string>(), std::optional<std::u16string>(u""),
        std::optional<std::u16string>(u"(none selected)"), std::optional<std::u16string>(u"[Delete Profile]")}) {
    window.newName = refused;
    Pick(kCreateProfileEntry);
    EXPECT_EQ(profiles.List().entries.size(), 5u);
    EXPECT_EQ(SelectedEntry(), u"Alpha");
  }
  // Saving under a new name (the CLI's --save-profile) refuses them too.
  EXPECT_FALSE(profiles.SaveAs(kCreateProfileEntry));
  EXPECT_FALSE(profiles.SaveAs(u""));
  EXPECT_EQ(ProfileStore::Parse(FileBytes(ProfilePath(u"Alpha"))), BuildProfileStore(model.Lists(), filters));
}

// Each profile is created after the one before, which switching saved: the
// profile loaded after a deletion shows its own choice.
struct DeleteCase {
  const char* name;
  Names existing;  // created in this order, each with its own single file; the last is current
  int answer;
  Names entriesAfter;  // between "(none selected)" and the create and delete entries
  std::u16string currentAfter;
};

const DeleteCase kDeletes[] = {
    {"YesSelectsTheFirstProfile", {u"B", u"A", u"C"}, kAnswerYes, {u"A", u"B"}, u"A"},
    {"YesOnTheLastProfileSelectsNone", {u"Only"}, kAnswerYes, {}, u"(none selected)"},
    {"NoChangesNothing", {u"A", u"C"}, kAnswerNo, {u"A", u"C"}, u"C"},
};

class DeleteProfile : public ProfilesTest, public testing::WithParamInterface<DeleteCase> {};

TEST_P(DeleteProfile, AsksThenRemovesFileAndEntryAndLoadsTheNextOne) {
  const auto& c = GetParam();
  for (const auto& name : c.existing) {
    Create(name);
    model.Lists().lstSingleFiles = {u"/" + name};
  }
  ASSERT_TRUE(profiles.SaveProfile());
  const std::u16string deleted = c.existing.back();

  test::ScriptedPrompts prompts({c.answer});
  Pick(kDeleteProfileEntry);

  ASSERT_EQ(prompts.Shown().size(), 1u);
  EXPECT_EQ(prompts.Shown()[0].text, u"Delete profile '" + deleted + u"'?");
  EXPECT_EQ(prompts.Shown()[0].caption, u"Delete Profile?");
  EXPECT_EQ(prompts.Shown()[0].style & kPromptButtonMask, kPromptYesNo);
  Names entries = c.entriesAfter;
  entries.insert(entries.begin(), u"(none selected)");
  entries.insert(entries.end(), {u"[Create Profile]", u"[Delete Profile]"});
  EXPECT_EQ(profiles.List().entries, entries);
  EXPECT_EQ(SelectedEntry(), c.currentAfter);
  EXPECT_EQ(test::FileExists(ProfilePath(deleted)), c.answer != kAnswerYes);
  // The profile now current is the one loaded ("(none selected)" loads an empty
  // selection); No keeps the deleted-candidate's own choices.
  const PathList expected = c.currentAfter == kNoProfileEntry ? PathList{} : PathList{u"/" + c.currentAfter};
  EXPECT_EQ(model.Lists().lstSingleFiles, expected);
}

INSTANTIATE_TEST_SUITE_P(Answers, DeleteProfile, testing::ValuesIn(kDeletes),
                         [](const auto& p) { return std::string(p.param.name); });

// ---- Writing ---------------------------------------------------------------

TEST_F(ProfilesTest, FailedReplaceReportsLeavesNoTemporaryFileAndKeepsTheTarget) {
  Create(u"Blocked");
  // A folder where the profile's file should go: the rename over it must fail.
  ASSERT_TRUE(test::MakeFolder(ProfileFolder()));
  ASSERT_TRUE(test::MakeFolder(ProfilePath(u"Blocked")));
  ASSERT_TRUE(test::WriteBytes(ProfilePath(u"Blocked") + kPathSeparator + u"inside", "old"));

  test::ScriptedPrompts prompts({kAnswerRetry, kAnswerCancel});
  EXPECT_FALSE(profiles.SaveProfile());
  ASSERT_EQ(prompts.Shown().size(), 2u);  // the retry failed too
  EXPECT_EQ(prompts.Shown()[0].text, u"Unable to write to '" + ProfilePath(u"Blocked") + u"'");
  EXPECT_EQ(prompts.Shown()[0].caption, u"File Write Error");
  EXPECT_EQ(test::ListFolder(ProfileFolder()), Names{u"Blocked.bin"});
  EXPECT_EQ(test::ReadBytes(ProfilePath(u"Blocked") + kPathSeparator + u"inside"), "old");
}

// A save killed between writing its temporary file and the rename leaves the file
// behind; the next save clears away those old enough not to be another window's.
TEST_F(ProfilesTest, ASaveRemovesTemporaryFilesLeftByAKilledSave) {
  Create(u"Tidy");
  const std::u16string folder = ProfileFolder();
  std::filesystem::create_directories(Fs(folder));
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(3);
  for (const char16_t* name : {u"~Profile-0123ABCD.tmp", u"~Profile-FFFFFFFF.tmp", u"~Profile-fresh.tmp",
                               u"~Profile-0000000.tmp", u"Other.tmp", u"~Profile-89ABCDEF.tmp"}) {
    ASSERT_TRUE(test::WriteBytes(folder + name, "left over"));
    if (std::u16string_view(name) != u"~Profile-89ABCDEF.tmp") std::filesystem::last_write_time(Fs(folder + name), old);
  }
  ASSERT_TRUE(profiles.SaveProfile());
  Names left = test::ListFolder(folder);
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (Names{u"Other.tmp", u"Tidy.bin", u"~Profile-0000000.tmp", u"~Profile-89ABCDEF.tmp",
                         u"~Profile-fresh.tmp"}))
      << "only this program's temporaries (eight hex digits), and only old ones";
}

}  // namespace
}  // namespace tessaroven
