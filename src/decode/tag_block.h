// A file's tags and the reader of the plug-ins' tag blocks.
//
// Tag blocks come from plug-ins and may be malformed; the reader never reads outside
// the block and stops at the first bad entry, keeping the ones before it. Pure
// functions, safe on any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

struct Tag {
  std::u16string name;
  std::u16string value;
  std::vector<std::uint8_t> binary;  // e.g. a picture; usually empty
};
using TagList = std::vector<Tag>;

// The layout is in tessaroven/decoder_plugin.h. `length` is the plug-in's claim; null
// data or a length of 4 or less gives no tags.
TagList ParseTagBlock(const std::uint8_t* data, std::int64_t length);

// Appends the entries of `second` whose names `first` lacks; names present in `first`
// keep their values there.
void MergeTags(TagList& first, const TagList& second);

// Tag names compare with the ASCII fold. The value of the first tag of that name, or
// empty.
std::u16string TagValue(const TagList& tags, std::u16string_view name);
// The same without a copy; valid until the list changes.
std::u16string_view TagValueView(const TagList& tags, std::u16string_view name);
bool HasTag(const TagList& tags, std::u16string_view name);
// Sets the first tag of that name (its binary data dropped), or appends one.
void SetTag(TagList& tags, std::u16string_view name, std::u16string_view value);
// Removes every tag of that name.
void RemoveTag(TagList& tags, std::u16string_view name);

}  // namespace tessaroven
