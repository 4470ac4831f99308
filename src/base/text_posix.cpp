#include "base/text.h"

namespace tessaroven {

OsString ToOsString(std::u16string_view text) { return Utf16ToUtf8(text); }
std::u16string FromOsString(const OsString& text) { return Utf8ToUtf16(text); }

}  // namespace tessaroven
