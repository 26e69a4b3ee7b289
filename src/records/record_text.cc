// RecordTextReader: each field's slot geometry is worked out once from the collection; Write
// then reads a slot in place. Every shortcut here answers exactly what Value would, or steps
// aside: a slot the fast reading does not recognise as well-formed goes to Value, which reads
// it or raises its error, and Value's result is written in the same plain form.
#include "records/record_text.h"

#include <cstring>
#include <string_view>
#include <vector>

#include "fields/null_slot.h"
#include "fields/sign_mark.h"
#include "frame/char_class.h"
#include "frame/utf8_write.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/decimal.h"
#include "qel/frame/error.h"
#include "qel/frame/text.h"

namespace qel {
namespace {

// The slot without its trailing blanks; slots are short, so a plain loop beats a call.
inline TextView TrimEnd(TextView t) {
  size_t n = t.size();
  while (n > 0 && t[n - 1] == u' ') --n;
  return t.substr(0, n);
}

inline TextView TrimBoth(TextView t) {
  t = TrimEnd(t);
  size_t i = 0;
  while (i < t.size() && t[i] == u' ') ++i;
  return t.substr(i);
}

char* WriteDate(int year, int month, int day, char* out) {
  for (int i = 3; i >= 0; --i, year /= 10) out[i] = static_cast<char>('0' + year % 10);
  out[4] = '-';
  out[5] = static_cast<char>('0' + month / 10);
  out[6] = static_cast<char>('0' + month % 10);
  out[7] = '-';
  out[8] = static_cast<char>('0' + day / 10);
  out[9] = static_cast<char>('0' + day % 10);
  return out + 10;
}

// Every byte of `text` at `out`.
char* WriteAscii(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// The plain form of a value Value gave, at `out` (room for `room` bytes); nullptr for Null.
char* WriteValue(const Variant& v, char* out, size_t room) {
  std::string text;
  switch (v.type()) {
    case VarType::kNull:
    case VarType::kEmpty:
      return nullptr;
    case VarType::kDecimal:
      text = v.Get<Decimal>().ToAscii();
      break;
    case VarType::kDate: {
      const DateParts p = SplitDate(v.Get<Date>());
      return WriteDate(p.year, p.month, p.day, out);
    }
    default:
      text = ToUtf8(CStr(v));
      break;
  }
  // Value's text of a field never outgrows the field's own bound; this guards the buffer.
  if (text.size() > room) RaiseError(E_FAIL, u"RecordTextReader", u"Valor demasiado largo");
  return WriteAscii(text, out);
}

int Digits(TextView t, size_t from, size_t n) {
  int v = 0;
  for (size_t i = from; i < from + n; ++i) v = v * 10 + (t[i] - u'0');
  return v;
}

bool AllDigits(TextView t) {
  for (char16_t c : t) {
    if (!internal::IsDigit(c)) return false;
  }
  return true;
}

// A number slot as Value reads it, at `out`, when it holds plain digits with at most a sign
// mark on the last one and fits a Decimal exactly; nullptr to leave it to Value.
char* WriteNumber(TextView slot, int32_t precision, char* out) {
  // A slot of digits from end to end (the common case) needs no trimming.
  const TextView t = !slot.empty() && slot.front() != u' ' && slot.back() != u' '
                         ? slot
                         : TrimBoth(slot);
  if (t.empty()) {
    *out = '0';
    return out + 1;
  }
  if (t.size() > 28 || precision > Decimal::kMaxScale) return nullptr;
  const internal::MarkedDigit last = internal::ReadSignMark(t.back());
  const size_t n = t.size();
  unsigned bad = static_cast<unsigned>(!internal::IsDigit(last.digit));
  for (size_t i = 0; i + 1 < n; ++i) {  // checks every unit in one branch-free pass
    bad |= static_cast<unsigned>(static_cast<char16_t>(t[i] - u'0') > 9);
  }
  if (bad != 0) return nullptr;
  // The digits are the units, with the sign mark's digit in place of the last one; they are
  // narrowed straight into the output.
  auto digit_at = [&](size_t i) { return static_cast<char>(i + 1 == n ? last.digit : t[i]); };
  // Integer part: the digits before the last `precision`, without leading zeros.
  const size_t p = static_cast<size_t>(precision);
  const size_t int_end = n > p ? n - p : 0;
  size_t first = 0;
  while (first < int_end && digit_at(first) == '0') ++first;
  // Fraction: the last `precision` digits (zeros in front when the slot is narrower), without
  // trailing zeros.
  size_t frac_end = n;
  while (frac_end > int_end && digit_at(frac_end - 1) == '0') --frac_end;
  if (first == int_end && frac_end == int_end) {
    *out = '0';  // zero has no sign
    return out + 1;
  }
  if (last.negative) *out++ = '-';
  if (first == int_end) *out++ = '0';
  for (size_t i = first; i < int_end; ++i) *out++ = digit_at(i);
  if (frac_end > int_end) {
    *out++ = '.';
    for (size_t i = n; i < p; ++i) *out++ = '0';
    for (size_t i = int_end; i < frac_end; ++i) *out++ = digit_at(i);
  }
  return out;
}

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month != 2) return kDays[month - 1];
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return leap ? 29 : 28;
}

// A date slot of blanks or zeros reads as Null.
bool IsNullDate(TextView slot) {
  const TextView t = TrimBoth(slot);
  for (char16_t c : t) {
    if (c != u'0') return false;
  }
  return true;
}

// A date slot of the field's own digits as Value reads it, at `out`; nullptr to leave it to
// Value.
char* WriteDateSlot(TextView slot, int32_t length, char* out) {
  const TextView t = TrimBoth(slot);
  const auto n = static_cast<size_t>(length);
  if (t.size() != n || (n != 4 && n != 6 && n != 8) || !AllDigits(t)) return nullptr;
  int year = n == 8 ? Digits(t, 0, 4) : Digits(t, 0, 2);
  const int month = Digits(t, n == 8 ? 4 : 2, 2);
  const int day = n == 4 ? 1 : Digits(t, n - 2, 2);
  if (year == 1 && month == 1 && day == 1) {
    year = 100;  // the earliest date's mark
  } else if (n != 8) {
    year += year < 30 ? 2000 : 1900;
  }
  if (year < 100 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) {
    return nullptr;
  }
  return WriteDate(year, month, day, out);
}

// A RUT slot as Value reads it, at `out`; nullptr to leave it to Value.
char* WriteRut(TextView slot, char* out) {
  const TextView t = TrimBoth(slot);
  if (t.empty()) return WriteAscii("0-0", out);
  const TextView digits = t.substr(0, t.size() - 1);
  const char16_t check = UpperChar(t.back());
  if (!AllDigits(digits)) return nullptr;
  if (check != u'?') {
    // A lone check character stands for digits that are all zeros.
    const char16_t expected = digits.empty() ? u'0' : RutCheckChar(digits);
    if (expected != check) return nullptr;
  }
  size_t first = 0;
  while (first + 1 < digits.size() && digits[first] == u'0') ++first;
  if (digits.empty()) {
    *out++ = '0';
  } else {
    out = internal::WriteUtf8(digits.substr(first), out);
  }
  *out++ = '-';
  return internal::WriteUtf8(TextView(&check, 1), out);
}

}  // namespace

namespace internal {

RecordTextReader::RecordTextReader(std::shared_ptr<QelRecordFields> fields)
    : fields_(std::move(fields)) {
  int32_t body = 0;
  for (const auto& f : *fields_) {
    Slot s{f.get(), f->DataType(), f->Precision(), f->Start() - 1, f->Length(), 0,
           f->Occurrences()};
    if (f->DataType() == qelTypeList) {
      body = f->Dimensions() > 0 ? f->Length() / f->Dimensions() : 0;
      s.length = body;
      s.stride = body;
    } else if (f->InList()) {
      s.stride = body;
    }
    slots_.push_back(s);
  }
}

RecordTextReader::~RecordTextReader() = default;

size_t RecordTextReader::MaxBytes(int32_t position) const {
  // Value's text of a slot keeps at most its units (a RUT adds a dash); a number's or a date's
  // text is at most 32 characters whatever the slot.
  const Slot& s = slots_.at(static_cast<size_t>(position - 1));  // checked: from outside
  return kMaxUtf8BytesPerUnit * static_cast<size_t>(s.length) + 32;
}

char* RecordTextReader::Write(int32_t position, int32_t index, char* out) const {
  const Slot& s = slots_.at(static_cast<size_t>(position - 1));  // checked: from outside
  const Text& data = fields_->RecordData()->Data();
  const int64_t start = s.start + static_cast<int64_t>(index - 1) * s.stride;
  if (index >= 1 && index <= s.occurrences && start + s.length <= static_cast<int64_t>(data.size())) {
    const TextView slot = TextView(data).substr(static_cast<size_t>(start),
                                                static_cast<size_t>(s.length));
    if (internal::IsNullSlot(slot)) return nullptr;
    switch (s.type) {
      case qelTypeList:
      case qelTypeText:
      case qelTypeAlpha:
        return internal::WriteUtf8(TrimEnd(slot), out);
      case qelTypeNumeric:
      case qelTypeSigned:
        if (char* end = WriteNumber(slot, s.precision, out)) return end;
        break;
      case qelTypeDate:
        if (IsNullDate(slot)) return nullptr;
        if (char* end = WriteDateSlot(slot, s.length, out)) return end;
        break;
      case qelTypeRut:
        if (char* end = WriteRut(slot, out)) return end;
        break;
      case qelTypeListEnd:
        return nullptr;
      default:
        break;
    }
  }
  return WriteValue(s.field->Value(index), out, MaxBytes(position));
}

bool RecordTextReader::Append(int32_t position, int32_t index, std::string& out) const {
  const size_t old = out.size();
  out.resize(old + MaxBytes(position));
  const char* end;
  try {
    end = Write(position, index, out.data() + old);
  } catch (...) {
    out.resize(old);
    throw;
  }
  out.resize(end == nullptr ? old : static_cast<size_t>(end - out.data()));
  return end != nullptr;
}

}  // namespace internal
}  // namespace qel
