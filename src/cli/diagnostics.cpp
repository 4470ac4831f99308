#include "cli/diagnostics.h"

#include <ctime>
#include <iostream>

#include "base/format.h"
#include "base/known_folders.h"
#include "base/settings.h"
#include "base/temp_file.h"
#include "base/text.h"

namespace tessaroven::cli {

namespace {

std::string Shown(const std::u16string& text) { return text.empty() ? "(none)" : Utf16ToUtf8(text); }

}  // namespace

void PrintDiagnostics() {
  std::cout << "Tessaroven " << kVersion << "\n\n";
  std::cout << "Settings:            " << Shown(SettingsStoreLocation()) << '\n';
  const struct {
    const char* label;
    int id;
  } folders[] = {{"Application data:    ", kFolderAppData},     {"Documents:           ", kFolderDocuments},
                 {"Music:               ", kFolderMyMusic},     {"Videos:              ", kFolderMyVideos},
                 {"Public music:        ", kFolderPublicMusic}, {"Public videos:       ", kFolderPublicVideos}};
  for (const auto& folder : folders) std::cout << folder.label << Shown(GetSpecialFolder(folder.id, u"")) << '\n';
  std::cout << "Temporary files:     " << Shown(TempFolder()) << "\n\n";

  std::cout << "Numbers:             " << Utf16ToUtf8(LocaliseNumber(u"-1234567.89")) << '\n';
  std::cout << "Sizes:               ";
  for (std::int64_t bytes : {std::int64_t{1}, std::int64_t{1035}, std::int64_t{1048575}, std::int64_t{5} << 30})
    std::cout << Utf16ToUtf8(FormatSize(bytes)) << (bytes == (std::int64_t{5} << 30) ? "\n" : ", ");
  std::cout << "Durations:           " << Utf16ToUtf8(FormatDuration(3725250, DurationStyle::kWords)) << "; "
            << Utf16ToUtf8(FormatDuration(3725250, DurationStyle::kClock)) << "; "
            << Utf16ToUtf8(FormatDuration(12345, DurationStyle::kSeconds)) << '\n';
  const std::time_t now = std::time(nullptr);
  const std::tm local = *std::localtime(&now);
  SystemTime time;
  time.hour = static_cast<std::uint16_t>(local.tm_hour);
  time.minute = static_cast<std::uint16_t>(local.tm_min);
  std::cout << "Time of day:         " << Utf16ToUtf8(FormatTime(time)) << '\n';
  // The numbers above read the settings; a store that had to be refused says why.
  if (const std::u16string problem = SettingsStoreProblem(); !problem.empty())
    std::cout << "\nSettings problem:    " << Utf16ToUtf8(problem) << '\n';
}

}  // namespace tessaroven::cli
