#include "qel/frame/date.h"

#include <cmath>
#include <ctime>

namespace qel {
namespace {

// Days from 1970-01-01 to y-m-d in the proleptic Gregorian calendar.
constexpr int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

void CivilFromDays(int64_t z, int* y, int* m, int* d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  *d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  *m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  *y = static_cast<int>(static_cast<int64_t>(yoe) + era * 400 + (*m <= 2));
}

constexpr int64_t kEpoch = DaysFromCivil(1899, 12, 30);

int DaysInMonth(int y, int m) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (m == 2 && (y % 4 == 0 && (y % 100 != 0 || y % 400 == 0))) return 29;
  return kDays[m - 1];
}

}  // namespace

bool IsValidDateSerial(double serial) {
  return serial >= kMinDateSerial && serial < 2958466.0;
}

std::optional<Date> MakeDate(const DateParts& p) {
  if (p.year < 100 || p.year > 9999 || p.month < 1 || p.month > 12 || p.day < 1 ||
      p.day > DaysInMonth(p.year, p.month) || p.hour < 0 || p.hour > 23 || p.minute < 0 ||
      p.minute > 59 || p.second < 0 || p.second > 59) {
    return std::nullopt;
  }
  const auto days = static_cast<double>(
      DaysFromCivil(p.year, static_cast<unsigned>(p.month), static_cast<unsigned>(p.day)) -
      kEpoch);
  const double time = (p.hour * 3600 + p.minute * 60 + p.second) / 86400.0;
  return Date{days >= 0 ? days + time : days - time};
}

DateParts SplitDate(Date d) {
  double day = std::trunc(d.serial);
  auto secs = static_cast<int64_t>(std::llround(std::fabs(d.serial - day) * 86400.0));
  if (secs >= 86400) {
    secs -= 86400;
    day += 1;
  }
  DateParts p;
  CivilFromDays(static_cast<int64_t>(day) + kEpoch, &p.year, &p.month, &p.day);
  p.hour = static_cast<int>(secs / 3600);
  p.minute = static_cast<int>(secs / 60 % 60);
  p.second = static_cast<int>(secs % 60);
  return p;
}

Date Now() {
  const std::time_t t = std::time(nullptr);
  std::tm tm{};
  localtime_r(&t, &tm);
  return *MakeDate({tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                    tm.tm_sec > 59 ? 59 : tm.tm_sec});
}

}  // namespace qel
