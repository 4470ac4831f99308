// Regional values of the user's locale. The locale is built from LANG / LC_* with
// newlocale() and read with nl_langinfo_l(), so neither the process locale nor
// other threads are disturbed, and the result is the same whether or not the
// program (or a toolkit) has called setlocale().
#include <langinfo.h>
#include <locale.h>

#include "base/regional_settings.h"
#include "base/text.h"

namespace tessaroven {
namespace {

// Locale data is in the locale's own character set; modern systems use UTF-8. Text
// that is not valid UTF-8 (a legacy 8-bit locale) counts as missing rather than
// as escaped bytes that would show up as garbage.
std::u16string LocaleText(const char* bytes) {
  if (bytes == nullptr) return {};
  std::u16string text = Utf8ToUtf16(bytes);
  for (const char16_t c : text) {
    if (c >= 0xDC80 && c <= 0xDCFF) return {};
  }
  return text;
}

// One category at a time: a broken LC_TIME must not cost the number settings.
class CategoryLocale {
 public:
  explicit CategoryLocale(int mask) : locale_(newlocale(mask, "", static_cast<locale_t>(nullptr))) {}
  ~CategoryLocale() {
    if (locale_ != static_cast<locale_t>(nullptr)) freelocale(locale_);
  }
  CategoryLocale(const CategoryLocale&) = delete;
  CategoryLocale& operator=(const CategoryLocale&) = delete;

  const char* Item(nl_item item) const {
    return locale_ != static_cast<locale_t>(nullptr) ? nl_langinfo_l(item, locale_) : nullptr;
  }

 private:
  locale_t locale_;
};

}  // namespace

RegionalValues PlatformRegionalValues() {
  RegionalValues values;
  const CategoryLocale numeric(LC_NUMERIC_MASK);
  values.decimal = LocaleText(numeric.Item(RADIXCHAR));
  values.thousand = LocaleText(numeric.Item(THOUSEP));
  if (const char* grouping = numeric.Item(GROUPING)) values.grouping = GroupingFromLocale(grouping);

  // Numbers have no sign of their own in a POSIX locale; the monetary one is the
  // closest (localeconv() reports the same).
  const CategoryLocale monetary(LC_MONETARY_MASK);
  values.negativeSign = LocaleText(monetary.Item(NEGATIVE_SIGN));
  values.positiveSign = LocaleText(monetary.Item(POSITIVE_SIGN));

  const CategoryLocale time(LC_TIME_MASK);
  values.time = TimeSeparatorFromPattern(LocaleText(time.Item(T_FMT)));
  // The leading zero and the negative layout have no locale counterpart.
  return values;
}

}  // namespace tessaroven
