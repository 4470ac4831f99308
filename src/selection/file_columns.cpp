#include "selection/file_columns.h"

#include <algorithm>

#include "base/format.h"
#include "base/path.h"
#include "base/text.h"
#include "decode/decoder.h"
#include "decode/plugin_folder.h"

namespace tessaroven {

// Per platform: the local calendar time of a file time.
bool LocalTimeOf(std::uint64_t fileTime, SystemTime& local);

const std::vector<std::u16string_view> kFileAndPropertyColumns = {
    u"Name",     u"Size",     u"Type",   u"Date Modified", u"Date Created", u"Date Accessed",
    u"Bit Rate", u"Channels", u"Length", u"Sample Rate",   u"Sample Size",  u"Compression"};

const std::vector<std::u16string_view> kTagColumns = {u"Artist",
                                                      u"Title",
                                                      u"Album",
                                                      u"Track",
                                                      u"Year",
                                                      u"Genre",
                                                      u"Album Artist",
                                                      u"Album Artist - Album - Disc - Track",
                                                      u"Album - Disc - Track",
                                                      u"Band",
                                                      u"Tempo",
                                                      u"Comment",
                                                      u"Compilation",
                                                      u"Composer",
                                                      u"Conductor",
                                                      u"Disc",
                                                      u"Encoded by",
                                                      u"Label",
                                                      u"Last Played",
                                                      u"Mood",
                                                      u"Playcount",
                                                      u"Rating",
                                                      u"Style",
                                                      u"AccurateRipResult",
                                                      u"Replaygain_Track_Gain",
                                                      u"Replaygain_Track_Peak",
                                                      u"Replaygain_Album_Gain",
                                                      u"Replaygain_Album_Peak"};

const std::vector<std::u16string_view> kDefaultMainColumns = {
    u"Name",   u"Size",    u"Type",  u"Date Modified",
    u"Artist", u"Title",   u"Genre", u"Album Artist - Album - Disc - Track",
    u"Length", u"Bit Rate"};

namespace {

// The columns the directory entry answers; matched exactly, as the list matches
// its column names.
constexpr std::u16string_view kEntryColumns[] = {u"Name", u"Folder",        u"Path",         u"Size",
                                                 u"Type", u"Date Modified", u"Date Created", u"Date Accessed"};

std::u16string TwoDigits(int value) {
  std::u16string text = FormatInteger(value);
  return text.size() < 2 ? u"0" + text : text;
}

}  // namespace

std::vector<std::u16string> ExtendedPropertyColumns() {
  std::vector<std::u16string> names;
  clQzDecoder decoder;
  for (const std::u16string& library : ListPluginLibraries(PluginFolder())) {
    // LoadFor releases the previous library first, so only one is loaded at a time.
    if (!decoder.LoadFor(library, kNotUsingExtension)) continue;
    TsvCreateBlock block{};
    if (!decoder.CreateInstance(block)) continue;
    for (std::u16string& name : PropertyElementsOf(decoder)) names.push_back(std::move(name));
  }
  decoder.Unload();
  return names;
}

std::vector<std::u16string> KnownColumnNames() {
  std::vector<std::u16string> names;
  for (const auto* group : {&kFileAndPropertyColumns, &kTagColumns})
    for (const std::u16string_view name : *group) names.emplace_back(name);
  names.emplace_back(u"Path");
  names.emplace_back(u"Folder");
  for (std::u16string& name : ExtendedPropertyColumns()) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(std::move(name));
  }
  return names;
}

std::optional<std::u16string> KnownColumnName(std::u16string_view name) {
  for (const auto* group : {&kFileAndPropertyColumns, &kTagColumns}) {
    for (const std::u16string_view known : *group)
      if (AsciiFoldEquals(known, name)) return std::u16string(known);
  }
  for (const std::u16string_view known : {std::u16string_view(u"Path"), std::u16string_view(u"Folder")})
    if (AsciiFoldEquals(known, name)) return std::u16string(known);
  for (std::u16string& known : ExtendedPropertyColumns())
    if (AsciiFoldEquals(known, name)) return std::move(known);
  return std::nullopt;
}

bool ColumnNeedsFileInfo(std::u16string_view column) {
  return std::find(std::begin(kEntryColumns), std::end(kEntryColumns), column) == std::end(kEntryColumns);
}

std::u16string FormatFileDate(std::uint64_t fileTime) {
  SystemTime local;
  if (fileTime == 0 || !LocalTimeOf(fileTime, local)) return {};
  // Sortable and the same on every machine; the 12-hour time of day the program
  // words elsewhere would need an AM/PM it does not have.
  return FormatInteger(local.year) + u"-" + TwoDigits(local.month) + u"-" + TwoDigits(local.day) + u" " +
         TwoDigits(local.hour) + u":" + TwoDigits(local.minute);
}

std::u16string ColumnText(std::u16string_view column, const FileEntry& entry, const FileInfo* info,
                          const TypeFilter& types) {
  if (column == u"Name") return std::u16string(FileNameOf(entry.path));
  if (column == u"Folder") return std::u16string(FolderOf(entry.path));
  if (column == u"Path") return entry.path;
  if (column == u"Size") return FormatSize(static_cast<std::int64_t>(entry.size));
  if (column == u"Date Modified") return FormatFileDate(entry.modified);
  if (column == u"Date Created") return FormatFileDate(entry.created);
  if (column == u"Date Accessed") return FormatFileDate(entry.accessed);
  if (column == u"Type") {
    const std::u16string_view extension = ExtensionOf(entry.path);
    const auto& records = types.Records();
    for (std::size_t i = 0; i < records.Count(); ++i) {
      if (AsciiFoldEquals(records[i].extension, extension) && !records[i].description.empty())
        return records[i].description;
    }
    return std::u16string(extension);
  }
  if (info == nullptr || !info->opened) return {};
  return TagValue(info->tags, column);
}

}  // namespace tessaroven
