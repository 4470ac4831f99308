#include "filters/filter_state.h"

#include <string>

#include "base/text.h"

namespace tessaroven {

std::u16string SlotProfileKey(std::size_t slot) { return u"Filter" + AsciiToUtf16(std::to_string(slot)); }

std::u16string SlotExcludeAllProfileKey(std::size_t slot) { return SlotProfileKey(slot) + u"-ExcludeAll"; }

FilterState::FilterState() : FilterState(LoadFilterFields()) {}

FilterState::FilterState(const FilterFieldNames& fields) : metadata_(fields) {}

bool FilterState::AnyFilterActive() const {
  return types_.AnyExcluded() || date_.Days() >= 1 || metadata_.AnyMetadataSlotActive();
}

void FilterState::Clear() {
  types_.ClearExclusions();
  date_.Set(0, 0);
  metadata_.ClearSelections();
}

}  // namespace tessaroven
