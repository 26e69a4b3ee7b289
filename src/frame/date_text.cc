// Dates as text under a locale: ParseDate reads what users and hosts type, DateToText writes
// the locale's short form (convert.h).
//
// Reading: the text is cut into at most DateTokens::kMax tokens (numbers, date separators,
// ":", words); the date part is one, two or three numbers between separators, read in the
// locale's order (the other day/month order when the locale's is no date); the time part
// starts at the number before the first ":" or AM/PM word. The form dates travel in,
// "nn?nn?nnnn", is read without tokenizing.
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>

#include "frame/char_class.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"

namespace qel {
namespace {

using internal::IsLetter;

void AppendPadded(Text* out, int value, int width) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%0*d", width, value);
  for (const char* p = buf; *p; ++p) out->push_back(static_cast<char16_t>(*p));
}

// ---- Date text -------------------------------------------------------------------------

struct DateToken {
  enum Kind { kNumber, kDateSep, kTimeSep, kWord };
  Kind kind = kNumber;
  int value = 0;   // number
  int digits = 0;  // number of digits written
  TextView word;   // a view into the text being parsed
};

// A date text has a handful of tokens; more than kMax is no date.
struct DateTokens {
  static constexpr size_t kMax = 16;
  std::array<DateToken, kMax> items;
  size_t n = 0;
  size_t size() const { return n; }
  const DateToken& operator[](size_t i) const { return items[i]; }
  bool Push(const DateToken& t) {
    if (n == kMax) return false;
    items[n++] = t;
    return true;
  }
};

bool IsDateSep(char16_t c, const LocaleInfo& loc) {
  return c == u'-' || c == u'/' || c == u'.' || c == loc.date_sep;
}

bool TokenizeDate(TextView t, const LocaleInfo& loc, DateTokens* out) {
  size_t i = 0;
  while (i < t.size()) {
    const char16_t c = t[i];
    DateToken tok;
    if (c == u' ' || c == u'\t') {
      ++i;
      continue;
    } else if (c >= u'0' && c <= u'9') {
      while (i < t.size() && t[i] >= u'0' && t[i] <= u'9') {
        if (++tok.digits > 9) return false;
        tok.value = tok.value * 10 + (t[i++] - u'0');
      }
    } else if (IsDateSep(c, loc)) {
      tok.kind = DateToken::kDateSep;
      ++i;
    } else if (c == u':') {
      tok.kind = DateToken::kTimeSep;
      ++i;
    } else if (IsLetter(c)) {
      tok.kind = DateToken::kWord;
      const size_t start = i;
      while (i < t.size() && (IsLetter(t[i]) || t[i] == u'.')) ++i;
      tok.word = t.substr(start, i - start);
    } else {
      return false;
    }
    if (!out->Push(tok)) return false;
  }
  return true;
}

int FullYear(const DateToken& t) {
  if (t.digits <= 2) return t.value < 30 ? 2000 + t.value : 1900 + t.value;
  return t.value;
}

// Day and month from two numbers in the locale's order; the other order when that one is no
// date (the platform accepts "15/03/2006" under a month-first locale).
std::optional<DateParts> DayMonth(int first, int second, int year, bool day_first) {
  DateParts p;
  p.year = year;
  for (int attempt = 0; attempt < 2; ++attempt, day_first = !day_first) {
    p.day = day_first ? first : second;
    p.month = day_first ? second : first;
    if (MakeDate(p)) return p;
  }
  return std::nullopt;
}

std::optional<Date> AssembleDate(const DateTokens& tok, size_t begin, size_t end,
                                 const LocaleInfo& loc, bool* has_date, DateParts* parts) {
  // The date part: N sep N [sep N].
  if (end - begin > 5) return std::nullopt;
  if ((end - begin) % 2 == 0 && end > begin) return std::nullopt;  // ends with a separator
  std::array<const DateToken*, 3> nums{};
  size_t count = 0;
  for (size_t i = begin; i < end; ++i) {
    const bool want_number = (i - begin) % 2 == 0;
    if (want_number != (tok[i].kind == DateToken::kNumber)) return std::nullopt;
    if (!want_number && tok[i].kind != DateToken::kDateSep) return std::nullopt;
    if (want_number) nums[count++] = &tok[i];
  }
  *has_date = count > 0;
  if (count == 0) return Date{};
  const bool day_first = loc.date_order == DateOrder::kDayMonthYear;
  std::optional<DateParts> p;
  if (count == 3) {
    if (nums[0]->digits >= 3 || loc.date_order == DateOrder::kYearMonthDay) {
      DateParts q;
      q.year = FullYear(*nums[0]);
      q.month = nums[1]->value;
      q.day = nums[2]->value;
      if (MakeDate(q)) p = q;
    } else {
      p = DayMonth(nums[0]->value, nums[1]->value, FullYear(*nums[2]), day_first);
    }
  } else if (count == 2) {
    if (nums[0]->digits >= 3) {  // year and month
      DateParts q;
      q.year = nums[0]->value, q.month = nums[1]->value, q.day = 1;
      if (MakeDate(q)) p = q;
    } else if (nums[1]->digits >= 3 || nums[1]->value > 31) {  // month and year
      DateParts q;
      q.year = FullYear(*nums[1]), q.month = nums[0]->value, q.day = 1;
      if (MakeDate(q)) p = q;
    } else {
      p = DayMonth(nums[0]->value, nums[1]->value, SplitDate(Now()).year, day_first);
    }
  }
  if (!p) return std::nullopt;
  *parts = *p;
  return MakeDate(*p);
}

// "nn?nn?nnnn", the form dates travel in, read without tokenizing. False when the text has
// another shape (the general parser then decides).
bool ParseShortDate(TextView t, const LocaleInfo& loc, std::optional<Date>* out) {
  if (t.size() != 10 || loc.date_order == DateOrder::kYearMonthDay || !IsDateSep(t[2], loc) ||
      t[5] != t[2]) {
    return false;
  }
  int v[8];
  static constexpr int kDigitAt[8] = {0, 1, 3, 4, 6, 7, 8, 9};
  for (int k = 0; k < 8; ++k) {
    const char16_t c = t[kDigitAt[k]];
    if (c < u'0' || c > u'9') return false;
    v[k] = c - u'0';
  }
  const int year = v[4] * 1000 + v[5] * 100 + v[6] * 10 + v[7];
  auto p = DayMonth(v[0] * 10 + v[1], v[2] * 10 + v[3], year,
                    loc.date_order == DateOrder::kDayMonthYear);
  *out = p ? MakeDate(*p) : std::nullopt;
  return true;
}

}  // namespace

std::optional<Date> ParseDate(TextView text, const LocaleInfo& loc) {
  std::optional<Date> short_form;
  if (ParseShortDate(text, loc, &short_form)) return short_form;
  DateTokens tok;
  if (!TokenizeDate(text, loc, &tok) || tok.size() == 0) return std::nullopt;
  // The time part starts at the number before the first ":" (or before an AM/PM word).
  size_t time_begin = tok.size();
  for (size_t i = 0; i < tok.size(); ++i) {
    if ((tok[i].kind == DateToken::kTimeSep || tok[i].kind == DateToken::kWord) && i > 0 &&
        tok[i - 1].kind == DateToken::kNumber) {
      time_begin = i - 1;
      break;
    }
  }
  bool has_date = false;
  DateParts parts;
  auto date = AssembleDate(tok, 0, time_begin, loc, &has_date, &parts);
  if (!date) return std::nullopt;
  if (time_begin == tok.size()) {
    return has_date ? date : std::nullopt;
  }
  // Time: N [: N [: N]] [AM|PM]
  int fields[3] = {0, 0, 0};
  int nf = 0;
  size_t i = time_begin;
  while (i < tok.size() && tok[i].kind == DateToken::kNumber && nf < 3) {
    fields[nf++] = tok[i++].value;
    if (i < tok.size() && tok[i].kind == DateToken::kTimeSep) {
      ++i;
      if (i >= tok.size() || tok[i].kind != DateToken::kNumber) return std::nullopt;
    } else {
      break;
    }
  }
  if (i < tok.size() && tok[i].kind == DateToken::kWord) {
    const bool am = EqualsNoCase(tok[i].word, loc.am) || EqualsNoCase(tok[i].word, u"AM") ||
                    EqualsNoCase(tok[i].word, u"a.m.");
    const bool pm = EqualsNoCase(tok[i].word, loc.pm) || EqualsNoCase(tok[i].word, u"PM") ||
                    EqualsNoCase(tok[i].word, u"p.m.");
    if ((!am && !pm) || fields[0] > 12 || fields[0] < 1) return std::nullopt;
    if (fields[0] == 12) fields[0] = 0;
    if (pm) fields[0] += 12;
    ++i;
  } else if (nf < 2) {
    return std::nullopt;  // a lone number is no time
  }
  if (i != tok.size()) return std::nullopt;
  if (fields[0] > 23 || fields[1] > 59 || fields[2] > 59) return std::nullopt;
  const double time = (fields[0] * 3600 + fields[1] * 60 + fields[2]) / 86400.0;
  if (!has_date) return Date{time};
  return Date{date->serial >= 0 ? date->serial + time : date->serial - time};
}

Text DateToText(Date d, const LocaleInfo& loc) {
  const DateParts p = SplitDate(d);
  const bool has_time = p.hour != 0 || p.minute != 0 || p.second != 0;
  const bool has_date = std::trunc(d.serial) != 0 || !has_time;
  Text out;
  if (has_date) {
    const int values[3][2] = {{p.day, 2}, {p.month, 2}, {p.year, 4}};
    int order[3];
    switch (loc.date_order) {
      case DateOrder::kDayMonthYear:
        order[0] = 0, order[1] = 1, order[2] = 2;
        break;
      case DateOrder::kMonthDayYear:
        order[0] = 1, order[1] = 0, order[2] = 2;
        break;
      case DateOrder::kYearMonthDay:
        order[0] = 2, order[1] = 1, order[2] = 0;
        break;
    }
    for (int k = 0; k < 3; ++k) {
      if (k > 0) out.push_back(loc.date_sep);
      AppendPadded(&out, values[order[k]][0], values[order[k]][1]);
    }
  }
  if (has_time) {
    if (has_date) out.push_back(u' ');
    int hour = p.hour;
    if (loc.time_12h) hour = hour % 12 == 0 ? 12 : hour % 12;
    AppendPadded(&out, hour, 2);
    out.push_back(u':');
    AppendPadded(&out, p.minute, 2);
    out.push_back(u':');
    AppendPadded(&out, p.second, 2);
    if (loc.time_12h) {
      out.push_back(u' ');
      out += p.hour < 12 ? loc.am : loc.pm;
    }
  }
  return out;
}

}  // namespace qel
