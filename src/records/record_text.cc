// RecordTextReader: each field's slot geometry is worked out once from the collection; Append
// then reads a slot in place. Every shortcut here answers exactly what Value would, or steps
// aside: a slot the fast reading does not recognise as well-formed goes to Value, which reads
// it or raises its error, and Value's result is written in the same plain form.
#include "records/record_text.h"

#include <charconv>
#include <vector>

#include "fields/null_slot.h"
#include "fields/sign_mark.h"
#include "frame/char_class.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/decimal.h"
#include "qel/frame/text.h"

namespace qel {
namespace {

struct Slot {
  const QelRecordField* field;
  int32_t type;
  int32_t precision;
  int32_t start;   // 0-based, of the first occurrence
  int32_t length;  // of one occurrence
  int32_t stride;  // from one occurrence to the next
  int32_t occurrences;
};

// Appends UTF-8 in place: one byte per unit while the text is ASCII (the common case), room
// for three per unit from the first unit that is not.
void AppendUtf8(TextView t, std::string& out) {
  const size_t old = out.size();
  char16_t any = 0;
  for (const char16_t c : t) any |= c;  // both loops vectorise
  if (any < 0x80) {
    out.resize(old + t.size());
    char* p = out.data() + old;
    for (size_t k = 0; k < t.size(); ++k) p[k] = static_cast<char>(t[k]);
    return;
  }
  out.resize(old + t.size());
  char* p = out.data() + old;
  size_t i = 0;
  for (; i < t.size() && t[i] < 0x80; ++i) *p++ = static_cast<char>(t[i]);
  const size_t done = static_cast<size_t>(p - out.data());
  out.resize(done + (t.size() - i) * 3);
  p = out.data() + done;
  for (; i < t.size(); ++i) {
    uint32_t c = t[i];
    if (c < 0x80) {
      *p++ = static_cast<char>(c);
      continue;
    }
    if (c >= 0xD800 && c <= 0xDFFF) {
      if (c <= 0xDBFF && i + 1 < t.size() && t[i + 1] >= 0xDC00 && t[i + 1] <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (t[i + 1] - 0xDC00);
        ++i;  // two units, four bytes: within the three per unit reserved
      } else {
        c = 0xFFFD;
      }
    }
    if (c < 0x800) {
      *p++ = static_cast<char>(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
      *p++ = static_cast<char>(0xE0 | (c >> 12));
      *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    } else {
      *p++ = static_cast<char>(0xF0 | (c >> 18));
      *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    }
    *p++ = static_cast<char>(0x80 | (c & 0x3F));
  }
  out.resize(static_cast<size_t>(p - out.data()));
}

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

void AppendDate(int year, int month, int day, std::string& out) {
  char buf[10];
  for (int i = 3; i >= 0; --i, year /= 10) buf[i] = static_cast<char>('0' + year % 10);
  buf[4] = '-';
  buf[5] = static_cast<char>('0' + month / 10);
  buf[6] = static_cast<char>('0' + month % 10);
  buf[7] = '-';
  buf[8] = static_cast<char>('0' + day / 10);
  buf[9] = static_cast<char>('0' + day % 10);
  out.append(buf, sizeof buf);
}

// The plain form of a value Value gave.
bool AppendValue(const Variant& v, std::string& out) {
  switch (v.type()) {
    case VarType::kNull:
    case VarType::kEmpty:
      return false;
    case VarType::kString:
      AppendUtf8(v.Get<Text>(), out);
      return true;
    case VarType::kDecimal:
      out += v.Get<Decimal>().ToAscii();
      return true;
    case VarType::kDate: {
      const DateParts p = SplitDate(v.Get<Date>());
      AppendDate(p.year, p.month, p.day, out);
      return true;
    }
    default:
      AppendUtf8(CStr(v), out);
      return true;
  }
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

// A number slot as Value reads it, when it holds plain digits with at most a sign mark on the
// last one and fits a Decimal exactly; false to leave it to Value.
bool AppendNumber(TextView slot, int32_t precision, std::string& out) {
  // A slot of digits from end to end (the common case) needs no trimming.
  const TextView t = !slot.empty() && slot.front() != u' ' && slot.back() != u' '
                         ? slot
                         : TrimBoth(slot);
  if (t.empty()) {
    out.push_back('0');
    return true;
  }
  if (t.size() > 28 || precision > Decimal::kMaxScale) return false;
  const char16_t last = t.back();
  const auto [digit, negative] = internal::ReadSignMark(last);
  char digits[32];
  const size_t n = t.size();
  unsigned bad = 0;
  for (size_t i = 0; i + 1 < n; ++i) {  // copies and checks in one branch-free pass
    bad |= static_cast<unsigned>(static_cast<char16_t>(t[i] - u'0') > 9);
    digits[i] = static_cast<char>(t[i]);
  }
  if (bad != 0 || !internal::IsDigit(digit)) return false;
  digits[n - 1] = static_cast<char>(digit);
  // Integer part: the digits before the last `precision`, without leading zeros.
  const size_t p = static_cast<size_t>(precision);
  const size_t int_end = n > p ? n - p : 0;
  size_t first = 0;
  while (first < int_end && digits[first] == '0') ++first;
  // Fraction: the last `precision` digits (zeros in front when the slot is narrower), without
  // trailing zeros.
  size_t frac_end = n;
  while (frac_end > int_end && digits[frac_end - 1] == '0') --frac_end;
  const size_t leading = p > n ? p - n : 0;
  if (first == int_end && frac_end == int_end) {
    out.push_back('0');  // zero has no sign
    return true;
  }
  char text[64];
  char* w = text;
  if (negative) *w++ = '-';
  if (first == int_end) {
    *w++ = '0';
  } else {
    for (size_t i = first; i < int_end; ++i) *w++ = digits[i];
  }
  if (frac_end > int_end) {
    *w++ = '.';
    for (size_t i = 0; i < leading; ++i) *w++ = '0';
    for (size_t i = int_end; i < frac_end; ++i) *w++ = digits[i];
  }
  out.append(text, static_cast<size_t>(w - text));
  return true;
}

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month != 2) return kDays[month - 1];
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return leap ? 29 : 28;
}

// 1 (appended), 0 (Null) or -1 (leave it to Value).
int AppendDateSlot(TextView slot, int32_t length, std::string& out) {
  const TextView t = TrimBoth(slot);
  if (t.empty()) return 0;
  bool zeros = true;
  for (char16_t c : t) zeros = zeros && c == u'0';
  if (zeros) return 0;
  const auto n = static_cast<size_t>(length);
  if (t.size() != n || (n != 4 && n != 6 && n != 8) || !AllDigits(t)) return -1;
  int year = n == 8 ? Digits(t, 0, 4) : Digits(t, 0, 2);
  const int month = Digits(t, n == 8 ? 4 : 2, 2);
  const int day = n == 4 ? 1 : Digits(t, n - 2, 2);
  if (year == 1 && month == 1 && day == 1) {
    year = 100;  // the earliest date's mark
  } else if (n != 8) {
    year += year < 30 ? 2000 : 1900;
  }
  if (year < 100 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) {
    return -1;
  }
  AppendDate(year, month, day, out);
  return 1;
}

bool AppendRut(TextView slot, std::string& out) {
  const TextView t = TrimBoth(slot);
  if (t.empty()) {
    out += "0-0";
    return true;
  }
  const TextView digits = t.substr(0, t.size() - 1);
  const char16_t check = UpperChar(t.back());
  if (!AllDigits(digits)) return false;
  if (check != u'?') {
    // A lone check character stands for digits that are all zeros.
    const char16_t expected = digits.empty() ? u'0' : RutCheckChar(digits);
    if (expected != check) return false;
  }
  size_t first = 0;
  while (first + 1 < digits.size() && digits[first] == u'0') ++first;
  if (digits.empty()) {
    out.push_back('0');
  } else {
    AppendUtf8(digits.substr(first), out);
  }
  out.push_back('-');
  AppendUtf8(TextView(&check, 1), out);
  return true;
}

}  // namespace

namespace internal {

struct RecordTextReader::Plan {
  std::vector<Slot> slots;
};

RecordTextReader::RecordTextReader(std::shared_ptr<QelRecordFields> fields)
    : fields_(std::move(fields)), plan_(std::make_unique<Plan>()) {
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
    plan_->slots.push_back(s);
  }
}

RecordTextReader::~RecordTextReader() = default;

bool RecordTextReader::Append(int32_t position, int32_t index, std::string& out) const {
  const Slot& s = plan_->slots.at(static_cast<size_t>(position - 1));  // checked: from outside
  const Text& data = fields_->RecordData()->Data();
  const int64_t start = s.start + static_cast<int64_t>(index - 1) * s.stride;
  if (index >= 1 && index <= s.occurrences && start + s.length <= static_cast<int64_t>(data.size())) {
    const TextView slot = TextView(data).substr(static_cast<size_t>(start),
                                                static_cast<size_t>(s.length));
    if (internal::IsNullSlot(slot)) return false;
    switch (s.type) {
      case qelTypeList:
      case qelTypeText:
      case qelTypeAlpha:
        AppendUtf8(TrimEnd(slot), out);
        return true;
      case qelTypeNumeric:
      case qelTypeSigned:
        if (AppendNumber(slot, s.precision, out)) return true;
        break;
      case qelTypeDate: {
        const int r = AppendDateSlot(slot, s.length, out);
        if (r >= 0) return r == 1;
        break;
      }
      case qelTypeRut:
        if (AppendRut(slot, out)) return true;
        break;
      case qelTypeListEnd:
        return false;
      default:
        break;
    }
  }
  return AppendValue(s.field->Value(index), out);
}

}  // namespace internal
}  // namespace qel
