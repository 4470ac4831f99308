// Regional values of the user default locale, for whatever the registry's
// "Control Panel\International" lacks.
#include <windows.h>

#include "base/regional_settings.h"

namespace tessaroven {
namespace {

std::u16string LocaleInfo(LCTYPE type) {
  wchar_t buffer[LOCALE_NAME_MAX_LENGTH + 1] = {};
  const int length = GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, type, buffer, LOCALE_NAME_MAX_LENGTH + 1);
  if (length <= 1) return {};
  return std::u16string(reinterpret_cast<const char16_t*>(buffer), static_cast<std::size_t>(length - 1));
}

}  // namespace

RegionalValues PlatformRegionalValues() {
  RegionalValues values;
  values.leadingZero = LocaleInfo(LOCALE_ILZERO);
  values.negativeNumber = LocaleInfo(LOCALE_INEGNUMBER);
  values.grouping = LocaleInfo(LOCALE_SGROUPING);
  values.negativeSign = LocaleInfo(LOCALE_SNEGATIVESIGN);
  values.positiveSign = LocaleInfo(LOCALE_SPOSITIVESIGN);
  values.thousand = LocaleInfo(LOCALE_STHOUSAND);
  values.decimal = LocaleInfo(LOCALE_SDECIMAL);
  values.time = LocaleInfo(LOCALE_STIME);
  return values;
}

}  // namespace tessaroven
