// Feeds arbitrary bytes to the profile parser, as a damaged or hand-made profile file
// would: the buffer is parsed, the store written again and read back (which must give
// the same store, in no more bytes than the input), and put into effect on selection
// lists and filters the way a load does. ASan reports any read outside the buffer.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "filters/filter_state.h"
#include "selection/profile_store.h"
#include "selection/profiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessaroven;
  // An exact-size heap copy, so that the parser's bounds are checked against the
  // real end of the buffer (the fuzzer's own buffer may be larger).
  const std::vector<std::uint8_t> buffer(data, data + size);
  const ProfileStore store = ProfileStore::Parse(buffer);

  const std::vector<std::uint8_t> written = store.Serialize();
  if (written.size() > size && !store.Empty()) __builtin_trap();
  if (!(ProfileStore::Parse(written) == store)) __builtin_trap();

  static FilterState filters{FilterFieldNames{}};
  SelectionLists lists;
  ApplyProfileStore(store, true, lists, filters);
  const ProfileStore again = BuildProfileStore(lists, filters);
  if (again.Records().size() < 15) __builtin_trap();  // every fixed key is written
  return 0;
}
