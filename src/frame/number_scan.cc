#include "number_scan.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "frame/char_class.h"

namespace qel::internal {
namespace {

// Appends one decimal digit of the mantissa.
void PushDigit(ScannedNumber* n, char16_t c, bool fraction) {
  if (n->count == 0 && c == u'0') {
    if (fraction) --n->exponent;  // leading zeros of the fraction only move the point
    return;
  }
  if (n->count < ScannedNumber::kMaxDigits - 1) [[likely]] {
    n->digits[n->count++] = static_cast<char>(c);
    if (fraction) --n->exponent;
    return;
  }
  // Beyond the kept digits: an integer digit scales the value; a nonzero one is remembered.
  if (!fraction) ++n->exponent;
  if (c != u'0' && n->count == ScannedNumber::kMaxDigits - 1) {
    n->digits[n->count++] = '1';
    --n->exponent;
  }
}

bool ScanRadix(TextView t, size_t i, ScannedNumber* out) {
  const bool hex = t[i] == u'H' || t[i] == u'h';
  const int max_digits = hex ? 8 : 11;
  uint64_t v = 0;
  int n = 0;
  for (++i; i < t.size() && !IsBlank(t[i]); ++i, ++n) {
    const char16_t c = t[i];
    int d;
    if (c >= u'0' && c <= u'7') {
      d = c - u'0';
    } else if (hex && (c == u'8' || c == u'9')) {
      d = c - u'0';
    } else if (hex && c >= u'a' && c <= u'f') {
      d = c - u'a' + 10;
    } else if (hex && c >= u'A' && c <= u'F') {
      d = c - u'A' + 10;
    } else {
      return false;
    }
    if (n >= max_digits) return false;
    v = v * (hex ? 16 : 8) + static_cast<uint64_t>(d);
  }
  while (i < t.size() && IsBlank(t[i])) ++i;
  if (n == 0 || i != t.size() || v > 0xFFFFFFFFu) return false;
  out->radix = true;
  out->radix_value = static_cast<uint32_t>(v);
  out->radix_digits = n;
  return true;
}

}  // namespace

bool ScanNumber(TextView t, char16_t decimal, char16_t thousand, ScannedNumber* out) {
  out->negative = false;
  out->radix = false;
  out->radix_value = 0;
  out->radix_digits = 0;
  out->count = 0;
  out->exponent = 0;
  size_t i = 0;
  const size_t n = t.size();
  while (i < n && IsBlank(t[i])) ++i;
  if (i + 1 < n && t[i] == u'&') return ScanRadix(t, i + 1, out);
  bool parens = false;
  if (i < n && t[i] == u'(') {
    parens = true;
    out->negative = true;
    ++i;
    while (i < n && IsBlank(t[i])) ++i;
  } else if (i < n && (t[i] == u'-' || t[i] == u'+')) {
    out->negative = t[i] == u'-';
    ++i;
  }
  bool any_digit = false;
  for (; i < n; ++i) {
    const char16_t c = t[i];
    if (IsDigit(c)) {
      PushDigit(out, c, false);
      any_digit = true;
    } else if (c == thousand && any_digit && thousand != decimal) {
      continue;
    } else {
      break;
    }
  }
  if (i < n && t[i] == decimal) {
    for (++i; i < n && IsDigit(t[i]); ++i) {
      PushDigit(out, t[i], true);
      any_digit = true;
    }
  }
  if (!any_digit) return false;
  if (i < n && (t[i] == u'E' || t[i] == u'e' || t[i] == u'D' || t[i] == u'd')) {
    size_t j = i + 1;
    bool exp_negative = false;
    if (j < n && (t[j] == u'-' || t[j] == u'+')) exp_negative = t[j++] == u'-';
    if (j >= n || !IsDigit(t[j])) return false;
    int64_t e = 0;
    for (; j < n && IsDigit(t[j]); ++j) {
      if (e < 100000000) e = e * 10 + (t[j] - u'0');
    }
    out->exponent += exp_negative ? -e : e;
    i = j;
  }
  while (i < n && IsBlank(t[i])) ++i;
  if (parens) {
    if (i >= n || t[i] != u')') return false;
    ++i;
    while (i < n && IsBlank(t[i])) ++i;
  }
  if (out->count == 0) out->negative = false;
  return i == n;
}

bool ScannedToDouble(const ScannedNumber& n, double* out) {
  if (n.radix) {
    *out = static_cast<double>(static_cast<int32_t>(n.radix_value));
    return true;
  }
  if (n.count == 0) {
    *out = 0;
    return true;
  }
  const int64_t magnitude = n.exponent + n.count;  // digits before the point
  if (magnitude > 310) return false;
  if (magnitude < -330) {
    *out = 0;
    return true;
  }
  // "digits" "e" exponent, written by hand: snprintf cost more than the conversion.
  char buf[ScannedNumber::kMaxDigits + 32];
  std::memcpy(buf, n.digits, static_cast<size_t>(n.count));
  char* end = buf + n.count;
  *end++ = 'e';
  end = std::to_chars(end, buf + sizeof buf, n.exponent).ptr;
  double v = 0;
  const auto r = std::from_chars(buf, end, v);
  if (r.ec == std::errc::result_out_of_range) {
    if (magnitude > 0) return false;
    v = 0;
  } else if (r.ec != std::errc() || std::isinf(v)) {
    return false;
  }
  *out = n.negative ? -v : v;
  return true;
}

}  // namespace qel::internal
