// Profiles: named snapshots of the selection lists and the filters, kept as "*.bin"
// files in one folder below the application-data folder, and the profile drop-down
// list through which the user switches between them.
//
// A profile stores the five selection lists, the excluded extensions, the eight
// metadata slots (marked keys and exclude-all switch) and the date filter. A profile
// whose name contains " [No File Selections]" carries filters only: loading it leaves
// the current selection alone (its file still holds the lists it was saved with).
// Switching profiles saves the current one first, and the window saves on closing, so
// the user never saves explicitly.
//
// Ownership: the main window (or the CLI) owns one Profiles object next to its
// selection model and filter state. The drop-down list's contents and the current
// profile name live in the ProfileList model here; the window draws the list from it
// and tells Profiles which entry the user picked. The dialogs Profiles needs (the
// new-profile dialog) come through ProfileWindow; the delete question goes through
// UserPrompts. Everything runs on the user-interface thread.
//
// Files: the folder is created with its parents before the first save (it does not
// exist on a fresh system). A save writes the whole file to a temporary file in the
// same folder, flushes it and renames it over the old profile, so a crash or a full
// disk leaves either the old profile or the new one, never a torn file; a failed
// save leaves the old file as it was and tells the user through the file object's
// "File Write Error" prompts. Loading shows no message: a file that cannot be read
// in full loads nothing, a damaged one loads what came before the damage.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "filters/filter_state.h"
#include "selection/profile_store.h"
#include "selection/selection_model.h"

namespace tessaroven {

// The fixed entries of the drop-down list.
inline constexpr std::u16string_view kNoProfileEntry = u"(none selected)";
inline constexpr std::u16string_view kCreateProfileEntry = u"[Create Profile]";
inline constexpr std::u16string_view kDeleteProfileEntry = u"[Delete Profile]";
// A profile whose name contains this keeps the current selection when loaded.
inline constexpr std::u16string_view kFiltersOnlyMarker = u" [No File Selections]";
// Joins the entries of a selection list into one text. A path containing it splits
// into two entries when loaded; nothing is escaped.
inline constexpr std::u16string_view kProfileListSeparator = u"{_{_}_}";
inline constexpr std::u16string_view kProfileExtension = u".bin";
inline constexpr std::u16string_view kDeleteProfileCaption = u"Delete Profile?";

// The profile keys of the five selection lists, in the order they are saved.
inline constexpr std::u16string_view kSelectionListProfileKeys[5] = {
    u"lstFoldersAndSub", u"lstFoldersNoSub", u"lstFoldersExclude", u"lstSingleFiles", u"lstSingleFilesExclude",
};

// "Tessaroven" + separator + "BatchProfiles" + separator below the application-data
// folder ($XDG_DATA_HOME on Linux). Empty when the system names no such folder (a
// Linux account without HOME); nothing is then listed, loaded or saved.
std::u16string ProfileFolder();

// The file of the profile `name`: the profile folder, the name made safe as a file
// name (forbidden characters replaced, the names con, aux, prn and nul given a "_")
// and ".bin". Beyond that, every name Windows would open as a device (con, prn, aux,
// nul, com1 to com9, lpt1 to lpt9, any case, up to the first dot and trailing
// spaces) gets "_" after that part: "COM1" saves as "COM1_.bin", "con.x" as
// "con_.x.bin"; without it such a profile could never be saved on Windows. A name too long for the file system is cut,
// whole characters at a time, so that the name with ".bin" fits one file name of 255 UTF-8 bytes (the limit of Linux
// file systems, and of a Windows folder that lives on one; NTFS alone would take more): the file keeps its extension
// and so stays in the list. Two names that differ only beyond that length share a file. The folder itself is taken as
// the system gives it and is not sanitised again: on Linux a folder name may rightly hold ":" or "\", and altering it
// would save profiles where the list is not read. Empty when ProfileFolder() is.
std::u16string ProfilePath(std::u16string_view name);

// The entries of the profile drop-down list and the current profile.
struct ProfileList {
  // "(none selected)", the profile names sorted with the ASCII case fold,
  // "[Create Profile]", "[Delete Profile]".
  std::vector<std::u16string> entries;
  // The entry the drop-down list shows as chosen.
  std::size_t selected = 0;
  // The current profile; "(none selected)" means none.
  std::u16string current{kNoProfileEntry};

  bool HasCurrentProfile() const { return !current.empty() && current != kNoProfileEntry; }
  // The position of `name` among the entries, if it is one.
  std::optional<std::size_t> IndexOf(std::u16string_view name) const;
};

// The window's side of the profiles.
class ProfileWindow {
 public:
  virtual ~ProfileWindow() = default;
  // Runs the new-profile dialog; the name typed, or nothing when cancelled.
  virtual std::optional<std::u16string> RunNewProfileDialog() = 0;
  // The entries, the chosen entry or the current name changed: redraw the drop-down.
  virtual void ProfileListChanged() = 0;
};

// The record store a save writes for these lists and filters, keys in their fixed
// order: the five lists, "lstExcludedExt", per slot "Filter%d-ExcludeAll" (only when
// the switch is on) and "Filter%d", then "DateFilter".
ProfileStore BuildProfileStore(const SelectionLists& lists, const FilterState& filters);
// Puts a loaded store into effect: with `loadLists`, each of the five lists becomes
// the split of its key's text (a missing key or an empty text gives an empty list),
// without the entries that are empty or not absolute paths: a profile never holds
// relative paths, so such an entry is damage, and handed to the collector it would
// name a folder relative to wherever the program happens to run. The entries left
// out are appended to `skipped` when given;
// the filters take the type, slot and date values, a missing key counting as an
// empty value (nothing excluded, nothing marked, switch off, date filter off), so
// that the filters are always those of the profile and never a mix with the last.
void ApplyProfileStore(const ProfileStore& store, bool loadLists, SelectionLists& lists, FilterState& filters,
                       std::vector<std::u16string>* skipped = nullptr);

// What the last load found, for a caller that reports it (the CLI); the window
// stays silent, as the Part says.
struct ProfileLoadReport {
  std::u16string path;                       // the file read (empty: none was asked for)
  bool read = false;                         // the file was read in full
  std::optional<std::size_t> damageAt;       // the byte offset where its damage begins
  std::vector<std::u16string> skippedPaths;  // list entries left out (empty or not absolute)
};

// The whole file, or nothing when it cannot be opened or fewer bytes arrive than its
// size promised. Silent.
std::optional<std::vector<std::uint8_t>> ReadProfileFile(const std::u16string& path);
// Temporary files of profile saves ("~Profile-XXXXXXXX.tmp") older than this are
// left over from a save that was killed half-way.
inline constexpr std::chrono::hours kStaleProfileTempAge{1};
// Removes such left-over temporary files from `folder` (ending in the separator);
// younger ones and every other file stay. Returns how many went.
std::size_t RemoveStaleProfileTemps(const std::u16string& folder);

// Writes `bytes` as the file `path` through a temporary file in the same folder
// renamed over it (the folder must exist). When `interactive`, failures prompt with
// retry/cancel. False when the file was not replaced; the old file is then intact.
bool WriteProfileFile(const std::u16string& path, const std::vector<std::uint8_t>& bytes, bool interactive);

class Profiles {
 public:
  // All four must outlive the object. `view` is the window's selection view (the
  // one `selection` was built with): a load refills its file list and status line.
  Profiles(SelectionModel& selection, SelectionView& view, FilterState& filters, ProfileWindow& window);
  Profiles(const Profiles&) = delete;
  Profiles& operator=(const Profiles&) = delete;

  const ProfileList& List() const { return list_; }

  // Builds the drop-down list from the "*.bin" files of the profile folder (".bin"
  // case-blind on Windows, exact on Linux; files whose name is only the extension
  // are left out) and makes no profile current.
  void FillProfileList();

  // The user picked entry `index` of the drop-down list: the current profile is
  // saved, then the entry is acted on. "[Create Profile]" asks the window for a name
  // and makes it current (added in sorted place unless the list has it already; its
  // file comes with the next save); cancelled, or a name that is one of the fixed
  // entries or empty, changes nothing. "[Delete Profile]" asks first; on Yes the
  // current profile's file and entry go and the first profile (or, with none left,
  // "(none selected)") is loaded; with no profile current there is nothing to delete
  // and nothing is asked. Any other entry is loaded. Afterwards the chosen entry is
  // always the current profile's, and the window is told.
  void ProfileSelectionChanged(std::size_t index);

  // Writes the current profile, creating the folder when missing. Nothing to do
  // (no profile current) counts as success; false when the file could not be
  // written, after the user has seen the file object's prompts.
  bool SaveProfile();

  // Saves the current selection and filters as the profile `name` and makes it
  // current (its entry added to the list when new). Unlike "[Create Profile]" the
  // profile current before is not saved first: every other profile file stays as
  // it was. False for an empty name or a fixed entry, or when the file could not be
  // written.
  bool SaveAs(std::u16string_view name);

  // Makes `name` current and loads it. Unless the name carries the " [No File
  // Selections]" marker the selection is reset first (without asking), and reset it
  // stays when the file cannot be read. "(none selected)" reads no file: it resets
  // the selection and leaves no profile current. In every case the tree's states are
  // derived afresh and the window refills its file list and status line. Returns
  // whether a file was read.
  bool LoadProfile(std::u16string_view name);
  // What the last load (LoadProfile, a switch or a delete) found.
  const ProfileLoadReport& LastLoad() const { return lastLoad_; }

 private:
  // LoadProfile without telling the window (the callers do, once).
  bool LoadCurrent(std::u16string_view name);
  // Points `selected` at the current profile's entry, adding the entry when missing.
  void SelectCurrentEntry();
  void CreateProfile();
  void DeleteCurrentProfile();

  SelectionModel& selection_;
  SelectionView& view_;
  FilterState& filters_;
  ProfileWindow& window_;
  ProfileList list_;
  ProfileLoadReport lastLoad_;
};

}  // namespace tessaroven
