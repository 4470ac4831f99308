#include "base/text.h"

namespace tessaroven {

// wchar_t is UTF-16 on Windows: the same code units, nothing to convert.
static_assert(sizeof(wchar_t) == sizeof(char16_t));

OsString ToOsString(std::u16string_view text) { return OsString(text.begin(), text.end()); }
std::u16string FromOsString(const OsString& text) { return std::u16string(text.begin(), text.end()); }

}  // namespace tessaroven
