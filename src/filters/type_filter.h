// The type filter: which audio types (by extension) are listed and converted.
//
// It holds the decoder type records the plug-ins declare (decode/decoder.h), in the
// order they were declared, each with its excluded flag. A file is of an accepted type
// when a record with its extension (ASCII case fold, ".FLAC" is ".flac") is not
// excluded. Profiles keep the excluded extensions as the "lstExcludedExt" text:
// each excluded record's extension followed by ";", in record order. Applying such a
// text matches extensions exactly, case included, so that profiles keep meaning what
// they meant when saved: ".mp3;" excludes a ".mp3" record but not a ".MP3" one, and
// never a ".mp" one.
//
// Not locked; see filters/filter_state.h for the thread rules.
#pragma once

#include <string>
#include <string_view>

#include "decode/decoder.h"

namespace tessaroven {

class TypeFilter {
 public:
  // Replaces the records with those the plug-ins of the plug-in folder declare, all
  // accepted.
  void Build();

  DecoderTypeList& Records() { return records_; }
  const DecoderTypeList& Records() const { return records_; }

  // Whether a file with this extension (dot included) is listed and converted.
  bool IsAcceptedType(std::u16string_view extension) const;
  // The same for the extension of a file path.
  bool IsAcceptedFile(std::u16string_view path) const;
  // Whether any record is excluded (the main window then shows its Filter button active).
  bool AnyExcluded() const;

  // The "lstExcludedExt" text, e.g. ".ogg;.wma;".
  std::u16string ExcludedExtensionsText() const;
  // Sets every record's flag from such a text; an empty text excludes nothing.
  void ApplyExcludedExtensionsText(std::u16string_view text);
  // Every record accepted again.
  void ClearExclusions();

 private:
  DecoderTypeList records_;
};

}  // namespace tessaroven
