// Registry-export text files ("Windows Registry Editor Version 5.00"): reading,
// editing in place and writing back.
//
// Linux keeps the settings in such a file so that it can be read, edited by hand and
// imported into a Windows registry. A RegFile is the whole file as a list of lines:
// every line it understands ("[key]" sections, "name"=value lines, hex data over
// several lines) and every line it does not (comments, blank lines, damaged lines),
// which it keeps verbatim and writes back unchanged but ignores when looking values
// up. Sections may repeat; the last occurrence of a value wins, as on import.
//
// Key paths include their root ("HKEY_CURRENT_USER\Software\Orvandelle"); key paths
// and value names compare with the ASCII case fold, as the registry compares them.
// The file is written as UTF-8; a UTF-16LE file with a byte-order mark (what regedit
// writes) is read as well.
//
// A RegFile is a plain value: no locking, no I/O. Copying it copies the document.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tessaroven {

struct RegValue {
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  friend bool operator==(const RegValue&, const RegValue&) = default;
};

class RegFile {
 public:
  static constexpr std::u16string_view kHeader = u"Windows Registry Editor Version 5.00";

  // A new document: the header line and a blank line.
  RegFile();

  // Reads a whole file. Nullopt when it cannot be parsed at all: its first non-blank
  // line is not the header (another format, binary data, a UTF-16 file without its
  // byte-order mark). An empty or blank file is a new document.
  static std::optional<RegFile> Parse(std::string_view bytes);

  // The whole file as UTF-8; lines end as the header line of the parsed file did
  // ("\n" for a new document).
  std::string Serialize() const;

  // True when the key has a section of its own or is the parent of one.
  bool HasKey(std::u16string_view keyPath) const;

  // The value as stored (its last occurrence); null when absent. The pointer stays
  // valid until the document changes.
  const RegValue* Find(std::u16string_view keyPath, std::u16string_view name) const;

  // A key looked up once for several reads: the values of its sections, or null when
  // it has none (or does not exist). Valid until the document changes.
  struct KeyIndex;  // defined below, with the private types it is made of
  const KeyIndex* FindKey(std::u16string_view keyPath) const;
  const RegValue* Find(const KeyIndex* key, std::u16string_view name) const;

  // Appends an empty section for the key unless the key exists; true when it added one.
  bool AddKey(std::u16string_view keyPath);

  enum class Change { kUnchanged, kChanged, kRejected };
  // Stores a value: rewrites its line where it already stands, else appends it to the
  // last section of the key, else appends a new section. Storing exactly what is
  // there already changes nothing. Names and key paths that the format cannot carry
  // (line breaks, NULs, unpaired surrogates, empty key components) are rejected.
  Change Set(std::u16string_view keyPath, std::u16string_view name, const RegValue& value);

  // Key paths and names the format can carry: no line breaks, NULs or unpaired
  // surrogates; key paths also need non-empty components and must not begin with "-".
  static bool IsValidKeyPath(std::u16string_view keyPath);
  static bool IsValidName(std::u16string_view name);

  // The line (or lines, joined by "\n") that Set writes for a value: plain text as
  // "name"="text", four-byte DWORDs as dword:, everything else as hex bytes.
  static std::u16string FormatValue(std::u16string_view name, const RegValue& value);

 private:
  struct Line {
    // The line's bytes (UTF-8; continuation lines joined by "\n"): written by this
    // program, or else a line of the parsed file, unchanged.
    std::string ownRaw;
    std::string_view sourceRaw;  // into source_
    bool isValue = false;
    std::u16string name;
    RegValue value;
    std::string_view Raw() const { return ownRaw.empty() ? sourceRaw : std::string_view(ownRaw); }
  };
  struct Section {
    std::string raw;         // the "[...]" line (UTF-8); empty for the lines before the first section
    bool indexed = false;    // false for the preamble and for sections that name no usable key
    std::u16string keyPath;  // without trailing backslashes
    std::vector<Line> lines;
  };
  struct Location {
    std::size_t section = 0;
    std::size_t line = 0;
  };
  // Names and key paths compare with the ASCII fold; hashing and comparing folded
  // on the fly lets a lookup take the caller's text as it is, without a folded copy.
  struct FoldedHash {
    using is_transparent = void;
    std::size_t operator()(std::u16string_view text) const;
  };
  struct FoldedEqual {
    using is_transparent = void;
    bool operator()(std::u16string_view a, std::u16string_view b) const;
  };
  template <typename Value>
  using FoldedMap = std::unordered_map<std::u16string, Value, FoldedHash, FoldedEqual>;

 public:
  struct KeyIndex {
    std::vector<std::size_t> sections;
    FoldedMap<Location> values;  // by name; the last occurrence
  };

 private:
  void IndexSection(std::size_t section);
  void EndWithBlankLine();
  std::size_t AppendSection(std::u16string_view keyPath);

  std::shared_ptr<const std::string> source_;  // the parsed file as UTF-8, shared by copies
  std::vector<Section> sections_;
  std::string eol_ = "\n";
  FoldedMap<KeyIndex> keys_;                                              // by key path
  std::unordered_set<std::u16string, FoldedHash, FoldedEqual> existing_;  // every key and its parents
};

}  // namespace tessaroven
