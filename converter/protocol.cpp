#include "converter/protocol.h"

#include <charconv>
#include <filesystem>

#include "app/named_objects.h"
#include "base/text.h"
#include "base/xfile.h"

namespace kovantrix {
namespace {

using tessaroven::Utf16ToUtf8;

// "-name=value" or "--name=value": the value when `argument` is that option.
std::optional<std::u16string> ValueOf(std::u16string_view argument, std::u16string_view option) {
  if (argument.size() <= option.size() || argument.substr(0, option.size()) != option ||
      argument[option.size()] != u'=')
    return std::nullopt;
  return std::u16string(argument.substr(option.size() + 1));
}

template <typename Number>
std::optional<Number> ParseNumber(std::u16string_view text) {
  const std::string ascii = Utf16ToUtf8(text);
  Number value{};
  const auto [end, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
  if (ascii.empty() || error != std::errc{} || end != ascii.data() + ascii.size()) return std::nullopt;
  return value;
}

std::u16string Quoted(std::u16string_view text) { return u"'" + std::u16string(text) + u"'"; }

}  // namespace

Arguments ParseArguments(const std::vector<std::u16string>& arguments) {
  Arguments parsed;
  for (const std::u16string& argument : arguments) {
    if (auto value = ValueOf(argument, u"-list_to_conv")) {
      parsed.listFile = std::move(*value);
    } else if (auto event = ValueOf(argument, u"-signal_event_got_files")) {
      parsed.eventName = std::move(*event);
    } else if (auto window = ValueOf(argument, u"-centeronwnd")) {
      // Only a hint for placing the window: a bad number is no reason to stop.
      if (auto handle = ParseNumber<std::int64_t>(*window)) parsed.centerOnWindow = *handle;
      else parsed.ignored.push_back(argument);
    } else if (auto profile = ValueOf(argument, u"-additionalprofile")) {
      parsed.profile = std::move(*profile);
    } else if (argument == u"--no-window") {
      parsed.noWindow = true;
    } else if (argument == u"--help" || argument == u"-h") {
      parsed.help = true;
    } else if (argument == u"--version") {
      parsed.version = true;
    } else if (argument == u"--overwrite") {
      parsed.overwrite = true;
    } else if (argument == u"--no-overwrite") {
      parsed.overwrite = false;
    } else if (auto output = ValueOf(argument, u"--output")) {
      if (output->empty()) parsed.usageErrors.push_back(u"--output needs a folder");
      else parsed.outputFolder = std::move(*output);
    } else if (auto format = ValueOf(argument, u"--format")) {
      parsed.format = std::move(*format);
    } else if (auto preset = ValueOf(argument, u"--preset")) {
      parsed.preset = std::move(*preset);
    } else if (auto jobs = ValueOf(argument, u"--jobs")) {
      const auto count = ParseNumber<int>(*jobs);
      if (count && *count >= 1 && *count <= 256) parsed.jobs = *count;
      else parsed.usageErrors.push_back(u"--jobs takes a number from 1 to 256, not " + Quoted(*jobs));
    } else {
      parsed.ignored.push_back(argument);
    }
  }
  if (!parsed.listFile && !parsed.help && !parsed.version)
    parsed.usageErrors.push_back(u"no list of files to convert was given (-list_to_conv=PATH)");
  return parsed;
}

std::vector<std::u16string> ParseListBytes(std::string_view bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                    (static_cast<unsigned char>(bytes[2 * i + 1]) << 8));
  }
  std::u16string_view rest = text;
  if (!rest.empty() && rest.front() == u'\xFEFF') rest.remove_prefix(1);

  std::vector<std::u16string> paths;
  while (!rest.empty()) {
    const std::size_t end = rest.find(u"\r\n");
    const std::u16string_view line = rest.substr(0, end);
    if (!line.empty()) paths.emplace_back(line);
    if (end == std::u16string_view::npos) break;
    rest.remove_prefix(end + 2);
  }
  return paths;
}

ListFile ReadListFile(const std::u16string& path) {
  ListFile list;
  tessaroven::XFile file;
  if (!file.Open(path, tessaroven::GENERIC_READ, tessaroven::OPEN_EXISTING, false)) {
    std::error_code error;
    const bool exists = std::filesystem::exists(std::filesystem::path(tessaroven::ToOsString(path)), error);
    list.error = u"The list of files " + Quoted(path) + (exists ? u" cannot be read." : u" does not exist.");
    return list;
  }
  std::string bytes(static_cast<std::size_t>(file.Size()), '\0');
  const std::uint32_t got = file.Read(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  if (got != bytes.size()) {
    list.error = u"The list of files " + Quoted(path) + u" could not be read to its end.";
    return list;
  }
  list.paths = ParseListBytes(bytes);
  list.read = true;
  return list;
}

SignalResult SignalGotFiles(std::u16string_view eventName, std::u16string& error) {
  tessaroven::NamedEvent event;
  if (!event.Create(eventName)) {
    error = u"The selector's event " + Quoted(eventName) + u" cannot be opened: " + event.Error();
    return SignalResult::kFailed;
  }
  if (!event.ExistedBefore()) {
    error = u"The selector's event " + Quoted(eventName) + u" does not exist; the selector is no longer waiting.";
    return SignalResult::kNoSuchEvent;
  }
  if (!event.Set()) {
    error = u"The selector's event " + Quoted(eventName) + u" cannot be set.";
    return SignalResult::kFailed;
  }
  return SignalResult::kSignalled;
}

Received ReceiveList(const Arguments& arguments) {
  Received received;
  if (!arguments.listFile) {
    received.list.error = u"No list of files was given.";
    return received;
  }
  received.list = ReadListFile(*arguments.listFile);
  if (received.list.read && arguments.eventName) SignalGotFiles(*arguments.eventName, received.signalProblem);
  return received;
}

std::u16string UsageText() {
  return u"Usage: kovantrix -list_to_conv=LIST [-signal_event_got_files=EVENT] [-centeronwnd=WINDOW]\n"
         u"                 [-additionalprofile=PROFILE] [OPTIONS]\n"
         u"Converts the audio files named in LIST (UTF-16LE, one path per line, CR LF).\n"
         u"  --no-window        convert in the terminal, even on a desktop\n"
         u"  --output=FOLDER    write into FOLDER (default: the music folder's \"Converted\")\n"
         u"  --format=NAME      flac, mp3, opus, aac or wav\n"
         u"  --preset=NAME      flac: fast, default, best; mp3: v0, v2, v5, cbr320, cbr128;\n"
         u"                     opus: 64k, 96k, 128k, 192k; aac: 128k, 192k, 256k;\n"
         u"                     wav: source, 16bit, 24bit\n"
         u"  --overwrite        replace files that exist already (--no-overwrite: keep them)\n"
         u"  --jobs=N           convert N files at once (default: one per core)\n"
         u"  --help, --version\n"
         u"Options given here apply to this run; the window's choices are remembered.\n"
         u"Exit codes: 0 every file converted, 1 some failed or were skipped, 2 bad usage.\n";
}

}  // namespace kovantrix
