// qel::Decimal: the automation Decimal, exact.
//
// A value is (-1)^negative * mantissa / 10^scale with a 96-bit unsigned mantissa and a scale
// of 0..28. Arithmetic never goes through binary floating point: results are computed on
// 192-bit integers and rounded half to even to the largest scale whose mantissa fits in 96
// bits. A result whose integer part does not fit raises error 6 (overflow); a division by zero
// raises error 11. Values are plain data, cheap to copy and thread-safe.
#ifndef QEL_FRAME_DECIMAL_H_
#define QEL_FRAME_DECIMAL_H_

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

__extension__ typedef unsigned __int128 uint128;

class QEL_EXPORT Decimal {
 public:
  static constexpr int kMaxScale = 28;
  // 2^96 - 1, the largest mantissa.
  static constexpr uint128 kMaxMantissa = (uint128{1} << 96) - 1;

  constexpr Decimal() = default;  // zero

  // REQUIRES: mantissa <= kMaxMantissa, 0 <= scale <= kMaxScale.
  static constexpr Decimal FromParts(uint128 mantissa, int scale, bool negative) {
    Decimal d;
    d.mantissa_ = mantissa;
    d.scale_ = static_cast<uint8_t>(scale);
    d.negative_ = negative && mantissa != 0;
    return d;
  }
  static Decimal FromInt64(int64_t v);

  // The value of the decimal digits `digits` (ASCII '0'..'9', any number, leading zeros
  // allowed) times 10^exponent, rounded half to even to fit. nullopt when the integer part
  // needs more than 96 bits. Exact for every input; this is what text parsing ends in.
  static std::optional<Decimal> FromDigits(std::string_view digits, int64_t exponent,
                                           bool negative);

  // The double rounded to 15 significant digits, as the platform converts a Double.
  // nullopt for NaN, infinities and magnitudes of 2^96 and above.
  static std::optional<Decimal> FromDouble(double v);

  // Nearest double (correctly rounded).
  double ToDouble() const;

  uint128 mantissa() const { return mantissa_; }
  int scale() const { return scale_; }
  bool negative() const { return negative_; }
  bool IsZero() const { return mantissa_ == 0; }

  // Rounded half to even to `decimals` places (0..28); a larger scale is left as it is.
  Decimal Round(int decimals) const;
  // Integer part: Fix truncates toward zero, Floor toward minus infinity.
  Decimal Fix() const;
  Decimal Floor() const;
  // Trailing zeros of the fraction removed (same value, smallest scale).
  Decimal Normalized() const;
  // Rounded half to even to an integer; nullopt when it does not fit 64 bits.
  std::optional<int64_t> ToInt64() const;

  Decimal operator-() const { return FromParts(mantissa_, scale_, !negative_); }
  Decimal Abs() const { return FromParts(mantissa_, scale_, false); }

  // Arithmetic raising error 6 on overflow and 11 on division by zero.
  friend Decimal operator+(const Decimal& a, const Decimal& b);
  friend Decimal operator-(const Decimal& a, const Decimal& b);
  friend Decimal operator*(const Decimal& a, const Decimal& b);
  friend Decimal operator/(const Decimal& a, const Decimal& b);

  // Numeric comparison: 1.50 == 1.5.
  friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b);
  friend bool operator==(const Decimal& a, const Decimal& b) {
    return (a <=> b) == std::strong_ordering::equal;
  }

  // Plain digits with `decimal_sep` before the fraction, trailing fraction zeros dropped,
  // "-" in front of a negative value; no grouping, no exponent. "0" for zero.
  Text ToText(char16_t decimal_sep = u'.') const;
  std::string ToAscii() const;  // the same with "." as separator

 private:
  uint128 mantissa_ = 0;
  uint8_t scale_ = 0;
  bool negative_ = false;
};

}  // namespace qel

#endif  // QEL_FRAME_DECIMAL_H_
