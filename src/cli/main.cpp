// tessaroven-cli: the selector's engine without a window.
#include <clocale>
#include <ctime>
#include <iostream>
#include <string>
#include <string_view>

#include "base/format.h"
#include "base/settings.h"
#include "base/known_folders.h"
#include "base/temp_file.h"
#include "base/text.h"
#include "cli/terminal_prompts.h"

namespace tessaroven::cli {
namespace {

constexpr std::string_view kVersion = "0.1.0";

constexpr std::string_view kUsage =
    "Usage: tessaroven-cli [options]\n"
    "  --diagnostics   show where settings and data live, the folders offered and\n"
    "                  how numbers, sizes and durations are worded here\n"
    "  --help          show this text\n"
    "  --version       show the version\n";

std::string Shown(const std::u16string& text) { return text.empty() ? "(none)" : Utf16ToUtf8(text); }

void PrintDiagnostics() {
  std::cout << "Tessaroven " << kVersion << "\n\n";
  std::cout << "Settings:            " << Shown(SettingsStoreLocation()) << '\n';
  const struct {
    const char* label;
    int id;
  } folders[] = {{"Application data:    ", kFolderAppData},    {"Documents:           ", kFolderDocuments},
                 {"Music:               ", kFolderMyMusic},    {"Videos:              ", kFolderMyVideos},
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
}

}  // namespace

int Main(int argc, char** argv) {
  TerminalPrompts prompts;
  InstallUserPrompts(&prompts);
  SetDefaultSettingsRoot(SettingsRoot::CurrentUser);
  SetDefaultSettingsKeyPath(kDefaultSettingsKeyPath);

  bool diagnostics = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      std::cout << kUsage;
      return 0;
    }
    if (arg == "--version") {
      std::cout << "tessaroven-cli " << kVersion << '\n';
      return 0;
    }
    if (arg == "--diagnostics") {
      diagnostics = true;
      continue;
    }
    std::cerr << "tessaroven-cli: unknown option '" << arg << "' (see --help)\n";
    return 2;
  }
  if (!diagnostics) {
    std::cerr << kUsage;
    return 2;
  }
  PrintDiagnostics();
  InstallUserPrompts(nullptr);
  return 0;
}

}  // namespace tessaroven::cli

int main(int argc, char** argv) {
  // The user's regional settings back every number the program words.
  std::setlocale(LC_ALL, "");
  return tessaroven::cli::Main(argc, argv);
}
