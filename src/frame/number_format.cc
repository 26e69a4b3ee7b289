#include "qel/frame/number_format.h"

#include <string>

namespace qel {
namespace {

bool IsPlaceholder(char16_t c) { return c == u'#' || c == u'0' || c == u',' || c == u'.'; }

struct Pattern {
  TextView prefix;
  TextView suffix;
  bool grouping = false;
  int min_integer = 0;   // "0" placeholders before the point
  int min_fraction = 0;  // "0" placeholders after it
  int max_fraction = 0;  // "0" and "#" placeholders after it
};

bool ParsePattern(TextView p, Pattern* out) {
  size_t begin = 0;
  while (begin < p.size() && !IsPlaceholder(p[begin])) ++begin;
  size_t end = begin;
  while (end < p.size() && IsPlaceholder(p[end])) ++end;
  out->prefix = p.substr(0, begin);
  out->suffix = p.substr(end);
  bool fraction = false;
  bool any_digit = false;
  for (size_t i = begin; i < end; ++i) {
    const char16_t c = p[i];
    if (c == u'.') {
      fraction = true;
    } else if (c == u',') {
      if (!fraction) out->grouping = true;
    } else {
      any_digit = true;
      if (fraction) {
        ++out->max_fraction;
        if (c == u'0') ++out->min_fraction;
      } else if (c == u'0') {
        ++out->min_integer;
      }
    }
  }
  return any_digit;
}

// The magnitude rounded half away from zero to at most `decimals` places.
Decimal RoundAwayFromZero(const Decimal& v, int decimals) {
  if (v.scale() <= decimals) return v.Abs();
  uint128 divisor = 1;
  for (int i = decimals; i < v.scale(); ++i) divisor *= 10;
  uint128 q = v.mantissa() / divisor;
  if ((v.mantissa() % divisor) * 2 >= divisor) ++q;
  // q <= mantissa / 10 + 1, so it still fits in 96 bits.
  return Decimal::FromParts(q, decimals, false);
}

}  // namespace

Text FormatNumber(const Decimal& value, TextView pattern, const LocaleInfo& loc) {
  Pattern pat;
  if (!ParsePattern(pattern, &pat)) return value.ToText(loc.decimal);

  const Decimal rounded = RoundAwayFromZero(value, pat.max_fraction);
  const std::string plain = rounded.ToAscii();  // digits, "." before a nonzero fraction
  const size_t point = plain.find('.');
  std::string integer = plain.substr(0, point);
  std::string fraction = point == std::string::npos ? std::string() : plain.substr(point + 1);
  if (integer == "0") integer.clear();
  if (static_cast<int>(integer.size()) < pat.min_integer) {
    integer.insert(0, static_cast<size_t>(pat.min_integer) - integer.size(), '0');
  }
  if (static_cast<int>(fraction.size()) < pat.min_fraction) {
    fraction.append(static_cast<size_t>(pat.min_fraction) - fraction.size(), '0');
  }

  Text out;
  out.reserve(pattern.size() + integer.size() + integer.size() / 3 + fraction.size() + 2);
  if (value.negative() && !rounded.IsZero()) out.push_back(u'-');
  out.append(pat.prefix);
  for (size_t i = 0; i < integer.size(); ++i) {
    if (pat.grouping && i > 0 && (integer.size() - i) % 3 == 0) out.push_back(loc.thousand);
    out.push_back(static_cast<char16_t>(integer[i]));
  }
  if (!fraction.empty()) {
    out.push_back(loc.decimal);
    for (char c : fraction) out.push_back(static_cast<char16_t>(c));
  }
  out.append(pat.suffix);
  return out;
}

}  // namespace qel
