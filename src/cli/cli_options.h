// The command line of tessaroven-cli, parsed into the steps it asks for.
//
// Selection and filter options are steps applied in the order given, as the
// window's clicks would be; the output options (--list, --list-folder, --columns,
// --json, --convert) say what happens once every step is done. Parsing checks the
// shape of each option only; whether a path exists is the run's business.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessaroven::cli {

enum class StepKind {
  Folder,            // --folder PATH
  FolderOnly,        // --folder-only PATH
  ExcludeFolder,     // --exclude-folder PATH
  File,              // --file PATH
  ExcludeFile,       // --exclude-file PATH
  ExcludeType,       // --exclude-type EXT
  Date,              // --date MODE,DAYS
  Filter,            // --filter SLOT=VALUE
  FilterExcludeAll,  // --filter-exclude-all SLOT
  Profile,           // --profile NAME
  SaveProfile,       // --save-profile NAME
};

struct Step {
  StepKind kind;
  std::string text;  // the argument as given (bytes on Linux, UTF-8 on Windows)
  int slot = -1;     // Filter, FilterExcludeAll
};

struct Options {
  std::vector<Step> steps;
  bool list = false;
  std::optional<std::string> listFolder;
  std::vector<std::string> columns;  // empty: none asked for
  bool json = false;
  bool convert = false;
  bool help = false;
  bool version = false;
  bool diagnostics = false;
};

struct ParseResult {
  Options options;
  std::string error;  // one line; empty when the command line is good
};

// `args` are the arguments after the program name. Options take their value as the
// next argument or after "=" (--folder=PATH).
ParseResult ParseOptions(const std::vector<std::string>& args);

extern const char kUsage[];

}  // namespace tessaroven::cli
