// qel::Decimal implementation.
//
// Design: every operation that can lose digits ends in Reduce(), which receives an exact
// integer N of up to 192 bits at some scale s, plus a Tail saying how the exact value continues
// below N's last digit (nothing, less than half a unit, exactly half, more than half). Reduce
// picks the smallest k such that s - k <= 28 and round(N / 10^k) fits in 96 bits, and rounds
// half to even once, from N itself, so no value is ever rounded twice. k > s means the integer
// part does not fit: overflow.
//
//  - + and - align both mantissas to the larger scale (an exact 192-bit sum).
//  - * multiplies the mantissas (96 x 96 -> 192 bits) at the sum of the scales.
//  - / divides in chunks of up to 19 decimal digits until the remainder is zero, the scale
//    reaches 28 or the quotient stops fitting; the remainder against the divisor gives the Tail.
//  - FromDigits keeps the digits down to scale 28 and classifies the rest as the Tail; inputs
//    of at most 19 significant digits take a 64-bit path without the 192-bit helper.
//
// Binary floating point appears only in FromDouble (std::to_chars to 15 significant digits,
// then the exact decimal path) and ToDouble (std::from_chars on the exact decimal text).
#include "qel/frame/decimal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "qel/frame/error.h"

namespace qel {
namespace {

// 10^19 is the largest power of ten in 64 bits.
constexpr int kChunkDigits = 19;

constexpr std::array<uint64_t, 20> kPow10 = [] {
  std::array<uint64_t, 20> p{};
  p[0] = 1;
  for (size_t i = 1; i < p.size(); ++i) p[i] = p[i - 1] * 10;
  return p;
}();

constexpr std::array<uint128, 29> kPow10Wide = [] {
  std::array<uint128, 29> p{};
  p[0] = 1;
  for (size_t i = 1; i < p.size(); ++i) p[i] = p[i - 1] * 10;
  return p;
}();

// (hi * 2^64 + lo) / d with the remainder in *rem. REQUIRES: hi < d, so the quotient fits.
inline uint64_t Div128By64(uint64_t hi, uint64_t lo, uint64_t d, uint64_t* rem) {
#if defined(__x86_64__)
  uint64_t q;
  __asm__("divq %4" : "=a"(q), "=d"(*rem) : "a"(lo), "d"(hi), "rm"(d));
  return q;
#else
  const uint128 n = (uint128{hi} << 64) | lo;
  *rem = static_cast<uint64_t>(n % d);
  return static_cast<uint64_t>(n / d);
#endif
}

// Unsigned 192-bit integer, three little-endian 64-bit limbs. Only what Decimal needs.
struct U192 {
  uint64_t w[3] = {0, 0, 0};

  static U192 Of(uint128 v) {
    U192 r;
    r.w[0] = static_cast<uint64_t>(v);
    r.w[1] = static_cast<uint64_t>(v >> 64);
    return r;
  }

  bool IsZero() const { return (w[0] | w[1] | w[2]) == 0; }
  bool Fits96() const { return w[2] == 0 && (w[1] >> 32) == 0; }
  bool IsOdd() const { return (w[0] & 1) != 0; }
  uint128 Low128() const { return (uint128{w[1]} << 64) | w[0]; }

  // *this = *this * m + add. The caller guarantees the result fits.
  constexpr void MulAdd(uint64_t m, uint64_t add) {
    uint128 carry = add;
    for (uint64_t& limb : w) {
      const uint128 t = uint128{limb} * m + carry;
      limb = static_cast<uint64_t>(t);
      carry = t >> 64;
    }
  }

  void MulPow10(int k) {
    while (k > 0) {
      const int j = std::min(k, kChunkDigits);
      MulAdd(kPow10[j], 0);
      k -= j;
    }
  }

  // Divides in place by d (nonzero) and returns the remainder.
  uint64_t DivSmall(uint64_t d) {
    int top = 2;
    while (top > 0 && w[top] == 0) --top;
    uint64_t rem = 0;
    for (int i = top; i >= 0; --i) w[i] = Div128By64(rem, w[i], d, &rem);
    return rem;
  }

  void Add(const U192& o) {
    uint128 carry = 0;
    for (int i = 0; i < 3; ++i) {
      carry += uint128{w[i]} + o.w[i];
      w[i] = static_cast<uint64_t>(carry);
      carry >>= 64;
    }
  }

  // REQUIRES: *this >= o.
  void Sub(const U192& o) {
    uint64_t borrow = 0;
    for (int i = 0; i < 3; ++i) {
      const uint128 t = uint128{w[i]} - o.w[i] - borrow;
      w[i] = static_cast<uint64_t>(t);
      borrow = static_cast<uint64_t>(t >> 64) & 1;
    }
  }

  friend std::strong_ordering operator<=>(const U192& a, const U192& b) {
    for (int i = 2; i >= 0; --i) {
      if (a.w[i] != b.w[i]) return a.w[i] <=> b.w[i];
    }
    return std::strong_ordering::equal;
  }
};

// a * b for a, b < 2^96 (the product is below 2^192).
U192 Mul(uint128 a, uint128 b) {
  const uint64_t a0 = static_cast<uint64_t>(a), a1 = static_cast<uint64_t>(a >> 64);
  const uint64_t b0 = static_cast<uint64_t>(b), b1 = static_cast<uint64_t>(b >> 64);
  const uint128 low = uint128{a0} * b0;
  const uint128 mid = uint128{a0} * b1 + uint128{a1} * b0;  // each term < 2^96
  U192 r;
  r.w[0] = static_cast<uint64_t>(low);
  const uint128 t = (low >> 64) + static_cast<uint64_t>(mid);
  r.w[1] = static_cast<uint64_t>(t);
  r.w[2] = static_cast<uint64_t>((t >> 64) + (mid >> 64) + uint128{a1} * b1);
  return r;
}

// Quotient of num / d (d != 0), remainder in *rem. Knuth's algorithm D on 32-bit digits when
// the divisor needs more than 64 bits.
U192 DivMod(const U192& num, uint128 d, uint128* rem) {
  if ((d >> 64) == 0) {
    U192 q = num;
    *rem = q.DivSmall(static_cast<uint64_t>(d));
    return q;
  }
  uint32_t u[6], v[4];
  for (int i = 0; i < 3; ++i) {
    u[2 * i] = static_cast<uint32_t>(num.w[i]);
    u[2 * i + 1] = static_cast<uint32_t>(num.w[i] >> 32);
  }
  for (int i = 0; i < 4; ++i) v[i] = static_cast<uint32_t>(d >> (32 * i));
  int n = 4;
  while (v[n - 1] == 0) --n;  // n >= 3 here
  int m = 6;
  while (m > 0 && u[m - 1] == 0) --m;
  if (m < n) {
    *rem = num.Low128();
    return U192{};
  }
  // Normalize so the divisor's top digit has its high bit set.
  const int s = std::countl_zero(v[n - 1]);
  auto shl = [s](uint32_t hi, uint32_t lo) {
    return static_cast<uint32_t>((uint64_t{hi} << s) | (uint64_t{lo} >> (32 - s)));
  };
  uint32_t vn[4], un[7];
  for (int i = n - 1; i > 0; --i) vn[i] = shl(v[i], v[i - 1]);
  vn[0] = v[0] << s;
  un[m] = static_cast<uint32_t>(uint64_t{u[m - 1]} >> (32 - s));
  for (int i = m - 1; i > 0; --i) un[i] = shl(u[i], u[i - 1]);
  un[0] = u[0] << s;

  constexpr uint64_t kBase = uint64_t{1} << 32;
  uint32_t q[6] = {};
  for (int j = m - n; j >= 0; --j) {
    const uint64_t top = (uint64_t{un[j + n]} << 32) | un[j + n - 1];
    uint64_t qhat = top / vn[n - 1];
    uint64_t rhat = top % vn[n - 1];
    while (qhat >= kBase || qhat * vn[n - 2] > ((rhat << 32) | un[j + n - 2])) {
      --qhat;
      rhat += vn[n - 1];
      if (rhat >= kBase) break;
    }
    // Multiply and subtract qhat * divisor.
    int64_t k = 0, t = 0;
    for (int i = 0; i < n; ++i) {
      const uint64_t p = qhat * vn[i];
      t = int64_t{un[i + j]} - k - static_cast<int64_t>(p & 0xFFFFFFFFu);
      un[i + j] = static_cast<uint32_t>(t);
      k = static_cast<int64_t>(p >> 32) - (t >> 32);
    }
    t = int64_t{un[j + n]} - k;
    un[j + n] = static_cast<uint32_t>(t);
    q[j] = static_cast<uint32_t>(qhat);
    if (t < 0) {  // qhat was one too large: add the divisor back
      --q[j];
      uint64_t carry = 0;
      for (int i = 0; i < n; ++i) {
        const uint64_t sum = uint64_t{un[i + j]} + vn[i] + carry;
        un[i + j] = static_cast<uint32_t>(sum);
        carry = sum >> 32;
      }
      un[j + n] = static_cast<uint32_t>(un[j + n] + carry);
    }
  }
  uint128 r = 0;
  for (int i = n - 1; i >= 0; --i) {
    const uint64_t above = i + 1 < n ? uint64_t{un[i + 1]} << (32 - s) : 0;
    const uint32_t digit = static_cast<uint32_t>((uint64_t{un[i]} >> s) | above);
    r = (r << 32) | digit;
  }
  *rem = r;
  U192 quotient;
  for (int i = 0; i < 3; ++i) quotient.w[i] = (uint64_t{q[2 * i + 1]} << 32) | q[2 * i];
  return quotient;
}

// How the exact value continues below the last digit of an integer being rounded.
enum class Tail { kExact, kBelowHalf, kHalf, kAboveHalf };

bool RoundsUp(Tail tail, bool odd) {
  return tail == Tail::kAboveHalf || (tail == Tail::kHalf && odd);
}

// round(n / 10^k) half to even, n continuing with `tail`. The caller guarantees that
// floor(n / 10^k) fits in 96 bits.
uint128 ShiftRounded(U192 n, int k, Tail tail) {
  if (k > 0) {
    bool sticky = tail != Tail::kExact;
    const int last = std::min(k, kChunkDigits);  // the digits that decide the rounding
    for (int rest = k - last; rest > 0;) {
      const int j = std::min(rest, kChunkDigits);
      sticky |= n.DivSmall(kPow10[j]) != 0;
      rest -= j;
    }
    const uint64_t r = n.DivSmall(kPow10[last]), half = kPow10[last] / 2;
    if (r > half) {
      tail = Tail::kAboveHalf;
    } else if (r == half) {
      tail = sticky ? Tail::kAboveHalf : Tail::kHalf;
    } else {
      tail = (r > 0 || sticky) ? Tail::kBelowHalf : Tail::kExact;
    }
  }
  return n.Low128() + (RoundsUp(tail, n.IsOdd()) ? 1 : 0);
}

// 2^96 * 10^k for k = 0..28: floor(n / 10^k) fits in 96 bits exactly when n is below it. From
// k = 29 on every 192-bit n qualifies.
constexpr std::array<U192, 29> kFitLimits = [] {
  std::array<U192, 29> t{};
  t[0].w[1] = uint64_t{1} << 32;
  for (size_t k = 1; k < t.size(); ++k) {
    t[k] = t[k - 1];
    t[k].MulAdd(10, 0);
  }
  return t;
}();

// The value n / 10^scale (continuing with `tail`) rounded half to even to the largest scale
// <= 28 whose mantissa fits 96 bits; nullopt when not even scale 0 fits.
std::optional<Decimal> Reduce(const U192& n, int scale, Tail tail, bool negative) {
  if (scale <= Decimal::kMaxScale && n.Fits96() && tail == Tail::kExact) {
    return Decimal::FromParts(n.Low128(), scale, negative);
  }
  // Smallest k whose truncated quotient fits; rounding up may still need one more digit.
  int k = std::max(0, scale - Decimal::kMaxScale);
  while (k < static_cast<int>(kFitLimits.size()) && n >= kFitLimits[k]) ++k;
  for (;; ++k) {
    if (k > scale) return std::nullopt;
    const uint128 m = ShiftRounded(n, k, tail);
    if (m <= Decimal::kMaxMantissa) return Decimal::FromParts(m, scale - k, negative);
  }
}

Decimal OrOverflow(const std::optional<Decimal>& d) {
  if (!d) RaiseRuntime(kErrOverflow);
  return *d;
}

// Value of up to 19 ASCII digits.
uint64_t ParseU64(const char* p, size_t len) {
  uint64_t v = 0;
  if constexpr (std::endian::native == std::endian::little) {
    // Eight digits at a time: subtract '0' from each byte, then combine pairs, quads, octets.
    for (; len >= 8; len -= 8, p += 8) {
      uint64_t chunk;
      std::memcpy(&chunk, p, 8);
      chunk -= 0x3030303030303030u;
      chunk = chunk * 10 + (chunk >> 8);
      constexpr uint64_t kMask = 0x000000FF000000FFu;
      chunk = ((chunk & kMask) * (100 + (uint64_t{1000000} << 32)) +
               ((chunk >> 16) & kMask) * (1 + (uint64_t{10000} << 32))) >>
              32;
      v = v * 100000000 + static_cast<uint32_t>(chunk);
    }
  }
  for (; len > 0; --len, ++p) v = v * 10 + static_cast<uint64_t>(*p - '0');
  return v;
}

// Classifies the dropped digits `rest` relative to half a unit of the last kept digit.
Tail TailOf(std::string_view rest) {
  if (rest.empty()) return Tail::kExact;
  const char first = rest[0];
  const bool more = rest.find_first_not_of('0', 1) != std::string_view::npos;
  if (first > '5') return Tail::kAboveHalf;
  if (first == '5') return more ? Tail::kAboveHalf : Tail::kHalf;
  return (first > '0' || more) ? Tail::kBelowHalf : Tail::kExact;
}

// Writes the decimal digits of v so that they end at `end`; returns where they begin.
char* WriteDigits(uint64_t v, char* end) {
  static constexpr std::array<char, 200> kPairs = [] {
    std::array<char, 200> t{};
    for (int i = 0; i < 100; ++i) {
      t[2 * i] = static_cast<char>('0' + i / 10);
      t[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return t;
  }();
  while (v >= 100) {
    end -= 2;
    std::memcpy(end, &kPairs[(v % 100) * 2], 2);
    v /= 100;
  }
  if (v >= 10) {
    end -= 2;
    std::memcpy(end, &kPairs[v * 2], 2);
  } else {
    *--end = static_cast<char>('0' + v);
  }
  return end;
}

// The digits of a 96-bit mantissa, in base-10^19 chunks so only one 128-bit division is done.
char* WriteMantissa(uint128 m, char* end) {
  if ((m >> 64) == 0) return WriteDigits(static_cast<uint64_t>(m), end);
  const uint64_t high = static_cast<uint64_t>(m / kPow10[kChunkDigits]);
  const uint64_t low = static_cast<uint64_t>(m % kPow10[kChunkDigits]);
  char* begin = WriteDigits(low, end);
  while (end - begin < kChunkDigits) *--begin = '0';
  return WriteDigits(high, begin);
}

// The text of d with '.' as separator into out (at least 48 chars); returns its length.
size_t FormatAscii(const Decimal& d, char* out) {
  if (d.IsZero()) {
    out[0] = '0';
    return 1;
  }
  char digits[40];
  char* end = digits + sizeof(digits);
  const char* begin = WriteMantissa(d.mantissa(), end);
  int scale = d.scale();
  while (scale > 0 && end[-1] == '0') {  // the leading digit is nonzero, so this stops
    --end;
    --scale;
  }
  const int len = static_cast<int>(end - begin);
  char* p = out;
  if (d.negative()) *p++ = '-';
  if (scale == 0) {
    p = std::copy(begin, static_cast<const char*>(end), p);
  } else if (len > scale) {
    p = std::copy(begin, begin + (len - scale), p);
    *p++ = '.';
    p = std::copy(begin + (len - scale), static_cast<const char*>(end), p);
  } else {
    *p++ = '0';
    *p++ = '.';
    p = std::fill_n(p, scale - len, '0');
    p = std::copy(begin, static_cast<const char*>(end), p);
  }
  return static_cast<size_t>(p - out);
}

int ZeroScale(int64_t exponent) {
  if (exponent >= 0) return 0;
  return exponent < -Decimal::kMaxScale ? Decimal::kMaxScale : static_cast<int>(-exponent);
}

// |a| <=> |b|.
std::strong_ordering CompareMagnitude(const Decimal& a, const Decimal& b) {
  if (a.scale() == b.scale()) return a.mantissa() <=> b.mantissa();
  const bool a_finer = a.scale() > b.scale();
  const Decimal& fine = a_finer ? a : b;
  const Decimal& coarse = a_finer ? b : a;
  const int diff = fine.scale() - coarse.scale();
  std::strong_ordering r = std::strong_ordering::equal;
  if (diff <= 9) {  // 2^96 * 10^9 < 2^128
    r = coarse.mantissa() * kPow10Wide[diff] <=> fine.mantissa();
  } else {
    r = Mul(coarse.mantissa(), kPow10Wide[diff]) <=> U192::Of(fine.mantissa());
  }
  // r is coarse <=> fine; turn it into a <=> b.
  return a_finer ? 0 <=> r : r;
}

Decimal AddSigned(const Decimal& a, const Decimal& b, bool b_negative) {
  const bool a_negative = a.negative();
  const int scale = std::max(a.scale(), b.scale());
  const int shift_a = scale - a.scale(), shift_b = scale - b.scale();
  if (std::max(shift_a, shift_b) <= 9) {  // aligned mantissas stay below 2^126
    const uint128 ma = a.mantissa() * kPow10Wide[shift_a];
    const uint128 mb = b.mantissa() * kPow10Wide[shift_b];
    uint128 m;
    bool negative;
    if (a_negative == b_negative) {
      m = ma + mb;
      negative = a_negative;
    } else if (ma >= mb) {
      m = ma - mb;
      negative = a_negative;
    } else {
      m = mb - ma;
      negative = b_negative;
    }
    if (m <= Decimal::kMaxMantissa) return Decimal::FromParts(m, scale, negative);
    return OrOverflow(Reduce(U192::Of(m), scale, Tail::kExact, negative));
  }
  U192 x = U192::Of(a.mantissa()), y = U192::Of(b.mantissa());
  x.MulPow10(shift_a);
  y.MulPow10(shift_b);
  bool negative = a_negative;
  if (a_negative == b_negative) {
    x.Add(y);
  } else if (x >= y) {
    x.Sub(y);
  } else {
    y.Sub(x);
    x = y;
    negative = b_negative;
  }
  return OrOverflow(Reduce(x, scale, Tail::kExact, negative));
}

}  // namespace

Decimal Decimal::FromInt64(int64_t v) {
  const uint64_t magnitude = v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
  return FromParts(magnitude, 0, v < 0);
}

std::optional<Decimal> Decimal::FromDigits(std::string_view digits, int64_t exponent,
                                           bool negative) {
  const size_t first = digits.find_first_not_of('0');
  if (first == std::string_view::npos) return FromParts(0, ZeroScale(exponent), false);
  digits.remove_prefix(first);
  const int64_t n = static_cast<int64_t>(digits.size());
  // The leading digit is nonzero, so the value is at least 10^(n + exponent - 1): more than
  // 29 integer digits never fit.
  if (exponent > 29 - n) return std::nullopt;

  if (n <= kChunkDigits) {
    const uint64_t v = ParseU64(digits.data(), digits.size());
    if (exponent >= 0) {  // n + exponent <= 29, so the product stays below 2^97
      const uint128 m = uint128{v} * kPow10Wide[exponent];
      if (m > kMaxMantissa) return std::nullopt;
      return FromParts(m, 0, negative);
    }
    if (exponent >= -kMaxScale) return FromParts(v, static_cast<int>(-exponent), negative);
    // More than 28 decimals: drop k digits, rounding half to even. When k > n the value is
    // below a tenth of the last unit and rounds to zero.
    if (exponent < -kMaxScale - n) return FromParts(0, kMaxScale, false);
    const int k = static_cast<int>(-exponent - kMaxScale);
    const uint64_t p = kPow10[k], half = p / 2;
    uint64_t q = v / p;
    const uint64_t r = v % p;
    if (r > half || (r == half && (q & 1) != 0)) ++q;
    return FromParts(q, kMaxScale, negative);
  }

  // Many digits: keep those down to scale 28 (at most 29 + 28 of them, below 2^192) and let
  // the rest decide the rounding.
  const int64_t int_digits = n + exponent;  // <= 29
  const int64_t keep = std::min(n, int_digits + kMaxScale);
  if (keep < 0) return FromParts(0, kMaxScale, false);  // below 0.1 units of scale 28
  U192 m;
  for (int64_t i = 0; i < keep; i += kChunkDigits) {
    const int64_t len = std::min<int64_t>(kChunkDigits, keep - i);
    m.MulAdd(kPow10[len], ParseU64(digits.data() + i, static_cast<size_t>(len)));
  }
  int scale = 0;
  if (exponent >= 0) {
    m.MulPow10(static_cast<int>(exponent));
  } else {
    scale = static_cast<int>(keep - int_digits);
  }
  return Reduce(m, scale, TailOf(digits.substr(static_cast<size_t>(keep))), negative);
}

std::optional<Decimal> Decimal::FromDouble(double v) {
  if (!std::isfinite(v) || std::fabs(v) >= 0x1p96) return std::nullopt;
  if (v == 0) return Decimal();
  // "d.ddddddddddddddde[+-]xx": 15 significant digits, correctly rounded.
  char buf[32];
  const auto res = std::to_chars(buf, buf + sizeof(buf), v, std::chars_format::scientific, 14);
  const char* p = buf;
  const bool negative = *p == '-';
  if (negative) ++p;
  char digits[15];
  digits[0] = *p++;
  ++p;  // '.'
  std::memcpy(digits + 1, p, 14);
  p += 15;  // 14 digits and 'e'
  const bool exp_negative = *p == '-';
  ++p;
  int exp10 = 0;
  std::from_chars(p, res.ptr, exp10);
  int64_t exponent = (exp_negative ? -exp10 : exp10) - 14;
  size_t n = 15;
  while (n > 1 && digits[n - 1] == '0') {  // no trailing zeros in the fraction
    --n;
    ++exponent;
  }
  return FromDigits(std::string_view(digits, n), exponent, negative);
}

double Decimal::ToDouble() const {
  // "[-]digitse-scale", which std::from_chars rounds correctly to the nearest double.
  char buf[48];
  char* p = buf;
  if (negative_) *p++ = '-';
  char digits[40];
  char* end = digits + sizeof(digits);
  const char* begin = WriteMantissa(mantissa_, end);
  p = std::copy(begin, static_cast<const char*>(end), p);
  *p++ = 'e';
  *p++ = '-';
  p = std::to_chars(p, buf + sizeof(buf), static_cast<int>(scale_)).ptr;
  double v = 0;
  std::from_chars(buf, p, v);
  return v;
}

Decimal Decimal::Round(int decimals) const {
  decimals = std::max(decimals, 0);
  if (decimals >= scale_) return *this;
  const uint128 p = kPow10Wide[scale_ - decimals], half = p / 2;
  uint128 q = mantissa_ / p;
  const uint128 r = mantissa_ % p;
  if (r > half || (r == half && (q & 1) != 0)) ++q;
  return FromParts(q, decimals, negative_);
}

Decimal Decimal::Fix() const { return FromParts(mantissa_ / kPow10Wide[scale_], 0, negative_); }

Decimal Decimal::Floor() const {
  const uint128 p = kPow10Wide[scale_];
  uint128 q = mantissa_ / p;
  if (negative_ && mantissa_ % p != 0) ++q;
  return FromParts(q, 0, negative_);
}

Decimal Decimal::Normalized() const {
  if (mantissa_ == 0) return Decimal();
  uint128 m = mantissa_;
  int scale = scale_;
  while (scale > 0 && (m >> 64) != 0 && m % 10 == 0) {
    m /= 10;
    --scale;
  }
  uint64_t small = static_cast<uint64_t>(m);
  if ((m >> 64) == 0) {
    while (scale > 0 && small % 10 == 0) {
      small /= 10;
      --scale;
    }
    m = small;
  }
  return FromParts(m, scale, negative_);
}

std::optional<int64_t> Decimal::ToInt64() const {
  const Decimal r = Round(0);
  const uint128 limit = uint128{1} << 63;  // |INT64_MIN|
  if (r.negative_) {
    if (r.mantissa_ > limit) return std::nullopt;
    return static_cast<int64_t>(0 - static_cast<uint64_t>(r.mantissa_));
  }
  if (r.mantissa_ >= limit) return std::nullopt;
  return static_cast<int64_t>(r.mantissa_);
}

Decimal operator+(const Decimal& a, const Decimal& b) { return AddSigned(a, b, b.negative()); }

Decimal operator-(const Decimal& a, const Decimal& b) { return AddSigned(a, b, !b.negative()); }

Decimal operator*(const Decimal& a, const Decimal& b) {
  const bool negative = a.negative() != b.negative();
  const int scale = a.scale() + b.scale();
  if ((a.mantissa() >> 64) == 0 && (b.mantissa() >> 64) == 0) {
    const uint128 p = a.mantissa() * b.mantissa();
    if (p <= Decimal::kMaxMantissa && scale <= Decimal::kMaxScale) {
      return Decimal::FromParts(p, scale, negative);
    }
    return OrOverflow(Reduce(U192::Of(p), scale, Tail::kExact, negative));
  }
  return OrOverflow(Reduce(Mul(a.mantissa(), b.mantissa()), scale, Tail::kExact, negative));
}

Decimal operator/(const Decimal& a, const Decimal& b) {
  if (b.IsZero()) RaiseRuntime(kErrDivisionByZero);
  const bool negative = a.negative() != b.negative();
  const uint128 divisor = b.mantissa();
  // Quotient digits at scale s are a.mantissa * 10^(s + b.scale - a.scale) / divisor. Start at
  // the smallest scale where that exponent is >= 0 and the scale is >= 0.
  const int first_scale = std::max(0, a.scale() - b.scale());
  int scale = first_scale;
  U192 num = U192::Of(a.mantissa());
  num.MulPow10(std::max(0, b.scale() - a.scale()));  // below 2^96 * 10^28 < 2^190
  uint128 rem = 0;
  U192 q = DivMod(num, divisor, &rem);
  // More digits while they are inexact, wanted and could still fit.
  while (rem != 0 && scale < Decimal::kMaxScale && q.Fits96()) {
    const int j = std::min(Decimal::kMaxScale - scale, kChunkDigits);
    uint128 next_rem = 0;
    const U192 more = DivMod(Mul(rem, kPow10[j]), divisor, &next_rem);  // more < 10^j
    q.MulAdd(kPow10[j], more.w[0]);
    rem = next_rem;
    scale += j;
  }
  Tail tail = Tail::kExact;
  if (rem != 0) {
    const uint128 twice = rem << 1;  // rem < divisor < 2^96
    if (twice < divisor) {
      tail = Tail::kBelowHalf;
    } else {
      tail = twice == divisor ? Tail::kHalf : Tail::kAboveHalf;
    }
  } else {
    // Exact: keep the first scale at which the division left no remainder.
    while (scale > first_scale) {
      U192 t = q;
      if (t.DivSmall(10) != 0) break;
      q = t;
      --scale;
    }
  }
  return OrOverflow(Reduce(q, scale, tail, negative));
}

std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) {
  const bool a_negative = a.negative() && !a.IsZero();
  const bool b_negative = b.negative() && !b.IsZero();
  if (a_negative != b_negative) {
    return a_negative ? std::strong_ordering::less : std::strong_ordering::greater;
  }
  const std::strong_ordering m = CompareMagnitude(a, b);
  return a_negative ? 0 <=> m : m;
}

Text Decimal::ToText(char16_t decimal_sep) const {
  char buf[48];
  const size_t len = FormatAscii(*this, buf);
  Text out(len, u'0');
  for (size_t i = 0; i < len; ++i) out[i] = buf[i] == '.' ? decimal_sep : char16_t(buf[i]);
  return out;
}

std::string Decimal::ToAscii() const {
  char buf[48];
  return std::string(buf, FormatAscii(*this, buf));
}

}  // namespace qel
