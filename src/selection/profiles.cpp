#include "selection/profiles.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <system_error>

#include "base/known_folders.h"
#include "base/path.h"
#include "base/platform.h"
#include "base/temp_file.h"
#include "base/text.h"
#include "base/user_prompts.h"
#include "base/xfile.h"
#include "selection/folder_enumeration.h"
#include "selection/profile_files.h"

namespace tessaroven {
namespace {

// The longest file name the file systems take. NTFS counts 255 UTF-16 units, but
// ext4 and the like count 255 bytes, and a Windows profile folder may well live on
// such a disk (a roaming profile on a Samba server, Wine): counting UTF-8 bytes fits
// both, at the cost of cutting long non-ASCII names earlier than NTFS would.
constexpr std::size_t kMaxFileNameBytes = 255;

// Fresh names for the temporary file; a clash with another save's file only costs
// another try.
constexpr int kTempNameAttempts = 8;

bool FileNameFits(std::u16string_view stem) {
  return Utf16ToUtf8(stem).size() + kProfileExtension.size() <= kMaxFileNameBytes;
}

// Cuts whole characters from the end until the stem and the extension make one
// valid file name. A surrogate pair goes as one.
void FitFileName(std::u16string& stem) {
  while (!stem.empty() && !FileNameFits(stem)) {
    const bool pair = stem.size() >= 2 && stem.back() >= 0xDC00 && stem.back() <= 0xDFFF &&
                      stem[stem.size() - 2] >= 0xD800 && stem[stem.size() - 2] <= 0xDBFF;
    stem.resize(stem.size() - (pair ? 2 : 1));
  }
}

// Windows opens a file whose name, up to its first dot and without trailing spaces,
// is a device name as that device: "COM1.bin" is the serial port and "con.x.bin" the
// console. The file-name sanitiser knows only the bare con, aux, prn and nul; a
// profile named COM1 or con.x would never save. Such a name gets "_" after the
// device part, on every platform, so a profile folder means the same on both.
void AvoidDeviceName(std::u16string& stem) {
  static constexpr std::u16string_view kDevices[] = {
      u"con",  u"prn",  u"aux",  u"nul",  u"com1", u"com2", u"com3", u"com4", u"com5", u"com6", u"com7",
      u"com8", u"com9", u"lpt1", u"lpt2", u"lpt3", u"lpt4", u"lpt5", u"lpt6", u"lpt7", u"lpt8", u"lpt9"};
  std::size_t end = std::min(stem.find(u'.'), stem.size());
  while (end > 0 && stem[end - 1] == u' ') --end;
  const std::u16string base = AsciiFold(std::u16string_view(stem).substr(0, end));
  if (std::find(std::begin(kDevices), std::end(kDevices), base) != std::end(kDevices)) stem.insert(end, u"_");
}

// The order of the names in the list; names equal under the fold still get a fixed
// order, so the list does not depend on the order the folder was read in.
bool ProfileNameLess(std::u16string_view a, std::u16string_view b) {
  const int folded = AsciiFoldCompare(a, b);
  return folded != 0 ? folded < 0 : a < b;
}

bool HasProfileExtension(std::u16string_view fileName) {
  if (fileName.size() <= kProfileExtension.size()) return false;
  const std::u16string_view tail = fileName.substr(fileName.size() - kProfileExtension.size());
  if constexpr (kPathsFoldCase) {
    return AsciiFoldEquals(tail, kProfileExtension);
  } else {
    return tail == kProfileExtension;
  }
}

bool IsFixedEntry(std::u16string_view name) {
  return name == kNoProfileEntry || name == kCreateProfileEntry || name == kDeleteProfileEntry;
}

// With the long-path prefix where Windows needs it: a profile name may be 251
// characters long on its own.
std::filesystem::path FsPath(const std::u16string& path) {
  return std::filesystem::path(ToOsString(MakeLongPath(path)));
}

constexpr std::u16string_view kTempPrefix = u"~Profile-";
constexpr std::u16string_view kTempSuffix = u".tmp";
constexpr std::size_t kTempHexDigits = 8;

std::u16string TempNameIn(std::u16string_view folder) {
  char hex[kTempHexDigits + 1];
  std::snprintf(hex, sizeof(hex), "%08X", static_cast<unsigned>(SharedRandomNumber(0xFFFFFFFFu)));
  return std::u16string(folder) + std::u16string(kTempPrefix) + AsciiToUtf16(hex) + std::u16string(kTempSuffix);
}

// A name TempNameIn makes: "~Profile-", eight upper-case hex digits, ".tmp".
bool IsProfileTempName(std::u16string_view name) {
  if (name.size() != kTempPrefix.size() + kTempHexDigits + kTempSuffix.size() || !name.starts_with(kTempPrefix) ||
      !name.ends_with(kTempSuffix))
    return false;
  const std::u16string_view hex = name.substr(kTempPrefix.size(), kTempHexDigits);
  return std::all_of(hex.begin(), hex.end(),
                     [](char16_t c) { return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F'); });
}

}  // namespace

std::u16string ProfileFolder() {
  const std::u16string appData = GetSpecialFolder(kFolderAppData, std::u16string_view());
  if (appData.empty()) return {};
  return appData + u"Tessaroven" + kPathSeparator + u"BatchProfiles" + kPathSeparator;
}

std::u16string ProfilePath(std::u16string_view name) {
  const std::u16string folder = ProfileFolder();
  if (folder.empty()) return {};
  std::u16string stem = MakeValidFileName(name);
  AvoidDeviceName(stem);
  FitFileName(stem);
  return folder + stem + std::u16string(kProfileExtension);
}

std::optional<std::size_t> ProfileList::IndexOf(std::u16string_view name) const {
  const auto found = std::find(entries.begin(), entries.end(), name);
  if (found == entries.end()) return std::nullopt;
  return static_cast<std::size_t>(found - entries.begin());
}

ProfileStore BuildProfileStore(const SelectionLists& lists, const FilterState& filters) {
  ProfileStore store;
  const auto inOrder = lists.SelectionListsInOrder();
  for (std::size_t i = 0; i < inOrder.size(); ++i) {
    store.SetText(kSelectionListProfileKeys[i], Join(*inOrder[i], kProfileListSeparator));
  }
  store.SetText(kExcludedExtensionsProfileKey, filters.Types().ExcludedExtensionsText());
  for (std::size_t slot = 0; slot < kMetadataSlotCount; ++slot) {
    const clFilters& filter = filters.Metadata().Slot(slot);
    if (filter.ExcludeAll()) store.SetText(SlotExcludeAllProfileKey(slot), filter.ExcludeAllText());
    const std::vector<std::uint8_t> marked = filter.MarkedKeysBytes();
    store.SetData(SlotProfileKey(slot), marked);
  }
  store.SetText(kDateFilterProfileKey, filters.Date().DateFilterText());
  return store;
}

void ApplyProfileStore(const ProfileStore& store, bool loadLists, SelectionLists& lists, FilterState& filters,
                       std::vector<std::u16string>* skipped) {
  if (loadLists) {
    const auto inOrder = lists.SelectionListsInOrder();
    for (std::size_t i = 0; i < inOrder.size(); ++i) {
      PathList& list = *inOrder[i];
      list = Split(store.Text(kSelectionListProfileKeys[i]), kProfileListSeparator);
      std::erase_if(list, [&](const std::u16string& entry) {
        if (IsAbsolutePath(entry)) return false;
        if (skipped != nullptr) skipped->push_back(entry);
        return true;
      });
    }
  }
  filters.Types().ApplyExcludedExtensionsText(store.Text(kExcludedExtensionsProfileKey));
  for (std::size_t slot = 0; slot < kMetadataSlotCount; ++slot) {
    clFilters& filter = filters.Metadata().Slot(slot);
    filter.SetExcludeAll(store.Contains(SlotExcludeAllProfileKey(slot)));
    const std::vector<std::uint8_t> marked = store.Data(SlotProfileKey(slot));
    filter.SetMarkedKeys(marked);
  }
  filters.Date().SetDateFilterText(store.Text(kDateFilterProfileKey));
}

std::optional<std::vector<std::uint8_t>> ReadProfileFile(const std::u16string& path) {
  XFile file;
  if (path.empty() || !file.Open(path, GENERIC_READ, OPEN_EXISTING, false)) return std::nullopt;
  const std::uint64_t size = file.Size();
  // Beyond the format's signed 32-bit lengths it cannot be a profile.
  if (size > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) return std::nullopt;
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  if (size == 0) return bytes;
  const auto count = static_cast<std::uint32_t>(size);
  if (file.Read(bytes.data(), count) != count) return std::nullopt;
  return bytes;
}

std::size_t RemoveStaleProfileTemps(const std::u16string& folder) {
  if (folder.empty()) return 0;
  std::vector<std::u16string> stale;
  {
    FolderEnumeration entries(folder);
    while (entries.Next()) {
      if (entries.IsFolder() || !IsProfileTempName(entries.Name())) continue;
      stale.push_back(folder + std::u16string(entries.Name()));
    }
  }
  std::size_t removed = 0;
  const auto now = std::filesystem::file_time_type::clock::now();
  for (const std::u16string& path : stale) {
    std::error_code error;
    const auto written = std::filesystem::last_write_time(FsPath(path), error);
    // A younger one may belong to a save running in another window right now.
    if (error || now - written < kStaleProfileTempAge) continue;
    if (std::filesystem::remove(FsPath(path), error)) ++removed;
  }
  return removed;
}

bool WriteProfileFile(const std::u16string& path, const std::vector<std::uint8_t>& bytes, bool interactive) {
  if (path.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max()) return false;
  const std::u16string_view folder = FolderOf(path);
  XFile temp;
  std::u16string tempPath;
  for (int attempt = 0; attempt < kTempNameAttempts && !temp.IsOpen(); ++attempt) {
    tempPath = TempNameIn(folder);
    // Only the last try asks the user: earlier failures may be name clashes.
    temp.Open(tempPath, GENERIC_WRITE, CREATE_NEW, interactive && attempt == kTempNameAttempts - 1);
  }
  if (!temp.IsOpen()) return false;

  bool ok = temp.Write(bytes.data(), static_cast<std::uint32_t>(bytes.size())) && FlushProfileFile(temp);
  temp.Close();
  while (ok && !ReplaceProfileFile(tempPath, path)) {
    ok = interactive && ShowPrompt(u"Unable to write to '" + path + u"'", kFileWriteErrorCaption,
                                   kPromptRetryCancel | kPromptIconInformation) == kAnswerRetry;
  }
  if (ok) return true;
  std::error_code error;
  std::filesystem::remove(FsPath(tempPath), error);
  return false;
}

Profiles::Profiles(SelectionModel& selection, SelectionView& view, FilterState& filters, ProfileWindow& window)
    : selection_(selection), view_(view), filters_(filters), window_(window) {
  list_.entries = {std::u16string(kNoProfileEntry), std::u16string(kCreateProfileEntry),
                   std::u16string(kDeleteProfileEntry)};
}

void Profiles::FillProfileList() {
  std::vector<std::u16string> names;
  const std::u16string folder = ProfileFolder();
  if (!folder.empty()) {
    FolderEnumeration entries(folder);
    while (entries.Next()) {
      if (entries.IsFolder() || !HasProfileExtension(entries.Name())) continue;
      names.emplace_back(entries.Name().substr(0, entries.Name().size() - kProfileExtension.size()));
    }
  }
  std::sort(names.begin(), names.end(), ProfileNameLess);

  list_.entries.clear();
  list_.entries.emplace_back(kNoProfileEntry);
  for (auto& name : names) list_.entries.push_back(std::move(name));
  list_.entries.emplace_back(kCreateProfileEntry);
  list_.entries.emplace_back(kDeleteProfileEntry);
  list_.current = kNoProfileEntry;
  list_.selected = 0;
  window_.ProfileListChanged();
}

void Profiles::ProfileSelectionChanged(std::size_t index) {
  if (index < list_.entries.size()) {
    SaveProfile();
    const std::u16string entry = list_.entries[index];
    if (entry == kCreateProfileEntry) {
      CreateProfile();
    } else if (entry == kDeleteProfileEntry) {
      DeleteCurrentProfile();
    } else {
      LoadCurrent(entry);
    }
  }
  SelectCurrentEntry();
  window_.ProfileListChanged();
}

bool Profiles::SaveProfile() {
  if (!list_.HasCurrentProfile()) return true;
  const std::u16string path = ProfilePath(list_.current);
  if (path.empty()) return false;
  // A fresh system has no profile folder yet; the first save makes it.
  std::error_code error;
  std::filesystem::create_directories(FsPath(std::u16string(FolderOf(path))), error);
  // A save killed half-way leaves its temporary file behind; the next save clears
  // them away.
  RemoveStaleProfileTemps(std::u16string(FolderOf(path)));
  const std::vector<std::uint8_t> bytes = BuildProfileStore(selection_.Lists(), filters_).Serialize();
  if (bytes.empty()) return false;
  return WriteProfileFile(path, bytes, true);
}

bool Profiles::SaveAs(std::u16string_view requested) {
  const std::u16string name(requested);
  if (name.empty() || IsFixedEntry(name)) return false;
  list_.current = name;
  SelectCurrentEntry();
  window_.ProfileListChanged();
  return SaveProfile();
}

bool Profiles::LoadProfile(std::u16string_view name) {
  const bool read = LoadCurrent(name);
  SelectCurrentEntry();
  window_.ProfileListChanged();
  return read;
}

bool Profiles::LoadCurrent(std::u16string_view requested) {
  // A copy: the caller's view may point into the list this changes.
  const std::u16string name(requested);
  list_.current = name.empty() ? std::u16string(kNoProfileEntry) : name;
  const bool loadLists = name.find(kFiltersOnlyMarker) == std::u16string_view::npos;
  if (loadLists) selection_.ClearSelections();
  lastLoad_ = ProfileLoadReport{};
  if (list_.HasCurrentProfile()) {
    lastLoad_.path = ProfilePath(list_.current);
    if (const auto bytes = ReadProfileFile(lastLoad_.path)) {
      const ProfileStore store = ProfileStore::Parse(*bytes, &lastLoad_.damageAt);
      ApplyProfileStore(store, loadLists, selection_.Lists(), filters_, &lastLoad_.skippedPaths);
      lastLoad_.read = true;
    }
  }
  const bool read = lastLoad_.read;
  selection_.InitialStatesForLoadedNodes();
  view_.RefillFileList();
  view_.UpdateStatusLine();
  return read;
}

void Profiles::SelectCurrentEntry() {
  std::optional<std::size_t> index = list_.IndexOf(list_.current);
  if (!index && list_.HasCurrentProfile()) {
    // A name that differs from a listed one but names the same file (case on
    // Windows, a character the file name replaces) is that profile.
    const std::u16string path = ProfilePath(list_.current);
    for (std::size_t i = 1; i + 2 < list_.entries.size(); ++i) {
      if (!path.empty() && SamePath(ProfilePath(list_.entries[i]), path)) {
        list_.current = list_.entries[i];
        index = i;
        break;
      }
    }
  }
  if (!index && list_.HasCurrentProfile()) {
    // The current profile is always in the list: a new one, or one loaded by name,
    // goes where the sorted list has room for it (between the fixed entries).
    const auto first = list_.entries.begin() + 1;
    const auto last = list_.entries.end() - 2;
    const auto at = std::lower_bound(first, last, list_.current, [](const std::u16string& a, const std::u16string& b) {
      return ProfileNameLess(a, b);
    });
    index = static_cast<std::size_t>(at - list_.entries.begin());
    list_.entries.insert(at, list_.current);
  }
  list_.selected = index.value_or(0);
}

void Profiles::CreateProfile() {
  const std::optional<std::u16string> name = window_.RunNewProfileDialog();
  if (!name || name->empty() || IsFixedEntry(*name)) return;
  // Made current without loading: the selection and filters of the moment become
  // the new profile's at the next save.
  list_.current = *name;
}

void Profiles::DeleteCurrentProfile() {
  if (!list_.HasCurrentProfile()) return;
  const int answer = ShowPrompt(u"Delete profile '" + list_.current + u"'?", kDeleteProfileCaption,
                                kPromptYesNo | kPromptIconQuestion);
  if (answer != kAnswerYes) return;
  std::error_code error;
  std::filesystem::remove(FsPath(ProfilePath(list_.current)), error);
  if (const auto index = list_.IndexOf(list_.current)) {
    list_.entries.erase(list_.entries.begin() + static_cast<std::ptrdiff_t>(*index));
  }
  const std::size_t next = list_.entries.size() >= 4 ? 1 : 0;
  LoadCurrent(std::u16string(list_.entries[next]));
}

}  // namespace tessaroven
