// The per-thread locale the library formats and parses with.
//
// Read at first use on each thread from the environment (LC_ALL, then LC_NUMERIC / LC_TIME,
// then LANG) through the C library's locale database, never from the process's setlocale
// state; an application may replace it for its thread with SetThreadLocale. Unknown or absent
// locales fall back to the neutral "C" conventions ("." decimal, "," thousands, month/day/year
// with "/").
#ifndef QEL_FRAME_LOCALE_H_
#define QEL_FRAME_LOCALE_H_

#include <optional>
#include <string>
#include <string_view>

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

// Order of the three parts of a short date, numbered like the desktop's iDate setting.
enum class DateOrder { kMonthDayYear = 0, kDayMonthYear = 1, kYearMonthDay = 2 };

struct QEL_EXPORT LocaleInfo {
  std::string name;          // as given, e.g. "es_CL.UTF-8"; "C" for the fallback
  char16_t decimal = u'.';   // sDecimal
  char16_t thousand = u',';  // sThousand
  char16_t date_sep = u'/';  // sDate
  DateOrder date_order = DateOrder::kMonthDayYear;
  bool time_12h = false;  // times written with AM/PM
  Text am = u"AM";
  Text pm = u"PM";
};

// The calling thread's locale.
QEL_EXPORT const LocaleInfo& ThreadLocale();
// Replaces the calling thread's locale. Raises E_FAIL (source "QelLocale") when the C library
// has no such locale; the thread keeps its locale then.
QEL_EXPORT void SetThreadLocale(std::string_view name);
// The conventions of a named locale, or nullopt when it is not installed.
QEL_EXPORT std::optional<LocaleInfo> LookupLocale(std::string_view name);

}  // namespace qel

#endif  // QEL_FRAME_LOCALE_H_
