#include "filters/type_filter.h"

#include "base/path.h"
#include "base/text.h"

namespace tessaroven {

void TypeFilter::Build() {
  records_.Clear();
  BuildDecoderTypeList(records_);
}

bool TypeFilter::IsAcceptedType(std::u16string_view extension) const {
  // Two plug-ins may declare one extension, and a profile may exclude only one of
  // the spellings: any accepted record of the extension accepts the file.
  for (std::size_t i = records_.LowerBound(extension); i < records_.Count(); ++i) {
    const DecoderTypeRecord& record = records_.Sorted(i);
    if (!AsciiFoldEquals(record.extension, extension)) break;
    if (!record.excluded) return true;
  }
  return false;
}

bool TypeFilter::IsAcceptedFile(std::u16string_view path) const { return IsAcceptedType(ExtensionOf(path)); }

bool TypeFilter::AnyExcluded() const {
  for (std::size_t i = 0; i < records_.Count(); ++i) {
    if (records_[i].excluded) return true;
  }
  return false;
}

std::u16string TypeFilter::ExcludedExtensionsText() const {
  std::u16string text;
  for (std::size_t i = 0; i < records_.Count(); ++i) {
    if (records_[i].excluded) text += records_[i].extension + u";";
  }
  return text;
}

void TypeFilter::ApplyExcludedExtensionsText(std::u16string_view text) {
  for (std::size_t i = 0; i < records_.Count(); ++i) {
    DecoderTypeRecord& record = records_[i];
    record.excluded = text.find(record.extension + u";") != std::u16string_view::npos;
  }
}

void TypeFilter::ClearExclusions() {
  for (std::size_t i = 0; i < records_.Count(); ++i) records_[i].excluded = false;
}

}  // namespace tessaroven
