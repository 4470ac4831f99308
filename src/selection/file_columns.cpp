#include "selection/file_columns.h"

#include <algorithm>

#include "base/format.h"
#include "base/path.h"
#include "base/text.h"

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
