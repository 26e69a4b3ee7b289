// The RUT routines share one scanner: digits are collected, "." and "," skipped, "-" stops the
// scan, and anything else is an invalid character. What follows the dash is each routine's own
// business.
#include "qel/fields/rut.h"

#include <cstdint>

#include "frame/char_class.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/number_format.h"

namespace qel {
namespace {

using internal::IsDigit;


constexpr char16_t kInvalidCharacter[] = u"RUT '%1' con caracter inválido";
constexpr char16_t kZeroDigits[] = u"RUT '%1' no comienza con dígitos";
constexpr char16_t kTooLong[] = u"RUT '%1' demasiado largo";
constexpr char16_t kInvalidParity[] = u"RUT '%1' con dígito verificador incorrecto";

[[noreturn]] void Fail(const char16_t* source, const char16_t* tmpl, TextView rut) {
  RaiseError(E_INVALIDARG, source, tmpl, {Variant(rut)});
}

struct Scan {
  Text digits;
  size_t pos = 0;     // where the scan stopped: the dash, or the end
  bool dash = false;  // stopped at "-"
};

Scan ScanDigits(TextView t) {
  Scan s;
  s.digits.reserve(t.size());
  for (; s.pos < t.size(); ++s.pos) {
    const char16_t c = t[s.pos];
    if (IsDigit(c)) {
      s.digits.push_back(c);
    } else if (c == u'-') {
      s.dash = true;
      break;
    } else if (c != u'.' && c != u',') {
      Fail(u"InvalidCharacter", kInvalidCharacter, t);
    }
  }
  return s;
}

}  // namespace

char16_t RutCheckChar(TextView digits) {
  // Each digit adds at most 63: a 64-bit sum would need 2^58 digits to overflow, more than
  // any text can hold.
  uint64_t sum = 0;
  unsigned weight = 2;
  for (size_t i = digits.size(); i-- > 0;) {
    sum += static_cast<unsigned>(digits[i] - u'0') * weight;
    if (++weight > 7) weight = 2;
  }
  const int r = 11 - static_cast<int>(sum % 11);
  if (r == 11) return u'0';
  if (r == 10) return u'K';
  return static_cast<char16_t>(u'0' + r);
}

Text CRut(const Variant& value, int32_t width) {
  return Chaining(u"QelStd1.CRut:", [&] {
    const Text text = CStr(value);
    const TextView t = Trim(text);
    const Scan s = ScanDigits(t);
    if (s.digits.empty()) Fail(u"ZeroDigits", kZeroDigits, t);
    if (width > 0 && s.digits.size() > static_cast<size_t>(width)) {
      Fail(u"TooLong", kTooLong, t);
    }
    char16_t check = u'?';
    size_t pos = s.pos;
    if (s.dash) {
      ++pos;
      const char16_t c = pos < t.size() ? UpperChar(t[pos]) : 0;
      if (c == u'?') {
        ++pos;
      } else if (IsDigit(c) || c == u'K') {
        ++pos;
        check = c;
        if (RutCheckChar(s.digits) != check) Fail(u"InvalidParity", kInvalidParity, t);
      } else {
        Fail(u"InvalidParity", kInvalidParity, t);
      }
    }
    if (pos < t.size()) Fail(u"InvalidCharacter", kInvalidCharacter, t);
    Text out = width > 0 ? RightJustify(u"0", s.digits, width) : s.digits + u"-";
    out.push_back(check);
    return out;
  });
}

Text QelValidateRUT(TextView rut_text, int32_t return_size, bool allow_unknown,
                    bool compute_unknown) {
  return Chaining(u"QelStd1.QelValidateRUT:", [&] {
    const TextView t = Trim(rut_text);
    const Scan s = ScanDigits(t);
    char16_t check = 0;  // none given
    size_t pos = s.pos;
    if (s.dash) {
      ++pos;
      const char16_t c = pos < t.size() ? UpperChar(t[pos]) : 0;
      if (IsDigit(c) || c == u'K' || c == u'?') {
        check = c;
        ++pos;
      }
    }
    if (s.digits.empty()) Fail(u"ZeroDigits", kZeroDigits, t);
    if (pos < t.size()) Fail(u"InvalidCharacter", kInvalidCharacter, t);
    // The result's width is a 32-bit count.
    if (s.digits.size() >= static_cast<size_t>(INT32_MAX)) Fail(u"TooLong", kTooLong, t);
    const char16_t computed = RutCheckChar(s.digits);
    if (check != computed) {
      if (check != u'?' || !allow_unknown) Fail(u"InvalidParity", kInvalidParity, t);
      if (compute_unknown) check = computed;
    }
    const int32_t n =
        return_size > 0 ? return_size : static_cast<int32_t>(s.digits.size()) + 1;
    Text out = RightJustify(u"0", s.digits, n - 1);
    out.push_back(check);
    return out;
  });
}

Text QelFormatRUT(TextView rut_value, bool thousand_sep) {
  return Chaining(u"QelStd1.QelFormatRUT:", [&] {
    const TextView body_text = rut_value.substr(0, rut_value.empty() ? 0 : rut_value.size() - 1);
    const Decimal body = CDec(Variant(body_text));
    Text out = thousand_sep ? FormatNumber(body, u"#,###", ThreadLocale()) : CStr(body);
    out.push_back(u'-');
    if (!rut_value.empty()) out.push_back(rut_value.back());
    return out;
  });
}

}  // namespace qel
