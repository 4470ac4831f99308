#include "base/regional_settings.h"

#include <climits>
#include <atomic>
#include <mutex>
#include <optional>

#include "base/settings.h"

namespace tessaroven {
namespace {

constexpr std::size_t kMaxNegativeSignLength = 5;

const std::u16string* FirstNonEmpty(const std::u16string& stored, const std::u16string& platform) {
  if (!stored.empty()) return &stored;
  if (!platform.empty()) return &platform;
  return nullptr;
}

// "iNegNumber" as the registry's readers take it: optional sign, digits, anything
// after them ignored. Only the five known layouts are usable.
std::optional<int> ParseNegativeLayout(std::u16string_view text) {
  std::size_t pos = 0;
  bool negative = false;
  if (pos < text.size() && (text[pos] == u'+' || text[pos] == u'-')) negative = text[pos++] == u'-';
  const std::size_t digitsStart = pos;
  long value = 0;
  for (; pos < text.size() && text[pos] >= u'0' && text[pos] <= u'9'; ++pos) {
    if (value < 1000) value = value * 10 + (text[pos] - u'0');  // anything this large is unusable anyway
  }
  if (pos == digitsStart) return std::nullopt;
  if (negative) value = -value;
  if (value < 0 || value > 4) return std::nullopt;
  return static_cast<int>(value);
}

std::u16string CutNegativeSign(const std::u16string& sign) {
  if (sign.size() <= kMaxNegativeSignLength) return sign;
  std::size_t length = kMaxNegativeSignLength;
  // Never leave half of a surrogate pair behind.
  if (sign[length - 1] >= 0xD800 && sign[length - 1] <= 0xDBFF) --length;
  return sign.substr(0, length);
}

RegionalSettings LoadRegionalSettings() {
  return ResolveRegionalSettings(StoredRegionalValues(), PlatformRegionalValues());
}

struct Current {
  std::mutex mutex;
  std::shared_ptr<const RegionalSettings> settings;
  // Bumped by every reload; threads keep their own reference to the settings and
  // only take the mutex when this has moved, so formatting on the metadata worker
  // and the window's thread at once never contends.
  std::atomic<std::uint64_t> generation{1};
};

struct ThreadCopy {
  std::uint64_t generation = 0;
  std::shared_ptr<const RegionalSettings> settings;
};
thread_local ThreadCopy t_copy;

Current& TheCurrent() {
  static Current current;
  return current;
}

}  // namespace

RegionalSettings ResolveRegionalSettings(const RegionalValues& stored, const RegionalValues& platform) {
  RegionalSettings result;
  if (const auto* value = FirstNonEmpty(stored.leadingZero, platform.leadingZero))
    result.leadingZero = (*value)[0] != u'0';
  if (auto layout = ParseNegativeLayout(stored.negativeNumber)) {
    result.negativeNumberLayout = *layout;
  } else if (auto platformLayout = ParseNegativeLayout(platform.negativeNumber)) {
    result.negativeNumberLayout = *platformLayout;
  }
  if (const auto* value = FirstNonEmpty(stored.grouping, platform.grouping)) result.indianGrouping = *value == u"3;2;0";
  if (const auto* value = FirstNonEmpty(stored.negativeSign, platform.negativeSign))
    result.negativeSign = CutNegativeSign(*value);
  if (const auto* value = FirstNonEmpty(stored.positiveSign, platform.positiveSign)) result.positiveSign = *value;
  if (const auto* value = FirstNonEmpty(stored.thousand, platform.thousand)) result.thousandSeparator = *value;
  if (const auto* value = FirstNonEmpty(stored.decimal, platform.decimal)) result.decimalSign = *value;
  if (const auto* value = FirstNonEmpty(stored.time, platform.time)) result.timeSeparator = *value;
  return result;
}

RegionalValues StoredRegionalValues() {
  const auto get = [](std::u16string_view name) {
    return SettingsGetString(name, SettingsRoot::CurrentUser, kRegionalSettingsKeyPath);
  };
  RegionalValues values;
  values.leadingZero = get(u"iLZero");
  values.negativeNumber = get(u"iNegNumber");
  values.grouping = get(u"sGrouping");
  values.negativeSign = get(u"sNegativeSign");
  values.positiveSign = get(u"sPositiveSign");
  values.thousand = get(u"sThousand");
  values.decimal = get(u"sDecimal");
  values.time = get(u"sTime");
  return values;
}

const RegionalSettings& ThreadRegionalSettings() {
  auto& current = TheCurrent();
  const std::uint64_t generation = current.generation.load(std::memory_order_acquire);
  if (t_copy.generation != generation) {
    std::lock_guard lock(current.mutex);
    if (!current.settings) current.settings = std::make_shared<const RegionalSettings>(LoadRegionalSettings());
    t_copy.settings = current.settings;
    t_copy.generation = current.generation.load(std::memory_order_relaxed);
  }
  return *t_copy.settings;
}

std::shared_ptr<const RegionalSettings> CurrentRegionalSettings() {
  ThreadRegionalSettings();
  return t_copy.settings;
}

void ReloadRegionalSettings() {
  auto fresh = std::make_shared<const RegionalSettings>(LoadRegionalSettings());
  auto& current = TheCurrent();
  std::lock_guard lock(current.mutex);
  current.settings = std::move(fresh);
  current.generation.fetch_add(1, std::memory_order_release);
}

std::u16string GroupingFromLocale(std::string_view grouping) {
  std::u16string result;
  for (const char c : grouping) {
    // CHAR_MAX (or any value that is no group size) ends the grouping without
    // repeating the last group; the end of the text repeats it.
    if (c <= 0 || c == CHAR_MAX) return result;
    if (!result.empty()) result.push_back(u';');
    const int size = c;
    if (size >= 10) result.push_back(static_cast<char16_t>(u'0' + size / 10));
    result.push_back(static_cast<char16_t>(u'0' + size % 10));
  }
  if (!result.empty()) result.append(u";0");
  return result;
}

std::u16string TimeSeparatorFromPattern(std::u16string_view pattern) {
  for (std::size_t pos = 0; pos < pattern.size(); ++pos) {
    if (pattern[pos] != u'%') continue;
    ++pos;
    // Flags, field width and the E / O modifiers may stand between "%" and the letter.
    while (pos < pattern.size() && (pattern[pos] == u'-' || pattern[pos] == u'_' || pattern[pos] == u'0' ||
                                    pattern[pos] == u'^' || pattern[pos] == u'#' || pattern[pos] == u'E' ||
                                    pattern[pos] == u'O' || (pattern[pos] >= u'1' && pattern[pos] <= u'9')))
      ++pos;
    if (pos >= pattern.size()) break;
    const char16_t conversion = pattern[pos];
    // %T is %H:%M:%S, %R is %H:%M, %r is %I:%M:%S %p (the en_US time).
    if (conversion == u'T' || conversion == u'R' || conversion == u'r') return u":";
    if (conversion == u'H' || conversion == u'I' || conversion == u'k' || conversion == u'l') {
      const std::size_t start = pos + 1;
      std::size_t end = start;
      while (end < pattern.size() && pattern[end] != u'%') ++end;
      return std::u16string(pattern.substr(start, end - start));
    }
  }
  return {};
}

}  // namespace tessaroven
