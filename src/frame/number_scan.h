// Scanning number text the way the platform's text-to-number conversions read it.
//
// Grammar (locale-dependent separators; blanks are spaces and tabs):
//   number  := blanks sign? body blanks | blanks "(" blanks body blanks ")" blanks
//            | blanks "&" ("H"|"h") hexdigit{1,8} blanks | blanks "&" ("O"|"o") octdigit{1,11} blanks
//   body    := digits-with-groups (decimal digits*)? exponent? | decimal digits+ exponent?
//   digits-with-groups := digit (digit | thousands)*
//   exponent := ("E"|"e"|"D"|"d") sign? digit+
// The thousands separator is accepted anywhere after the first digit of the integer part and
// ignored (so under a "," decimal locale "1.234,5" is 1234.5 and "1.5" is 15).
//
// The result keeps at most kMaxDigits significant digits; when more are given, the excess is
// folded into the exponent and a final "1" marks that nonzero digits were dropped, which keeps
// rounding to 29 digits (Decimal) exact and doubles correctly rounded except on inputs of more
// than kMaxDigits digits lying exactly on a halfway point.
#ifndef QEL_SRC_FRAME_NUMBER_SCAN_H_
#define QEL_SRC_FRAME_NUMBER_SCAN_H_

#include <cstdint>
#include <string_view>

#include "qel/frame/locale.h"
#include "qel/frame/text.h"

namespace qel::internal {

struct ScannedNumber {
  static constexpr int kMaxDigits = 64;
  bool negative = false;
  bool radix = false;        // "&H" / "&O" literal; the value is in radix_value
  uint32_t radix_value = 0;  // two's complement bits of a radix literal
  int radix_digits = 0;
  char digits[kMaxDigits];  // significant digits, no leading zeros; `count` are set
  int count = 0;
  int64_t exponent = 0;  // value = digits * 10^exponent

  std::string_view Digits() const { return {digits, static_cast<size_t>(count)}; }
};

// True when the whole text is one number.
bool ScanNumber(TextView text, char16_t decimal, char16_t thousand, ScannedNumber* out);

// The number as a double; false on overflow (magnitude beyond the double range).
bool ScannedToDouble(const ScannedNumber& n, double* out);

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_NUMBER_SCAN_H_
