#include "cli/cli_run.h"

#include <chrono>
#include <filesystem>
#include <iostream>
#include <optional>
#include <thread>

#include "base/path.h"
#include "base/settings.h"
#include "base/text.h"
#include "cli/cli_options.h"
#include "cli/cli_output.h"
#include "cli/cli_selection.h"
#include "cli/diagnostics.h"
#include "cli/terminal.h"
#include "cli/terminal_prompts.h"
#include "decode/file_info.h"
#include "filters/file_times.h"
#include "filters/filter_state.h"
#include "selection/conversion.h"
#include "selection/file_columns.h"
#include "selection/folder_scanning.h"
#include "selection/profiles.h"

namespace tessaroven::cli {

namespace {

namespace fs = std::filesystem;

constexpr std::u16string_view kNothingToConvert = u"No audio files selected for conversion";

// A bad command line: one line on stderr, exit code 2.
struct UsageError {
  std::string message;
};

std::u16string Text(const std::string& argument) { return Utf8ToUtf16(argument); }

enum class PathKind { Folder, File };

// Absolute, "." and ".." resolved by name (links are not followed), folders with
// their separator; the path must exist as that kind.
std::u16string UsablePath(const std::string& argument, PathKind kind, std::string_view option) {
  std::error_code error;
  const fs::path given(ToOsString(Text(argument)));
  fs::path absolute = fs::absolute(given, error).lexically_normal();
  if (error) throw UsageError{std::string(option) + ": cannot make '" + argument + "' absolute"};
  const bool isFolder = fs::is_directory(absolute, error);
  if (kind == PathKind::Folder && !isFolder) throw UsageError{std::string(option) + ": no such folder: " + argument};
  if (kind == PathKind::File && (isFolder || !fs::exists(absolute, error)))
    throw UsageError{std::string(option) + ": no such file: " + argument};
  std::u16string path = FromOsString(absolute.native());
  if (kind == PathKind::Folder) path = WithTrailingSeparator(path);
  return path;
}

// Paths the walk could not take, one line each on stderr.
void ReportTooLong(const std::vector<std::u16string>& paths) {
  for (const std::u16string& path : paths)
    WriteErr("tessaroven-cli: left out, the path is too long for the system: " + OutputText(path) + "\n");
}

// The progress of a long collection, on stderr when it is a terminal.
class TerminalCollectUi : public CollectUi {
 public:
  void ReportPathsTooLong(const std::vector<std::u16string>& paths) override { ReportTooLong(paths); }
  void SetBusy(bool) override {}
  void ShowProgress(const CollectProgress& progress, XEvent&, const XEvent& finished) override {
    if (!StderrIsTerminal()) {
      finished.Wait(std::chrono::milliseconds(-1));
      return;
    }
    std::uint64_t shown = 0;
    std::size_t width = 0;
    while (!finished.Wait(std::chrono::milliseconds(100))) {
      if (progress.Generation() == shown) continue;
      shown = progress.Generation();
      const std::string text = Utf16ToUtf8(progress.Text());
      WriteErr(std::string("\r").append(text).append(width > text.size() ? width - text.size() : 0, ' '));
      width = text.size();
    }
    if (width > 0) WriteErr(std::string("\r").append(width, ' ').append("\r"));
  }
};

// The command line's side of profiles: there is no dialog (--save-profile names
// the profile) and no drop-down list to redraw.
class CliProfileWindow : public ProfileWindow {
 public:
  std::optional<std::u16string> RunNewProfileDialog() override { return std::nullopt; }
  void ProfileListChanged() override {}
};

class Run : private ConversionHost {
 public:
  Run() : profiles_(selection_.Model(), selection_.View(), *filters_, profileWindow_) {}
  // Checks --columns against the names the list knows (exit 2 naming them all) and
  // puts each in its own spelling.
  static std::vector<std::u16string> CheckedColumns(const std::vector<std::string>& given);
  int Execute(const Options& options);

 private:
  void Apply(const Step& step);
  FileEntry EntryFor(const std::u16string& path) const;
  std::vector<std::u16string> Row(const FileEntry& entry, const std::vector<std::u16string>& columns);
  void Print(const std::vector<FileEntry>& entries, std::vector<std::u16string> columns, bool json);
  void SaveProfileAs(const std::u16string& name);
  int ConvertFiles();

  // ConversionHost: no window to hide; the terminal is told instead.
  void SetBusy(bool busy) override { progressUi_.SetBusy(busy); }
  void ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) override {
    progressUi_.ShowProgress(progress, cancel, finished);
  }
  void ReportPathsTooLong(const std::vector<std::u16string>& paths) override { ReportTooLong(paths); }
  void StopMetadataReader() override {}
  const SelectionLists& Lists() const override { return selection_.Lists(); }
  FilterState& Filters() override { return *filters_; }
  clQzDecoder& Decoder() override { return decoder_; }
  std::int64_t WindowHandle() const override { return 0; }
  std::u16string ProfileBoxText() const override { return profiles_.List().current; }
  NamedEvent* AcceptEvent() override { return nullptr; }
  void HideWindow() override { WriteErr("tessaroven-cli: the converter has the list; waiting for it to end\n"); }
  void ShowWindow() override {}
  void RefreshTree() override {}

  std::optional<FilterState> filters_{std::in_place};
  CliSelection selection_{&*filters_};
  clQzDecoder decoder_;
  TerminalCollectUi progressUi_;
  CliProfileWindow profileWindow_;
  Profiles profiles_;
};

void Run::SaveProfileAs(const std::u16string& name) {
  if (name.empty() || name == kNoProfileEntry || name == kCreateProfileEntry || name == kDeleteProfileEntry)
    throw UsageError{"--save-profile: '" + Utf16ToUtf8(name) + "' is not a profile name"};
  // Saved under its name alone: the profile loaded before (--profile) keeps its
  // file as it was, unlike the window's switch, which saves the current one first.
  if (!profiles_.SaveAs(name)) throw UsageError{"--save-profile: cannot write " + Utf16ToUtf8(ProfilePath(name))};
}

int Run::ConvertFiles() {
  const std::u16string converter = ConverterPath();
  std::error_code error;
  const bool installed = fs::exists(fs::path(ToOsString(converter)), error);
  switch (Convert(*this)) {
    case ConversionResult::kNothingGathered:
      return kExitNothingToConvert;
    case ConversionResult::kCancelled:
      WriteErr("tessaroven-cli: --convert: the collection was cancelled; nothing was handed over\n");
      return kExitHandOffFailed;
    case ConversionResult::kConverterNotStarted:
      // The window stays silent here; a script deserves the reason.
      WriteErr(installed
                   ? "tessaroven-cli: --convert: the converter could not be started (" + OutputText(converter) + ")\n"
                   : "tessaroven-cli: --convert: no converter is installed beside the program (" +
                         OutputText(converter) + ")\n");
      return kExitHandOffFailed;
    case ConversionResult::kConverterEnded:
      break;
  }
  return kExitDone;
}

std::vector<std::u16string> Run::CheckedColumns(const std::vector<std::string>& given) {
  std::vector<std::u16string> columns;
  for (const std::string& column : given) {
    std::optional<std::u16string> known = KnownColumnName(Text(column));
    if (!known) {
      std::string names;
      for (const std::u16string& name : KnownColumnNames()) names += (names.empty() ? "" : ", ") + Utf16ToUtf8(name);
      throw UsageError{"--columns: no column is named '" + column + "'; the columns are: " + names};
    }
    columns.push_back(std::move(*known));
  }
  return columns;
}

void Run::Apply(const Step& step) {
  switch (step.kind) {
    case StepKind::Folder:
    case StepKind::FolderOnly: {
      const char* option = step.kind == StepKind::Folder ? "--folder" : "--folder-only";
      if (!selection_.TickFolder(UsablePath(step.text, PathKind::Folder, option), step.kind == StepKind::Folder))
        throw UsageError{std::string(option) + " " + step.text + ": the folder cannot be ticked"};
      break;
    }
    case StepKind::ExcludeFolder:
      switch (selection_.ExcludeFolder(UsablePath(step.text, PathKind::Folder, "--exclude-folder"))) {
        case ExcludeOutcome::kExcluded:
          break;
        case ExcludeOutcome::kNotInside:
          throw UsageError{"--exclude-folder " + step.text +
                           ": not inside a folder ticked with its sub-folders; nothing changed"};
        case ExcludeOutcome::kTickedItself:
          throw UsageError{"--exclude-folder " + step.text +
                           ": that is the ticked folder itself, not a folder inside it; nothing changed"};
      }
      break;
    case StepKind::File:
      if (!selection_.TickFile(UsablePath(step.text, PathKind::File, "--file"), true))
        throw UsageError{"--file " + step.text + ": the file cannot be ticked"};
      break;
    case StepKind::ExcludeFile:
      if (!selection_.TickFile(UsablePath(step.text, PathKind::File, "--exclude-file"), false))
        throw UsageError{"--exclude-file " + step.text + ": still chosen"};
      break;
    case StepKind::ExcludeType: {
      DecoderTypeList& records = filters_->Types().Records();
      bool found = false;
      for (std::size_t i = 0; i < records.Count(); ++i) {
        if (AsciiFoldEquals(records[i].extension, Text(step.text))) {
          records[i].excluded = true;
          found = true;
        }
      }
      if (!found) throw UsageError{"--exclude-type: no decoder reads " + step.text};
      break;
    }
    case StepKind::Date:
      filters_->Date().SetDateFilterText(Text(step.text));
      break;
    case StepKind::Filter: {
      clFilters& slot = filters_->Metadata().Slot(static_cast<std::size_t>(step.slot));
      if (slot.Field().empty())
        WriteErr("tessaroven-cli: --filter: slot " + std::to_string(step.slot) + " has no field\n");
      slot.Marked().Add(slot.KeyFor(Text(step.text)));
      break;
    }
    case StepKind::FilterExcludeAll:
      filters_->Metadata().Slot(static_cast<std::size_t>(step.slot)).SetExcludeAll(true);
      break;
    case StepKind::Profile: {
      const std::u16string name = Text(step.text);
      if (!fs::exists(fs::path(ToOsString(ProfilePath(name)))))
        throw UsageError{"--profile: no profile named '" + step.text + "'"};
      profiles_.LoadProfile(name);
      const ProfileLoadReport& load = profiles_.LastLoad();
      if (!load.read) throw UsageError{"--profile " + step.text + ": cannot read " + OutputText(load.path)};
      // The window loads a damaged profile in silence; a script is told.
      if (load.damageAt)
        WriteErr("tessaroven-cli: --profile " + step.text + ": " + OutputText(load.path) + " is damaged from byte " +
                 std::to_string(*load.damageAt) + " on; only the records before it were loaded\n");
      for (const std::u16string& entry : load.skippedPaths)
        WriteErr("tessaroven-cli: --profile " + step.text + ": left out an entry that is not an absolute path: '" +
                 OutputText(entry) + "'\n");
      break;
    }
    case StepKind::SaveProfile:
      SaveProfileAs(Text(step.text));
      break;
  }
}

FileEntry Run::EntryFor(const std::u16string& path) const {
  FileEntry entry;
  entry.path = path;
  std::error_code error;
  const std::uintmax_t size = fs::file_size(fs::path(ToOsString(path)), error);
  if (!error) entry.size = size;
  FileTimes times;
  if (ReadFileTimes(path, times)) {
    entry.modified = times.lastWrite;
    entry.created = times.creation;
    entry.accessed = times.lastAccess;
  }
  return entry;
}

std::vector<std::u16string> Run::Row(const FileEntry& entry, const std::vector<std::u16string>& columns) {
  std::optional<FileInfo> info;
  std::vector<std::u16string> row;
  for (const std::u16string& column : columns) {
    if (!info && ColumnNeedsFileInfo(column)) {
      info.emplace();
      ReadFileInfo(entry.path, decoder_, *info);
    }
    row.push_back(ColumnText(column, entry, info ? &*info : nullptr, filters_->Types()));
  }
  return row;
}

void Run::Print(const std::vector<FileEntry>& entries, std::vector<std::u16string> columns, bool json) {
  if (columns.empty()) columns = {u"Path"};
  std::vector<std::u16string_view> names(columns.begin(), columns.end());
  for (const FileEntry& entry : entries) {
    const std::vector<std::u16string> row = Row(entry, columns);
    WriteOut((json ? JsonLine(names, row) : TabLine(row)) + "\n");
  }
}

int Run::Execute(const Options& options) {
  filters_->Types().Build();
  profiles_.FillProfileList();
  const std::vector<std::u16string> columns = CheckedColumns(options.columns);
  for (const Step& step : options.steps) Apply(step);

  if (options.listFolder) {
    const std::u16string folder = UsablePath(*options.listFolder, PathKind::Folder, "--list-folder");
    AudioFileTest audio(filters_->Types());
    const std::vector<FileEntry> entries = ListFolderFiles(folder, *filters_, audio, decoder_);
    std::vector<std::u16string> shown = columns;
    if (shown.empty() && !options.json) shown.assign(kDefaultMainColumns.begin(), kDefaultMainColumns.end());
    Print(entries, shown, options.json);
  }
  if (!options.list && !options.convert) return kExitDone;

  if (options.list) {
    const std::vector<std::u16string> files =
        CollectSelectedFiles(selection_.Lists(), *filters_, decoder_, false, u"Indexing files... ", progressUi_);
    if (files.empty()) {
      WriteErr(Utf16ToUtf8(kNothingToConvert) + "\n");
      return kExitNothingToConvert;
    }
    if (columns.empty() && !options.json) {
      // Written in pieces so a long list starts reaching a pipe at once and never
      // exists twice in memory.
      constexpr std::size_t kPiece = 64 * 1024;
      std::string out;
      out.reserve(kPiece + 1024);
      for (const std::u16string& file : files) {
        AppendOutputText(out, file);
        out.push_back('\n');
        if (out.size() >= kPiece) {
          WriteOut(out);
          out.clear();
        }
      }
      WriteOut(out);
    } else {
      std::vector<FileEntry> entries;
      entries.reserve(files.size());
      for (const std::u16string& file : files) entries.push_back(EntryFor(file));
      Print(entries, columns, options.json);
    }
  }
  std::fflush(stdout);
  if (options.convert) return ConvertFiles();
  return kExitDone;
}

}  // namespace

int RunCli(const std::vector<std::u16string>& arguments) {
  TerminalPrompts prompts;
  InstallUserPrompts(&prompts);
  SetDefaultSettingsRoot(SettingsRoot::CurrentUser);
  SetDefaultSettingsKeyPath(kDefaultSettingsKeyPath);
  struct Uninstall {
    ~Uninstall() { InstallUserPrompts(nullptr); }
  } uninstall;

  std::vector<std::string> args;
  for (const std::u16string& argument : arguments) args.push_back(Utf16ToUtf8(argument));
  const ParseResult parsed = ParseOptions(args);
  if (!parsed.error.empty()) {
    WriteErr("tessaroven-cli: " + parsed.error + "\n");
    return kExitBadUsage;
  }
  const Options& options = parsed.options;
  if (options.help) {
    WriteOut(kUsage);
    return kExitDone;
  }
  if (options.version) {
    WriteOut(std::string("tessaroven-cli ") + kVersion + "\n");
    return kExitDone;
  }
  if (options.diagnostics) {
    PrintDiagnostics();
    return kExitDone;
  }
  if (options.steps.empty() && !options.list && !options.listFolder && !options.convert) {
    WriteErr(std::string(kUsage));
    return kExitBadUsage;
  }
  try {
    Run run;
    const int code = run.Execute(options);
    std::fflush(stdout);
    return code;
  } catch (const UsageError& error) {
    std::fflush(stdout);
    WriteErr("tessaroven-cli: " + error.message + "\n");
    return kExitBadUsage;
  }
}

}  // namespace tessaroven::cli
