#include "props/typed_value.h"

#include <cmath>
#include <limits>

#include "frame/number_scan.h"
#include "props/props_format.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel::internal {
namespace {

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  return -1;
}

bool DecodeHex(TextView text, ByteArray* out) {
  if (text.size() % 2 != 0) return false;
  out->resize(text.size() / 2);
  for (size_t i = 0; i < out->size(); ++i) {
    const int hi = HexValue(text[2 * i]);
    const int lo = HexValue(text[2 * i + 1]);
    if (hi < 0 || lo < 0) return false;
    (*out)[i] = static_cast<uint8_t>(hi * 16 + lo);
  }
  return true;
}

bool HasDecimalComma(VarType type) {
  return type == VarType::kSingle || type == VarType::kDouble || type == VarType::kCurrency ||
         type == VarType::kDecimal;
}

// "-"? digit{1,18}: the value, or nullopt for any other text.
std::optional<int64_t> PlainInteger(TextView t) {
  const bool negative = !t.empty() && t[0] == u'-';
  const size_t first = negative ? 1 : 0;
  if (t.size() == first || t.size() - first > 18) return std::nullopt;
  int64_t v = 0;
  for (size_t i = first; i < t.size(); ++i) {
    if (!IsDigit(t[i])) return std::nullopt;
    v = v * 10 + (t[i] - u'0');
  }
  return negative ? -v : v;
}

// A plain decimal text, "-"? digit+ ("," digit+)? (("e" | "E") ("+" | "-")? digit+)?, read into
// `n` as the number scan reads it with "," for the decimal separator (leading zeros dropped,
// the fraction's digits moving the exponent). False for any other text, and for one with more
// significant digits than the scan keeps exactly; the general path reads those.
bool ScanPlainDecimal(TextView t, internal::ScannedNumber* n) {
  *n = internal::ScannedNumber();
  const size_t size = t.size();
  size_t i = 0;
  if (i < size && t[i] == u'-') {
    n->negative = true;
    ++i;
  }
  auto digits = [&](bool fraction) {
    const size_t start = i;
    for (; i < size && IsDigit(t[i]); ++i) {
      if (n->count == 0 && t[i] == u'0') {
        if (fraction) --n->exponent;
        continue;
      }
      if (n->count == internal::ScannedNumber::kMaxDigits - 1) return false;
      n->digits[n->count++] = static_cast<char>(t[i]);
      if (fraction) --n->exponent;
    }
    return i > start;
  };
  if (!digits(false)) return false;
  if (i < size && t[i] == u',') {
    ++i;
    if (!digits(true)) return false;
  }
  if (i < size && (t[i] == u'e' || t[i] == u'E')) {
    ++i;
    bool negative = false;
    if (i < size && (t[i] == u'+' || t[i] == u'-')) negative = t[i++] == u'-';
    const size_t start = i;
    int64_t e = 0;
    for (; i < size && IsDigit(t[i]); ++i) {
      if (e < 100000000) e = e * 10 + (t[i] - u'0');  // as the scan caps it
    }
    if (i == start) return false;
    n->exponent += negative ? -e : e;
  }
  if (n->count == 0) n->negative = false;
  return i == size;
}

// A character that the number scan could take for part of a plain decimal text.
bool CouldBeNumberPart(char16_t c) {
  return IsDigit(c) || c == u'+' || c == u'-' || c == u'e' || c == u'E' || c == u'd' || c == u'D';
}

template <class I>
std::optional<Variant> InRange(int64_t v) {
  if (v < std::numeric_limits<I>::min() || v > std::numeric_limits<I>::max()) return std::nullopt;
  return Variant(static_cast<I>(v));
}

}  // namespace

TypedValues::TypedValues(const LocaleInfo& loc)
    : loc_(loc),
      plain_separators_(!CouldBeNumberPart(loc.decimal) && !CouldBeNumberPart(loc.thousand)) {}

Variant TypedValues::Convert(TextView text, int32_t code) const {
  VarType type;
  switch (code) {
    case 0:
      return Variant();
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 11:
    case 14:
    case 17:
      type = static_cast<VarType>(code);
      break;
    case kByteArrayCode: {
      ByteArray bytes;
      if (DecodeHex(text, &bytes)) return Variant(std::move(bytes));
      return Variant(text);
    }
    default:
      return Variant(text);
  }
  try {
    if (auto value = ConvertWriterShapes(text, type)) return std::move(*value);
    Text digits(text);
    if (HasDecimalComma(type)) {
      const size_t comma = digits.rfind(u',');
      if (comma != Text::npos && loc_.decimal != u',') digits[comma] = loc_.decimal;
    }
    return ChangeType(Variant(std::move(digits)), type);
  } catch (const Error&) {
    return Variant(text);  // a String that does not convert stays a String
  }
}

std::optional<Variant> TypedValues::ConvertWriterShapes(TextView text, VarType type) const {
  switch (type) {
    case VarType::kInteger:
    case VarType::kLong:
    case VarType::kByte:
    case VarType::kBoolean: {
      // No "," is replaced in these texts, and a plain integer has no separator at all.
      const std::optional<int64_t> v = PlainInteger(text);
      if (!v) return std::nullopt;
      if (type == VarType::kBoolean) return Variant(*v != 0);
      if (type == VarType::kInteger) return InRange<int16_t>(*v);
      if (type == VarType::kLong) return InRange<int32_t>(*v);
      return InRange<uint8_t>(*v);
    }
    case VarType::kDate: {
      // What CDate does with a text, without the copy.
      const std::optional<Date> d = ParseDate(text, loc_);
      if (!d) RaiseRuntime(kErrTypeMismatch);
      return Variant(*d);
    }
    default:
      break;
  }
  // Single, Double, Currency, Decimal.
  internal::ScannedNumber n;
  if (!plain_separators_ || !ScanPlainDecimal(text, &n)) return std::nullopt;
  if (type == VarType::kSingle || type == VarType::kDouble) {
    double d;
    if (!internal::ScannedToDouble(n, &d)) return std::nullopt;
    if (type == VarType::kDouble) return Variant(d);
    if (std::fabs(d) > std::numeric_limits<float>::max()) return std::nullopt;
    return Variant(static_cast<float>(d));
  }
  const std::optional<Decimal> d = Decimal::FromDigits(n.Digits(), n.exponent, n.negative);
  if (!d) return std::nullopt;
  if (type == VarType::kDecimal) return Variant(*d);
  return Variant(CCur(Variant(*d)));  // the rounding to four places of a Currency text
}

}  // namespace qel::internal
