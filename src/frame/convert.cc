// The standard conversions. Each target has one function that switches on the source type;
// text goes through number_scan (numbers) or ParseDate (date_text.cc) with the thread's
// locale.
// Integer targets round half to even (nearbyint in the default rounding mode for binary
// sources, Decimal::ToInt64 for exact ones).
#include "qel/frame/convert.h"

#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "number_scan.h"
#include "qel/frame/date.h"
#include "qel/frame/error.h"
#include "qel/frame/object.h"

namespace qel {

using internal::ScannedNumber;
using internal::ScanNumber;

namespace {

[[noreturn]] void Mismatch() { RaiseRuntime(kErrTypeMismatch); }
[[noreturn]] void Overflow() { RaiseRuntime(kErrOverflow); }

constexpr double kCurrencyMax = 922337203685477.5807;

ScannedNumber ScanOrMismatch(const Text& s) {
  const LocaleInfo& loc = ThreadLocale();
  ScannedNumber n;
  if (!ScanNumber(s, loc.decimal, loc.thousand, &n)) Mismatch();
  return n;
}

double TextToDouble(const Text& s) {
  const ScannedNumber n = ScanOrMismatch(s);
  double d;
  if (!internal::ScannedToDouble(n, &d)) Overflow();
  return d;
}

// Exact value of a text; radix literals become their signed 32-bit value.
Decimal TextToDecimal(const Text& s) {
  const ScannedNumber n = ScanOrMismatch(s);
  if (n.radix) return Decimal::FromInt64(static_cast<int32_t>(n.radix_value));
  auto d = Decimal::FromDigits(n.Digits(), n.exponent, n.negative);
  if (!d) Overflow();
  return *d;
}

// A finite, nonzero binary value rounded to `precision` significant digits and taken apart:
// value = (negative ? -1 : 1) * 0.d1d2...dn * 10^(exp10 + 1), trailing zeros dropped.
struct Significant {
  bool negative = false;
  char digits[24];
  int count = 0;
  int exp10 = 0;  // the exponent of the first digit
};

Significant Decompose(double v, int precision) {
  char buf[48];
  const auto r =
      std::to_chars(buf, buf + sizeof buf, v, std::chars_format::scientific, precision - 1);
  // buf: [-]d.ddde[+-]xx
  Significant out;
  const char* p = buf;
  if (*p == '-') out.negative = true, ++p;
  for (; *p != 'e'; ++p) {
    if (*p != '.') out.digits[out.count++] = *p;
  }
  while (out.count > 1 && out.digits[out.count - 1] == '0') --out.count;
  std::from_chars(p + (p[1] == '+' ? 2 : 1), r.ptr, out.exp10);
  return out;
}

// A double or float rounded to `digits` significant digits, exactly.
Decimal DecimalOfBinary(double v, int digits) {
  if (!std::isfinite(v)) Overflow();
  if (v == 0) return Decimal();
  const Significant sig = Decompose(v, digits);
  auto d = Decimal::FromDigits({sig.digits, static_cast<size_t>(sig.count)},
                               sig.exp10 - sig.count + 1, sig.negative);
  if (!d) Overflow();
  return d->Normalized();
}

Decimal CurrencyToDecimal(Currency c) {
  const bool neg = c.scaled < 0;
  const uint64_t mag = neg ? 0 - static_cast<uint64_t>(c.scaled) : static_cast<uint64_t>(c.scaled);
  return Decimal::FromParts(mag, 4, neg);
}

int64_t RoundedInteger(double v) {
  if (std::isnan(v) || v >= 9.2233720368547758e18 || v < -9.2233720368547758e18) Overflow();
  return static_cast<int64_t>(std::nearbyint(v));
}

// Any non-text value as an exact-enough integer, rounded half to even.
int64_t ToInt64(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
      return 0;
    case VarType::kNull:
      RaiseRuntime(kErrInvalidNull);
    case VarType::kInteger:
      return v.Get<int16_t>();
    case VarType::kLong:
      return v.Get<int32_t>();
    case VarType::kByte:
      return v.Get<uint8_t>();
    case VarType::kBoolean:
      return v.Get<bool>() ? -1 : 0;
    case VarType::kSingle:
      return RoundedInteger(v.Get<float>());
    case VarType::kDouble:
      return RoundedInteger(v.Get<double>());
    case VarType::kDate:
      return RoundedInteger(v.Get<Date>().serial);
    case VarType::kCurrency: {
      auto r = CurrencyToDecimal(v.Get<Currency>()).ToInt64();
      return *r;  // a currency always fits
    }
    case VarType::kDecimal: {
      auto r = v.Get<Decimal>().ToInt64();
      if (!r) Overflow();
      return *r;
    }
    case VarType::kString: {
      const ScannedNumber n = ScanOrMismatch(v.Get<Text>());
      if (n.radix) {
        // Up to four hex (or six octal) digits make a 16-bit literal, as the platform reads them.
        const bool short_literal = n.radix_value <= 0xFFFF && n.radix_digits <= 4;
        return short_literal ? static_cast<int16_t>(n.radix_value)
                             : static_cast<int32_t>(n.radix_value);
      }
      auto d = Decimal::FromDigits(n.Digits(), n.exponent, n.negative);
      if (!d) Overflow();
      auto r = d->ToInt64();
      if (!r) Overflow();
      return *r;
    }
    case VarType::kObject:
      return ToInt64(Unwrap(v));
    default:
      Mismatch();
  }
}

template <class I>
I NarrowInteger(const Variant& v) {
  const int64_t x = ToInt64(v);
  if (x < std::numeric_limits<I>::min() || x > std::numeric_limits<I>::max()) Overflow();
  return static_cast<I>(x);
}

bool IsBooleanWord(const Text& s, bool* value) {
  const TextView t = Trim(s);
  if (EqualsNoCase(t, u"True") || EqualsNoCase(t, u"Verdadero")) {
    *value = true;
    return true;
  }
  if (EqualsNoCase(t, u"False") || EqualsNoCase(t, u"Falso")) {
    *value = false;
    return true;
  }
  return false;
}

// Digits of a binary floating-point value with `precision` significant digits, laid out as the
// platform prints them: plain for decimal exponents -4 <= e < precision, else d.dddE+xx.
Text BinaryToText(double v, int precision, char16_t decimal) {
  if (v == 0 || !std::isfinite(v)) return u"0";
  const Significant sig = Decompose(v, precision);
  const char* digits = sig.digits;
  const int nd = sig.count;
  const int exp10 = sig.exp10;
  char16_t out[48];
  size_t n = 0;
  if (sig.negative) out[n++] = u'-';
  if (exp10 < -4 || exp10 >= precision) {
    out[n++] = static_cast<char16_t>(digits[0]);
    if (nd > 1) out[n++] = decimal;
    for (int i = 1; i < nd; ++i) out[n++] = static_cast<char16_t>(digits[i]);
    const int e = exp10 < 0 ? -exp10 : exp10;
    out[n++] = u'E';
    out[n++] = exp10 < 0 ? u'-' : u'+';
    if (e >= 100) out[n++] = static_cast<char16_t>(u'0' + e / 100);
    out[n++] = static_cast<char16_t>(u'0' + e / 10 % 10);
    out[n++] = static_cast<char16_t>(u'0' + e % 10);
  } else if (exp10 < 0) {
    out[n++] = u'0';
    out[n++] = decimal;
    for (int i = exp10 + 1; i < 0; ++i) out[n++] = u'0';
    for (int i = 0; i < nd; ++i) out[n++] = static_cast<char16_t>(digits[i]);
  } else {
    for (int i = 0; i <= exp10; ++i) out[n++] = i < nd ? static_cast<char16_t>(digits[i]) : u'0';
    if (nd > exp10 + 1) out[n++] = decimal;
    for (int i = exp10 + 1; i < nd; ++i) out[n++] = static_cast<char16_t>(digits[i]);
  }
  return Text(out, n);
}

Text IntegerText(int64_t v) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  return Text(buf, r.ptr);
}

Text ToTextImpl(const Variant& v, const LocaleInfo& loc);

}  // namespace

// ---- Public conversions -------------------------------------------------------------------

Variant Unwrap(const Variant& v) {
  if (!v.IsObject()) return v;
  ObjectPtr obj = v.AsObject();
  if (!obj) RaiseRuntime(kErrObjectNotSet);
  auto value = obj->DefaultValue();
  if (!value) RaiseRuntime(kErrNoSuchMember);
  return *value;
}

std::optional<Decimal> ParseDecimal(TextView text, const LocaleInfo& loc) {
  ScannedNumber n;
  if (!ScanNumber(text, loc.decimal, loc.thousand, &n)) return std::nullopt;
  if (n.radix) return Decimal::FromInt64(static_cast<int32_t>(n.radix_value));
  return Decimal::FromDigits(n.Digits(), n.exponent, n.negative);
}

Text NumberToText(const Variant& v, const LocaleInfo& loc) { return ToTextImpl(v, loc); }

namespace {

Text ToTextImpl(const Variant& v, const LocaleInfo& loc) {
  switch (v.type()) {
    case VarType::kEmpty:
      return Text();
    case VarType::kNull:
      RaiseRuntime(kErrInvalidNull);
    case VarType::kInteger:
      return IntegerText(v.Get<int16_t>());
    case VarType::kLong:
      return IntegerText(v.Get<int32_t>());
    case VarType::kByte:
      return IntegerText(v.Get<uint8_t>());
    case VarType::kSingle:
      return BinaryToText(v.Get<float>(), 7, loc.decimal);
    case VarType::kDouble:
      return BinaryToText(v.Get<double>(), 15, loc.decimal);
    case VarType::kCurrency:
      return CurrencyToDecimal(v.Get<Currency>()).ToText(loc.decimal);
    case VarType::kDecimal:
      return v.Get<Decimal>().ToText(loc.decimal);
    case VarType::kDate:
      return DateToText(v.Get<Date>(), loc);
    case VarType::kBoolean:
      return v.Get<bool>() ? u"True" : u"False";
    case VarType::kString:
      return v.Get<Text>();
    case VarType::kObject:
      return ToTextImpl(Unwrap(v), loc);
    default:
      Mismatch();
  }
}

}  // namespace

Text CStr(const Variant& v) {
  if (v.IsText()) return v.Get<Text>();
  return ToTextImpl(v, ThreadLocale());
}

int16_t CInt(const Variant& v) { return NarrowInteger<int16_t>(v); }
int32_t CLng(const Variant& v) { return NarrowInteger<int32_t>(v); }
uint8_t CByte(const Variant& v) { return NarrowInteger<uint8_t>(v); }

double CDbl(const Variant& v) {
  switch (v.type()) {
    case VarType::kSingle:
      return v.Get<float>();
    case VarType::kDouble:
      return v.Get<double>();
    case VarType::kDate:
      return v.Get<Date>().serial;
    case VarType::kCurrency:
      return static_cast<double>(v.Get<Currency>().scaled) / Currency::kScale;
    case VarType::kDecimal:
      return v.Get<Decimal>().ToDouble();
    case VarType::kString:
      return TextToDouble(v.Get<Text>());
    case VarType::kObject:
      return CDbl(Unwrap(v));
    default:
      return static_cast<double>(ToInt64(v));
  }
}

float CSng(const Variant& v) {
  const double d = CDbl(v);
  if (std::fabs(d) > std::numeric_limits<float>::max()) Overflow();
  return static_cast<float>(d);
}

Decimal CDec(const Variant& v) {
  switch (v.type()) {
    case VarType::kSingle:
      return DecimalOfBinary(v.Get<float>(), 7);
    case VarType::kDouble:
      return DecimalOfBinary(v.Get<double>(), 15);
    case VarType::kDate:
      return DecimalOfBinary(v.Get<Date>().serial, 15);
    case VarType::kCurrency:
      return CurrencyToDecimal(v.Get<Currency>()).Normalized();
    case VarType::kDecimal:
      return v.Get<Decimal>();
    case VarType::kString:
      return TextToDecimal(v.Get<Text>());
    case VarType::kObject:
      return CDec(Unwrap(v));
    default:
      return Decimal::FromInt64(ToInt64(v));
  }
}

Currency CCur(const Variant& v) {
  Decimal d;
  switch (v.type()) {
    case VarType::kCurrency:
      return v.Get<Currency>();
    case VarType::kSingle:
    case VarType::kDouble:
    case VarType::kDate: {
      const double x = CDbl(v);
      if (!(std::fabs(x) <= kCurrencyMax)) Overflow();
      return Currency{static_cast<int64_t>(std::nearbyint(x * Currency::kScale))};
    }
    default:
      d = CDec(v);
  }
  const Decimal r = d.Round(4);
  // Scale the rounded value to exactly four decimals.
  uint128 m = r.mantissa();
  for (int s = r.scale(); s < 4; ++s) m *= 10;
  if (m > static_cast<uint128>(std::numeric_limits<int64_t>::max()) + (r.negative() ? 1 : 0)) {
    Overflow();
  }
  const auto scaled = static_cast<int64_t>(r.negative() ? 0 - m : m);
  return Currency{scaled};
}

Date CDate(const Variant& v) {
  switch (v.type()) {
    case VarType::kDate:
      return v.Get<Date>();
    case VarType::kString: {
      auto d = ParseDate(v.Get<Text>(), ThreadLocale());
      if (!d) Mismatch();
      return *d;
    }
    case VarType::kObject:
      return CDate(Unwrap(v));
    default: {
      const double x = CDbl(v);
      if (!IsValidDateSerial(x)) Overflow();
      return Date{x};
    }
  }
}

bool CBool(const Variant& v) {
  switch (v.type()) {
    case VarType::kBoolean:
      return v.Get<bool>();
    case VarType::kString: {
      bool b;
      if (IsBooleanWord(v.Get<Text>(), &b)) return b;
      return TextToDecimal(v.Get<Text>()).IsZero() == false;
    }
    case VarType::kSingle:
    case VarType::kDouble:
    case VarType::kDate:
      return CDbl(v) != 0;
    case VarType::kDecimal:
      return !v.Get<Decimal>().IsZero();
    case VarType::kCurrency:
      return v.Get<Currency>().scaled != 0;
    case VarType::kObject:
      return CBool(Unwrap(v));
    default:
      return ToInt64(v) != 0;
  }
}

Variant ChangeType(const Variant& v, VarType type) {
  if (v.type() == type && type != VarType::kObject) return v;
  switch (type) {
    case VarType::kEmpty:
      return Variant();
    case VarType::kNull:
      return Variant::Null();
    case VarType::kInteger:
      return CInt(v);
    case VarType::kLong:
      return CLng(v);
    case VarType::kSingle:
      return CSng(v);
    case VarType::kDouble:
      return CDbl(v);
    case VarType::kCurrency:
      return CCur(v);
    case VarType::kDate:
      return CDate(v);
    case VarType::kString:
      return CStr(v);
    case VarType::kBoolean:
      return CBool(v);
    case VarType::kDecimal:
      return CDec(v);
    case VarType::kByte:
      return CByte(v);
    default:
      Mismatch();
  }
}

int32_t ToLongOr(const Variant& v, int32_t fallback) noexcept {
  try {
    return CLng(v);
  } catch (...) {
    return fallback;
  }
}

}  // namespace qel
