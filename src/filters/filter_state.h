// FilterState: the process-wide filter model (types, date, tag values) that narrows
// what the selector lists and hands to the converter.
//
// Ownership: the window (or the CLI) creates exactly one before anything lists files,
// keeps it until the end and passes it by reference to the folder listing, the
// collector and the profile code. It owns the type records, the date filter, the
// eight metadata slots and their fields. It owns no decoder: the metadata test reads
// files through the caller's clQzDecoder.
//
// Threads: there is no lock. The user-interface thread owns the object. While the
// collector's worker runs, the user-interface thread only waits in the progress
// dialog and touches neither the filters nor the decoder it handed over; the worker
// may then call every member, the metadata test included (it grows the catalogues).
// Starting and joining the worker orders the two threads' accesses, so the
// collector must be joined, never detached, before the user-interface thread uses
// the state again. Any other concurrent use is a bug.
//
// Profiles read and write the state through the text and byte forms of its parts:
// "lstExcludedExt" (TypeFilter), "DateFilter" (DateFilter), "Filter%d" and
// "Filter%d-ExcludeAll" (the slots' MarkedKeysBytes/ExcludeAllText). Loading a
// profile replaces flags, marks, switches and the date; catalogues are kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "filters/date_filter.h"
#include "filters/filter_fields.h"
#include "filters/metadata_filter.h"
#include "filters/type_filter.h"

namespace tessaroven {

// The profile keys of the filter state.
inline constexpr std::u16string_view kExcludedExtensionsProfileKey = u"lstExcludedExt";
inline constexpr std::u16string_view kDateFilterProfileKey = u"DateFilter";
// "Filter%d" and "Filter%d-ExcludeAll" for slot 0 to 7.
std::u16string SlotProfileKey(std::size_t slot);
std::u16string SlotExcludeAllProfileKey(std::size_t slot);

class FilterState {
 public:
  // Reads the field list from its file (writing the defaults when needed); date
  // filter off, nothing marked, no type records yet (Types().Build() adds them).
  FilterState();
  // With the given fields, touching no file (tests, tools).
  explicit FilterState(const FilterFieldNames& fields);

  FilterState& operator=(const FilterState&) = delete;

  // A copy for a worker that must not borrow this object (the collector, which may
  // be left behind on a hung walk), and taking the worker's copy back once it has
  // ended (its metadata catalogues grew). Copies are made only this way, on purpose.
  FilterState Copy() const { return FilterState(*this); }
  void Adopt(FilterState&& worked) { *this = std::move(worked); }

  TypeFilter& Types() { return types_; }
  const TypeFilter& Types() const { return types_; }
  DateFilter& Date() { return date_; }
  const DateFilter& Date() const { return date_; }
  MetadataFilter& Metadata() { return metadata_; }
  const MetadataFilter& Metadata() const { return metadata_; }

  // The three tests every listed or collected file goes through.
  bool IsAcceptedFile(std::u16string_view path) const { return types_.IsAcceptedFile(path); }
  bool PassesDateFilter(std::uint64_t lastWrite, std::uint64_t creation) const {
    return date_.PassesDateFilter(lastWrite, creation);
  }
  bool IsMetadataExcluded(std::u16string_view path, clQzDecoder& decoder) {
    return metadata_.IsMetadataExcluded(path, decoder);
  }
  bool AnyMetadataSlotActive() const { return metadata_.AnyMetadataSlotActive(); }

  // Whether the main window shows its Filter button as active: a type excluded, the
  // date filter on for a day or more, or a metadata slot active.
  bool AnyFilterActive() const;

  // The empty state of the Reset command: every type accepted, date filter off,
  // nothing marked, every exclude-all switch off. Fields, type records and
  // catalogues stay, so the filter dialog still offers every value seen.
  void Clear();

 private:
  FilterState(const FilterState&) = default;
  FilterState& operator=(FilterState&&) = default;

  TypeFilter types_;
  DateFilter date_;
  MetadataFilter metadata_;
};

}  // namespace tessaroven
