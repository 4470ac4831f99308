#include "selection/profiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "null_view.h"
#include "support/native_path.h"
#include "support/scripted_prompts.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using enum TreeCheckState;
using Bytes = std::vector<std::uint8_t>;
using test::Native;

// The window: counts the refreshes profiles ask for and answers the new-profile
// dialog from `newName`.
class FakeWindow : public test::NullView, public ProfileWindow {
 public:
  void UpdateStatusLine() override { ++statusUpdates; }
  void RefillFileList() override { ++refills; }
  void ClearFilters() override { filters->Clear(); }

  std::optional<std::u16string> RunNewProfileDialog() override {
    ++dialogs;
    return newName;
  }
  void ProfileListChanged() override { ++listChanges; }

  FilterState* filters = nullptr;
  std::optional<std::u16string> newName;
  int statusUpdates = 0;
  int refills = 0;
  int dialogs = 0;
  int listChanges = 0;
};

// Everything a profile stores, compared as a whole.
struct Snapshot {
  std::vector<PathList> lists;
  std::u16string excludedExtensions;
  std::vector<Bytes> marked;
  std::vector<bool> excludeAll;
  std::u16string date;
  bool operator==(const Snapshot&) const = default;
};

void PrintTo(const Snapshot& s, std::ostream* os) {
  for (const auto& list : s.lists) {
    *os << "[";
    for (const auto& path : list) *os << Utf16ToUtf8(path) << " ";
    *os << "] ";
  }
  *os << "ext=" << Utf16ToUtf8(s.excludedExtensions) << " date=" << Utf16ToUtf8(s.date) << " slots=";
  for (std::size_t i = 0; i < s.marked.size(); ++i) *os << s.marked[i].size() << (s.excludeAll[i] ? "!" : "") << ",";
}

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

  Snapshot Take() const {
    Snapshot s;
    for (const PathList* list : model.Lists().SelectionListsInOrder()) s.lists.push_back(*list);
    s.excludedExtensions = filters.Types().ExcludedExtensionsText();
    for (std::size_t slot = 0; slot < kMetadataSlotCount; ++slot) {
      s.marked.push_back(filters.Metadata().Slot(slot).MarkedKeysBytes());
      s.excludeAll.push_back(filters.Metadata().Slot(slot).ExcludeAll());
    }
    s.date = filters.Date().DateFilterText();
    return s;
  }

  // Makes `name` the current profile through the drop-down's create entry.
  void Create(std::u16string_view name) {
    window.newName = std::u16string(name);
    profiles.ProfileSelectionChanged(*profiles.List().IndexOf(kCreateProfileEntry));
    ASSERT_EQ(profiles.List().current, name);
  }
  void Pick(std::u16string_view entry) {
    const auto index = profiles.List().IndexOf(entry);
    ASSERT_TRUE(index) << Utf16ToUtf8(entry);
    profiles.ProfileSelectionChanged(*index);
  }
  std::u16string SelectedEntry() const { return profiles.List().entries.at(profiles.List().selected); }

  FakeWindow window;
  FilterState filters;
  SelectionModel model;
  Profiles profiles;
  NodeId drive = kNoNode;
  NodeId music = kNoNode;
};

// ---- Saving and loading ----------------------------------------------------

TEST_F(ProfilesTest, SavedProfileLoadsBackEveryChoiceAndRederivesTheTree) {
  profiles.FillProfileList();
  Create(u"Rock");
  ChooseA();
  const Snapshot saved = Take();
  ASSERT_TRUE(profiles.SaveProfile());
  ASSERT_TRUE(test::FileExists(ProfilePath(u"Rock")));

  ChooseB();
  ASSERT_NE(Take(), saved);
  const int refills = window.refills;
  const int statusUpdates = window.statusUpdates;
  EXPECT_TRUE(profiles.LoadProfile(u"Rock"));

  EXPECT_EQ(Take(), saved);
  EXPECT_EQ(profiles.List().current, u"Rock");
  EXPECT_EQ(SelectedEntry(), u"Rock");
  EXPECT_EQ(model.Tree().StateOf(drive), csChildSelected);
  EXPECT_EQ(model.Tree().StateOf(music), csFolderNoSub);
  EXPECT_GT(window.refills, refills);
  EXPECT_GT(window.statusUpdates, statusUpdates);
}

TEST_F(ProfilesTest, SavedFileHoldsTheKeysInTheirFixedOrderAndTheListTexts) {
  profiles.FillProfileList();
  Create(u"Order");
  ChooseA();
  ASSERT_TRUE(profiles.SaveProfile());
  const Bytes bytes = FileBytes(ProfilePath(u"Order"));
  EXPECT_EQ(bytes, BuildProfileStore(model.Lists(), filters).Serialize());

  const ProfileStore store = ProfileStore::Parse(bytes);
  std::vector<std::u16string> keys;
  for (const auto& record : store.Records()) keys.push_back(record.key);
  const std::vector<std::u16string> expected = {
      u"lstFoldersAndSub", u"lstFoldersNoSub", u"lstFoldersExclude", u"lstSingleFiles", u"lstSingleFilesExclude",
      u"lstExcludedExt",   u"Filter0",         u"Filter1",           u"Filter2",        u"Filter3-ExcludeAll",
      u"Filter3",          u"Filter4",         u"Filter5",           u"Filter6",        u"Filter7-ExcludeAll",
      u"Filter7",          u"DateFilter"};
  EXPECT_EQ(keys, expected);

  EXPECT_EQ(store.Text(u"lstFoldersAndSub"), Native(u"/m/a/") + u"{_{_}_}" + Native(u"/x/"));
  EXPECT_EQ(store.Text(u"lstFoldersNoSub"), Native(u"/music/"));  // one entry: no separator
  EXPECT_EQ(store.Text(u"lstSingleFiles"), u"");                  // empty list: empty text
  EXPECT_TRUE(store.Contains(u"lstSingleFiles"));
  EXPECT_EQ(store.Text(u"lstExcludedExt"), u".ogg;.wma;");
  EXPECT_EQ(store.Data(u"Filter0"), (Bytes{5, 0, 0, 0, 17, 0, 0, 0}));
  EXPECT_EQ(store.Data(u"Filter3"), (Bytes{0xEF, 0xBE, 0xAD, 0xDE}));
  EXPECT_EQ(store.Text(u"Filter3-ExcludeAll"), u"1");
  EXPECT_TRUE(store.Data(u"Filter1").empty());
  EXPECT_EQ(store.Text(u"DateFilter"), u"1,30");
}

TEST_F(ProfilesTest, PathContainingTheSeparatorSplitsAndItsRelativePieceIsLeftOut) {
  profiles.FillProfileList();
  Create(u"Split");
  model.Lists().lstFoldersAndSub = {u"/odd{_{_}_}name/", u"/a{_{_}_}/b/"};
  ASSERT_TRUE(profiles.SaveProfile());
  ASSERT_TRUE(profiles.LoadProfile(u"Split"));
  EXPECT_EQ(model.Lists().lstFoldersAndSub, (PathList{u"/odd", u"/a", u"/b/"}));
  EXPECT_EQ(profiles.LastLoad().skippedPaths, PathList{u"name/"});
}

// A profile never holds relative paths: an empty or relative entry is damage, and
// handed to the collector it would walk a folder below wherever the program runs.
TEST_F(ProfilesTest, EntriesThatAreEmptyOrNotAbsoluteAreLeftOutWhenLoading) {
  std::filesystem::create_directories(Fs(ProfileFolder()));
  ProfileStore store;
  store.SetText(u"lstFoldersAndSub", Native(u"/m/{_{_}_}{_{_}_}music/rock/{_{_}_}/x/"));
  store.SetText(u"lstSingleFiles", u"a.flac");
  store.SetText(u"lstSingleFilesExclude", Native(u"/m/b.flac"));
  ASSERT_TRUE(test::WriteBytes(ProfilePath(u"Odd"), std::string(reinterpret_cast<const char*>(store.Serialize().data()),
                                                                store.Serialize().size())));
  ASSERT_TRUE(profiles.LoadProfile(u"Odd"));
  EXPECT_EQ(model.Lists().lstFoldersAndSub, (PathList{Native(u"/m/"), Native(u"/x/")}));
  EXPECT_TRUE(model.Lists().lstSingleFiles.empty());
  EXPECT_EQ(model.Lists().lstSingleFilesExclude, PathList{Native(u"/m/b.flac")});
  EXPECT_EQ(profiles.LastLoad().skippedPaths, (PathList{u"", Native(u"music/rock/"), u"a.flac"}));
  EXPECT_EQ(profiles.LastLoad().path, ProfilePath(u"Odd"));
  EXPECT_TRUE(profiles.LastLoad().read);
  EXPECT_EQ(profiles.LastLoad().damageAt, std::nullopt);
}

// A file written by hand in the documented layout, every byte spelled out.
TEST_F(ProfilesTest, HandWrittenFileLoads) {
  const std::string file(
      "\x03\x00\x00\x00"  // three records
      // 50 bytes: "lstSingleFiles" = "/a.flac"
      "\x32\x00\x00\x00"
      "l\0s\0t\0S\0i\0n\0g\0l\0e\0F\0i\0l\0e\0s\0\0\0"
      "/\0a\0.\0f\0l\0a\0c\0\0\0"
      // 30 bytes: "Filter2" = "" with the keys 5 and 0x01020304
      "\x1E\x00\x00\x00"
      "F\0i\0l\0t\0e\0r\0002\0\0\0"
      "\0\0"
      "\x05\x00\x00\x00\x04\x03\x02\x01"
      // 36 bytes: "DateFilter" = "1,30"
      "\x24\x00\x00\x00"
      "D\0a\0t\0e\0F\0i\0l\0t\0e\0r\0\0\0"
      "1\0,\0003\0000\0\0\0",
      4 + 50 + 30 + 36);
  std::filesystem::create_directories(Fs(ProfileFolder()));
  ASSERT_TRUE(test::WriteBytes(ProfilePath(u"Hand"), file));
  ChooseA();

  ASSERT_TRUE(profiles.LoadProfile(u"Hand"));
  Snapshot expected;
  expected.lists = {{}, {}, {}, {u"/a.flac"}, {}};
  expected.marked.assign(kMetadataSlotCount, {});
  expected.marked[2] = {5, 0, 0, 0, 4, 3, 2, 1};
  expected.excludeAll.assign(kMetadataSlotCount, false);
  expected.date = u"1,30";
  EXPECT_EQ(Take(), expected);
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

const BadFileCase kBadFiles[] = {
    {"NoFile", std::nullopt, false, {}},
    {"EmptyFile", std::string(), true, {}},
    {"FourBytes", std::string("\x01\x00\x00\x00", 4), true, {}},
    {"CountZero", std::string("\x00\x00\x00\x00", 4) + kKeptRecord, true, {}},
    {"WholeRecord", std::string("\x01\x00\x00\x00", 4) + kKeptRecord, true, {u"/k/"}},
    {"TruncatedSecondRecord",
     std::string("\x02\x00\x00\x00", 4) + kKeptRecord + kKeptRecord.substr(0, 20),
     true,
     {u"/k/"},
     48},
    {"NegativeLengthAfterTheRecord",
     std::string("\x02\x00\x00\x00", 4) + kKeptRecord + std::string("\xF0\xFF\xFF\xFF", 4) + kKeptRecord,
     true,
     {u"/k/"},
     48},
};

class BadProfileFiles : public ProfilesTest, public testing::WithParamInterface<BadFileCase> {};

TEST_P(BadProfileFiles, LoadWhatCameBeforeTheDamageAfterResetting) {
  const auto& c = GetParam();
  std::filesystem::create_directories(Fs(ProfileFolder()));
  if (c.bytes) {
    ASSERT_TRUE(test::WriteBytes(ProfilePath(u"Bad"), *c.bytes));
  }
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
  profiles.FillProfileList();
  Create(u"Rock [No File Selections]");
  ChooseA();
  const Snapshot a = Take();
  ASSERT_TRUE(profiles.SaveProfile());
  // The lists are written whatever the name.
  EXPECT_EQ(ProfileStore::Parse(FileBytes(ProfilePath(u"Rock [No File Selections]"))).Text(u"lstFoldersNoSub"),
            Native(u"/music/"));

  ChooseB();
  const Snapshot b = Take();
  ASSERT_TRUE(profiles.LoadProfile(u"Rock [No File Selections]"));
  Snapshot expected = a;
  expected.lists = b.lists;
  EXPECT_EQ(Take(), expected);
}

TEST_F(ProfilesTest, NoneSelectedResetsTheSelectionAndSavesNothing) {
  profiles.FillProfileList();  // no profile folder yet: the fixed entries only
  EXPECT_EQ(profiles.List().entries,
            (std::vector<std::u16string>{u"(none selected)", u"[Create Profile]", u"[Delete Profile]"}));
  ChooseA();
  EXPECT_TRUE(profiles.SaveProfile());  // nothing to do
  EXPECT_FALSE(std::filesystem::exists(Fs(ProfileFolder())));
  EXPECT_FALSE(profiles.LoadProfile(kNoProfileEntry));
  EXPECT_FALSE(model.Lists().HasSelections());
  EXPECT_FALSE(profiles.List().HasCurrentProfile());
  EXPECT_EQ(profiles.List().selected, 0u);
}

// ---- Names and files -------------------------------------------------------

struct NameCase {
  const char* name;
  std::u16string profile;
  std::u16string stem;  // the file name without ".bin"
};

const std::size_t kLongCut = 255 - 4;
// 300 characters of two UTF-8 bytes: 125 of them and ".bin" fit 255 bytes.
const std::size_t kWideCut = 125;

// The characters the file-name sanitiser replaces have their own table; here only
// that a profile name goes through it, and what is added for profiles: device names
// before a dot or spaces, and the cut to 255 bytes of UTF-8 without halving a pair.
const NameCase kNames[] = {
    {"Plain", u"Rock", u"Rock"},
    {"Sanitised", u"AC/DC: live", u"AC-DC; live"},
    {"ReservedCom1", u"COM1", u"COM1_"},
    {"ReservedLpt9WithSpaceAndDot", u"lpt9 .mix", u"lpt9_ .mix"},
    {"ReservedConBeforeADot", u"Con.x", u"Con_.x"},
    {"Com10IsNoDevice", u"COM10", u"COM10"},
    {"ConWithSuffixIsNoDevice", u"con x", u"con x"},
    {"Long300", Repeat(u"x", 300), Repeat(u"x", kLongCut)},
    {"Long300Wide", Repeat(u"\u00e9", 300), Repeat(u"\u00e9", kWideCut)},
    {"Long300NoSplitPair", Repeat(u"\U0001F3B5", 150), Repeat(u"\U0001F3B5", 62)},
};

class ProfileNames : public ProfilesTest, public testing::WithParamInterface<NameCase> {};

TEST_P(ProfileNames, NameBecomesOneSafeFileThatListsLoadsAndDeletes) {
  const auto& c = GetParam();
  EXPECT_EQ(ProfilePath(c.profile), ProfileFolder() + c.stem + u".bin");

  profiles.FillProfileList();
  Create(c.profile);
  ChooseA();
  const Snapshot saved = Take();
  ASSERT_TRUE(profiles.SaveProfile());
  EXPECT_EQ(test::ListFolder(ProfileFolder()), std::vector<std::u16string>{c.stem + u".bin"});

  // A fresh start lists the file under its file name, and choosing it loads it.
  model.ClearSelections();
  profiles.FillProfileList();
  EXPECT_EQ(profiles.List().entries,
            (std::vector<std::u16string>{u"(none selected)", c.stem, u"[Create Profile]", u"[Delete Profile]"}));
  Pick(c.stem);
  EXPECT_EQ(profiles.List().current, c.stem);
  EXPECT_EQ(Take(), saved);

  test::ScriptedPrompts prompts({kAnswerYes});
  Pick(kDeleteProfileEntry);
  EXPECT_TRUE(test::ListFolder(ProfileFolder()).empty());
  EXPECT_FALSE(profiles.List().HasCurrentProfile());
}

INSTANTIATE_TEST_SUITE_P(Names, ProfileNames, testing::ValuesIn(kNames),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(ProfilesTest, ListSortsNamesWithAsciiLettersFoldedAndOtherUnitsByValue) {
  const std::u16string folder = ProfileFolder();
  std::filesystem::create_directories(Fs(folder));
  for (const auto* name : {u"beta.bin", u"Zed.bin", u"_x.bin", u"alpha2.bin", u"Alpha.bin", u"\u00e9t\u00e9.bin",
                           u"[x.bin", u"notes.txt", u"Old.bin.tmp"}) {
    ASSERT_TRUE(test::WriteBytes(folder + name, ""));
  }
  ASSERT_TRUE(test::MakeFolder(folder + u"folder.bin"));

  ChooseA();
  profiles.FillProfileList();
  // Folded, "A".."Z" sort after "[" (0x5B) and "_" (0x5F); unfolded they would not.
  const std::vector<std::u16string> expected = {
      u"(none selected)", u"[x", u"_x", u"Alpha", u"alpha2", u"beta", u"Zed", u"\u00e9t\u00e9", u"[Create Profile]",
      u"[Delete Profile]"};
  EXPECT_EQ(profiles.List().entries, expected);
  EXPECT_EQ(profiles.List().current, u"(none selected)");
  EXPECT_EQ(profiles.List().selected, 0u);
  EXPECT_GE(window.listChanges, 1);
  // Filling the list loads nothing.
  EXPECT_TRUE(model.Lists().HasSelections());
}

// ---- The drop-down list ----------------------------------------------------

TEST_F(ProfilesTest, CreateMakesTheNameCurrentInSortedPlaceAndWritesOnTheNextSave) {
  profiles.FillProfileList();
  Create(u"beta");
  Create(u"Alpha");
  ChooseA();
  const Snapshot a = Take();
  EXPECT_EQ(profiles.List().entries, (std::vector<std::u16string>{u"(none selected)", u"Alpha", u"beta",
                                                                  u"[Create Profile]", u"[Delete Profile]"}));
  EXPECT_EQ(SelectedEntry(), u"Alpha");
  // Created, not loaded: the choices of the moment stay and become the profile's.
  EXPECT_EQ(Take(), a);
  EXPECT_FALSE(test::FileExists(ProfilePath(u"Alpha")));
  ASSERT_TRUE(profiles.SaveProfile());
  EXPECT_EQ(ProfileStore::Parse(FileBytes(ProfilePath(u"Alpha"))), BuildProfileStore(model.Lists(), filters));
}

TEST_F(ProfilesTest, CreatingANameThatNamesAListedFileTakesThatEntry) {
  profiles.FillProfileList();
  Create(u"a:b");
  ASSERT_TRUE(profiles.SaveProfile());
  profiles.FillProfileList();  // lists the file as "a;b"
  window.newName = u"a:b";
  Pick(kCreateProfileEntry);
  EXPECT_EQ(profiles.List().current, u"a;b");
  EXPECT_EQ(profiles.List().entries,
            (std::vector<std::u16string>{u"(none selected)", u"a;b", u"[Create Profile]", u"[Delete Profile]"}));
  EXPECT_EQ(SelectedEntry(), u"a;b");
}

struct CreateRefusal {
  const char* name;
  std::optional<std::u16string> answer;
};

class CreateRefused : public ProfilesTest, public testing::WithParamInterface<CreateRefusal> {};

TEST_P(CreateRefused, LeavesListAndCurrentProfileAsTheyWere) {
  profiles.FillProfileList();
  Create(u"Keep");
  const auto entries = profiles.List().entries;
  window.newName = GetParam().answer;
  const int dialogs = window.dialogs;
  Pick(kCreateProfileEntry);
  EXPECT_EQ(window.dialogs, dialogs + 1);
  EXPECT_EQ(profiles.List().entries, entries);
  EXPECT_EQ(profiles.List().current, u"Keep");
  EXPECT_EQ(SelectedEntry(), u"Keep");
}

INSTANTIATE_TEST_SUITE_P(Answers, CreateRefused,
                         testing::Values(CreateRefusal{"Cancelled", std::nullopt}, CreateRefusal{"Empty", u""},
                                         CreateRefusal{"NoneSelected", u"(none selected)"},
                                         CreateRefusal{"DeleteEntry", u"[Delete Profile]"}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(ProfilesTest, SwitchingSavesTheCurrentProfileBeforeLoadingTheChosenOne) {
  profiles.FillProfileList();
  Create(u"A");
  ChooseA();
  const Snapshot a = Take();
  Create(u"B");  // saves A, makes B current with the same choices
  ChooseB();
  const Snapshot b = Take();

  Pick(u"A");  // saves B
  EXPECT_EQ(Take(), a);
  EXPECT_EQ(SelectedEntry(), u"A");
  model.Lists().lstFoldersExclude = {u"/changed/"};
  const Snapshot changed = Take();

  Pick(u"B");  // saves the changed A
  EXPECT_EQ(Take(), b);
  Pick(u"A");
  EXPECT_EQ(Take(), changed);
}

struct DeleteCase {
  const char* name;
  std::vector<std::u16string> existing;  // saved in this order; the last is current
  int answer;
  std::vector<std::u16string> entriesAfter;
  std::u16string currentAfter;
};

const DeleteCase kDeletes[] = {
    {"YesSelectsTheFirstProfile",
     {u"B", u"A", u"C"},
     kAnswerYes,
     {u"(none selected)", u"A", u"B", u"[Create Profile]", u"[Delete Profile]"},
     u"A"},
    {"YesOnTheLastProfileSelectsNone",
     {u"Only"},
     kAnswerYes,
     {u"(none selected)", u"[Create Profile]", u"[Delete Profile]"},
     u"(none selected)"},
    {"NoChangesNothing",
     {u"A", u"C"},
     kAnswerNo,
     {u"(none selected)", u"A", u"C", u"[Create Profile]", u"[Delete Profile]"},
     u"C"},
};

class DeleteProfile : public ProfilesTest, public testing::WithParamInterface<DeleteCase> {};

TEST_P(DeleteProfile, AsksThenRemovesFileAndEntryAndLoadsTheNextOne) {
  const auto& c = GetParam();
  profiles.FillProfileList();
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
  EXPECT_EQ(profiles.List().entries, c.entriesAfter);
  EXPECT_EQ(profiles.List().current, c.currentAfter);
  EXPECT_EQ(SelectedEntry(), c.currentAfter);
  EXPECT_EQ(test::FileExists(ProfilePath(deleted)), c.answer != kAnswerYes);
  // The profile now current is the one loaded ("(none selected)" loads an empty
  // selection); No keeps the deleted-candidate's own choices.
  const PathList expected = c.currentAfter == kNoProfileEntry ? PathList{} : PathList{u"/" + c.currentAfter};
  EXPECT_EQ(model.Lists().lstSingleFiles, expected);
}

INSTANTIATE_TEST_SUITE_P(Answers, DeleteProfile, testing::ValuesIn(kDeletes),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(ProfilesTest, DeleteWithNoProfileCurrentAsksNothing) {
  profiles.FillProfileList();
  test::ScriptedPrompts prompts({kAnswerYes});
  Pick(kDeleteProfileEntry);
  EXPECT_TRUE(prompts.Shown().empty());
  EXPECT_EQ(profiles.List().selected, 0u);
}

// ---- Failed writes ---------------------------------------------------------

TEST_F(ProfilesTest, FailedReplaceReportsLeavesNoTemporaryFileAndKeepsTheTarget) {
  profiles.FillProfileList();
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
  EXPECT_EQ(test::ListFolder(ProfileFolder()), std::vector<std::u16string>{u"Blocked.bin"});
  EXPECT_EQ(test::ReadBytes(ProfilePath(u"Blocked") + kPathSeparator + u"inside"), "old");
}

// A save killed between writing its temporary file and the rename leaves the file
// behind; the next save clears away those old enough not to be another window's.
TEST_F(ProfilesTest, ASaveRemovesTemporaryFilesLeftByAKilledSave) {
  profiles.FillProfileList();
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
  std::vector<std::u16string> left;
  for (const auto& entry : std::filesystem::directory_iterator(Fs(folder)))
    left.push_back(FromOsString(entry.path().filename().native()));
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::u16string>{u"Other.tmp", u"Tidy.bin", u"~Profile-0000000.tmp",
                                               u"~Profile-89ABCDEF.tmp", u"~Profile-fresh.tmp"}))
      << "only this program's temporaries (eight hex digits), and only old ones";
}

// Saving under a new name (the CLI's --save-profile) must not rewrite the profile
// that was loaded before.
TEST_F(ProfilesTest, SaveAsLeavesEveryOtherProfileAsItWas) {
  profiles.FillProfileList();
  Create(u"First");
  ChooseA();
  ASSERT_TRUE(profiles.SaveProfile());
  const Bytes first = FileBytes(ProfilePath(u"First"));
  ASSERT_TRUE(profiles.LoadProfile(u"First"));
  model.Lists().lstFoldersAndSub.push_back(Native(u"/new/"));
  ASSERT_TRUE(profiles.SaveAs(u"Third"));
  EXPECT_EQ(FileBytes(ProfilePath(u"First")), first);
  EXPECT_EQ(profiles.List().current, u"Third");
  EXPECT_EQ(SelectedEntry(), u"Third");
  EXPECT_NE(FileBytes(ProfilePath(u"Third")), first);
  EXPECT_FALSE(profiles.SaveAs(kCreateProfileEntry));
  EXPECT_FALSE(profiles.SaveAs(u""));
}

TEST_F(ProfilesTest, SaveReplacesAnOlderFileCompletely) {
  profiles.FillProfileList();
  Create(u"Grow");
  ChooseA();
  ASSERT_TRUE(profiles.SaveProfile());
  ChooseB();
  ASSERT_TRUE(profiles.SaveProfile());
  EXPECT_EQ(FileBytes(ProfilePath(u"Grow")), BuildProfileStore(model.Lists(), filters).Serialize());
  EXPECT_EQ(test::ListFolder(ProfileFolder()), std::vector<std::u16string>{u"Grow.bin"});
}

}  // namespace
}  // namespace tessaroven
