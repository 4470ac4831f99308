#include "cli/cli_options.h"

#include <charconv>
#include <string_view>

namespace tessaroven::cli {

const char kUsage[] =
    "Usage: tessaroven-cli [options]\n"
    "Selection and filters, applied in the order given:\n"
    "  --folder PATH          tick PATH with its sub-folders\n"
    "  --folder-only PATH     tick PATH without its sub-folders\n"
    "  --exclude-folder PATH  exclude PATH (a folder below a ticked folder)\n"
    "  --file PATH            tick a single file\n"
    "  --exclude-file PATH    untick a single file inside a ticked folder\n"
    "  --exclude-type EXT     exclude an audio type, e.g. .mp3 (repeatable)\n"
    "  --date MODE,DAYS       date filter: MODE 0 modified within DAYS, 1 modified before,\n"
    "                         2 created within, 3 created before; DAYS 0 switches it off\n"
    "  --filter SLOT=VALUE    mark VALUE in metadata slot SLOT (0-7); repeatable\n"
    "  --filter-exclude-all SLOT\n"
    "                         slot SLOT keeps only its marked values\n"
    "  --profile NAME         load profile NAME\n"
    "  --save-profile NAME    save the selection and filters as profile NAME\n"
    "Output:\n"
    "  --list                 print every file that Convert would hand over, one per line,\n"
    "                         in hand-off order\n"
    "  --list-folder PATH     print the audio files of one folder as the file list shows them\n"
    "  --columns A,B,...      with --list or --list-folder: tab-separated columns by name\n"
    "                         (\"Name\", \"Size\", \"Length\", \"Artist\", ...; also \"Path\", \"Folder\")\n"
    "  --json                 with --list or --list-folder: one JSON object per line\n"
    "  --convert              hand the files to the converter, as the window's Convert does\n"
    "  --diagnostics          where settings and data live, the folders offered, and how\n"
    "                         numbers, sizes and durations are worded here\n"
    "  --help, --version\n"
    "Exit codes: 0 done, 1 nothing to convert, 2 bad usage or a step that cannot apply,\n"
    "3 the converter could not be started.\n";

namespace {

struct Known {
  std::string_view name;
  std::optional<StepKind> step;  // nullopt: an output option with a value
};

constexpr Known kWithValue[] = {
    {"--folder", StepKind::Folder},
    {"--folder-only", StepKind::FolderOnly},
    {"--exclude-folder", StepKind::ExcludeFolder},
    {"--file", StepKind::File},
    {"--exclude-file", StepKind::ExcludeFile},
    {"--exclude-type", StepKind::ExcludeType},
    {"--date", StepKind::Date},
    {"--filter", StepKind::Filter},
    {"--filter-exclude-all", StepKind::FilterExcludeAll},
    {"--profile", StepKind::Profile},
    {"--save-profile", StepKind::SaveProfile},
    {"--list-folder", std::nullopt},
    {"--columns", std::nullopt},
};

std::optional<int> ParseSlot(std::string_view text) {
  int slot = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), slot);
  if (error != std::errc() || end != text.data() + text.size() || slot < 0 || slot > 7) return std::nullopt;
  return slot;
}

bool IsDateText(std::string_view text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos) return false;
  int mode = -1;
  long long days = -1;
  const std::string_view modeText = text.substr(0, comma);
  const std::string_view daysText = text.substr(comma + 1);
  const auto m = std::from_chars(modeText.data(), modeText.data() + modeText.size(), mode);
  const auto d = std::from_chars(daysText.data(), daysText.data() + daysText.size(), days);
  return m.ec == std::errc() && m.ptr == modeText.data() + modeText.size() && d.ec == std::errc() &&
         d.ptr == daysText.data() + daysText.size() && mode >= 0 && mode <= 3 && days >= 0 && days <= 36500;
}

std::vector<std::string> SplitColumns(std::string_view text) {
  std::vector<std::string> columns;
  for (std::size_t start = 0;;) {
    const std::size_t comma = text.find(',', start);
    columns.emplace_back(text.substr(start, comma - start));
    if (comma == std::string_view::npos) break;
    start = comma + 1;
  }
  return columns;
}

}  // namespace

ParseResult ParseOptions(const std::vector<std::string>& args) {
  ParseResult result;
  Options& options = result.options;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string_view arg = args[i];
    if (arg == "--help" || arg == "-h") {
      options.help = true;
      continue;
    }
    if (arg == "--version") {
      options.version = true;
      continue;
    }
    if (arg == "--diagnostics") {
      options.diagnostics = true;
      continue;
    }
    if (arg == "--list") {
      options.list = true;
      continue;
    }
    if (arg == "--json") {
      options.json = true;
      continue;
    }
    if (arg == "--convert") {
      options.convert = true;
      continue;
    }
    std::string_view name = arg;
    std::optional<std::string> value;
    if (const std::size_t equals = arg.find('='); arg.starts_with("--") && equals != std::string_view::npos) {
      name = arg.substr(0, equals);
      value = std::string(arg.substr(equals + 1));
    }
    const Known* known = nullptr;
    for (const Known& candidate : kWithValue) {
      if (candidate.name == name) known = &candidate;
    }
    if (known == nullptr) {
      result.error = "unknown option '" + std::string(arg) + "' (see --help)";
      return result;
    }
    if (!value) {
      if (i + 1 >= args.size()) {
        result.error = std::string(name) + " needs a value";
        return result;
      }
      value = args[++i];
    }
    if (value->empty()) {
      result.error = std::string(name) + " needs a value that is not empty";
      return result;
    }
    if (!known->step) {
      if (name == "--list-folder") {
        options.listFolder = *value;
      } else {
        options.columns = SplitColumns(*value);
        for (const std::string& column : options.columns) {
          if (column.empty()) {
            result.error = "--columns has an empty column name";
            return result;
          }
        }
      }
      continue;
    }
    Step step{*known->step, *value};
    if (step.kind == StepKind::Filter) {
      const std::size_t equals = value->find('=');
      const std::optional<int> slot =
          equals == std::string::npos ? std::nullopt : ParseSlot(std::string_view(*value).substr(0, equals));
      if (!slot) {
        result.error = "--filter takes SLOT=VALUE with SLOT 0 to 7, not '" + *value + "'";
        return result;
      }
      step.slot = *slot;
      step.text = value->substr(equals + 1);
    } else if (step.kind == StepKind::FilterExcludeAll) {
      const std::optional<int> slot = ParseSlot(*value);
      if (!slot) {
        result.error = "--filter-exclude-all takes a slot 0 to 7, not '" + *value + "'";
        return result;
      }
      step.slot = *slot;
    } else if (step.kind == StepKind::Date && !IsDateText(*value)) {
      result.error = "--date takes MODE,DAYS with MODE 0 to 3 and DAYS 0 to 36500, not '" + *value + "'";
      return result;
    } else if (step.kind == StepKind::ExcludeType && (*value)[0] != '.') {
      result.error = "--exclude-type takes an extension with its dot, such as .mp3, not '" + *value + "'";
      return result;
    }
    options.steps.push_back(std::move(step));
  }
  if (options.json && !options.list && !options.listFolder) {
    result.error = "--json goes with --list or --list-folder";
  } else if (!options.columns.empty() && !options.list && !options.listFolder) {
    result.error = "--columns goes with --list or --list-folder";
  }
  return result;
}

}  // namespace tessaroven::cli
