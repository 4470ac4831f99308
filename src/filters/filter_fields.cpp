#include "filters/filter_fields.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <system_error>

#include "base/known_folders.h"
#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "base/xfile.h"

namespace tessaroven {

namespace {

constexpr std::u16string_view kSeparator = u"\r\n";
// Far larger than any list of eight tag names; a bigger file is not a field list.
constexpr std::uint64_t kMaxFileBytes = 1 << 20;

bool ReadWholeFile(const std::u16string& path, std::string& bytes) {
  XFile file;
  if (!file.Open(path, GENERIC_READ, OPEN_EXISTING, false)) return false;
  const std::uint64_t size = std::min(file.Size(), kMaxFileBytes);
  bytes.resize(static_cast<std::size_t>(size));
  bytes.resize(file.Read(bytes.data(), static_cast<std::uint32_t>(size)));
  return true;
}

// Written beside the target and renamed over it, so that a crash or a full disk
// never leaves a half-written list for the next start.
void WriteDefaults(const std::u16string& path) {
  std::vector<std::u16string> names(kDefaultFilterFields.begin(), kDefaultFilterFields.end());
  const std::vector<std::uint8_t> bytes = Utf16LeBytes(Join(names, kSeparator), false);
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(ToOsString(FolderOf(path))), error);
  const std::u16string staging = path + u".new";
  {
    XFile file;
    if (!file.Open(staging, GENERIC_WRITE, CREATE_ALWAYS, false)) return;
    if (!file.Write(bytes.data(), static_cast<std::uint32_t>(bytes.size()))) {
      file.Close();
      std::filesystem::remove(std::filesystem::path(ToOsString(staging)), error);
      return;
    }
  }
  std::filesystem::rename(std::filesystem::path(ToOsString(staging)), std::filesystem::path(ToOsString(path)), error);
  if (error) std::filesystem::remove(std::filesystem::path(ToOsString(staging)), error);
}

}  // namespace

std::u16string FilterFieldsFilePath() {
  return GetSpecialFolder(kFolderAppData) + u"Tessaroven" + kPathSeparator + u"BatchConverterFilters.txt";
}

std::vector<std::u16string> ParseFilterFields(std::string_view bytes) {
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    bytes.remove_prefix(2);
  }
  std::u16string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit =
        static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8));
    if (unit == 0) break;
    text.push_back(unit);
  }
  return Split(text, kSeparator);
}

FilterFieldNames ToSlotFields(const std::vector<std::u16string>& names) {
  FilterFieldNames fields;
  std::copy_n(names.begin(), std::min(names.size(), fields.size()), fields.begin());
  return fields;
}

FilterFieldNames LoadFilterFields(const std::u16string& path) {
  std::string bytes;
  std::vector<std::u16string> names;
  const bool read = ReadWholeFile(path, bytes);
  if (read) names = ParseFilterFields(bytes);
  const bool anyName = std::any_of(names.begin(), names.end(), [](const auto& name) { return !name.empty(); });
  if (!anyName) {
    names.assign(kDefaultFilterFields.begin(), kDefaultFilterFields.end());
    // A file that exists but cannot be opened (no permission, locked) is the user's
    // and stays as it is; only a missing or empty list is replaced.
    std::error_code error;
    if (read || !std::filesystem::exists(std::filesystem::path(ToOsString(path)), error)) WriteDefaults(path);
  }
  return ToSlotFields(names);
}

FilterFieldNames LoadFilterFields() { return LoadFilterFields(FilterFieldsFilePath()); }

}  // namespace tessaroven
