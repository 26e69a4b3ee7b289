// Calendar arithmetic on qel::Date (days since 30 December 1899, proleptic Gregorian).
#ifndef QEL_FRAME_DATE_H_
#define QEL_FRAME_DATE_H_

#include <optional>

#include "qel/frame/export.h"
#include "qel/frame/variant.h"

namespace qel {

// The range the platform represents: 1 January 100 .. 31 December 9999 23:59:59.
inline constexpr double kMinDateSerial = -657434.0;
inline constexpr double kMaxDateSerial = 2958465.99999999;

struct QEL_EXPORT DateParts {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0;
};

QEL_EXPORT bool IsValidDateSerial(double serial);
// The date of those parts, or nullopt when they are not a real day and time in range.
QEL_EXPORT std::optional<Date> MakeDate(const DateParts& parts);
// The parts of a date, time rounded to the nearest second.
// REQUIRES: IsValidDateSerial(d.serial).
QEL_EXPORT DateParts SplitDate(Date d);
// The current local date and time.
QEL_EXPORT Date Now();

}  // namespace qel

#endif  // QEL_FRAME_DATE_H_
