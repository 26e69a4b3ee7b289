// Values in slots: how each type is written into its fixed-width slot and read back (the
// definition comes from field_descriptor.cc). A value is converted completely before
// any character of its slot is written, and a slot past the end of the data is composed aside
// before the data grows to hold it, so a failed write leaves the data as it was.
#include "qel/fields/qel_record_field.h"

#include <algorithm>
#include <array>
#include <limits>

#include "fields/null_slot.h"
#include "fields/sign_mark.h"
#include "fields/qel_record_field_internal.h"
#include "frame/char_class.h"
#include "frame/unit_scan.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/error.h"
#include "qel/frame/number_format.h"

namespace qel {
namespace {

using internal::IsDigit;

constexpr char16_t kValueGet[] = u"No se pudo obtener el valor del campo '%1'%n%2";
constexpr char16_t kValueLet[] = u"No se pudo cambiar el valor del campo '%1'%n%2";
constexpr char16_t kTextGet[] = u"No se pudo obtener el texto del campo '%1'%n%2";
constexpr char16_t kDataGet[] = u"No se pudo obtener la data del campo '%1'%n%2";
constexpr char16_t kDataLet[] = u"No se pudo cambiar la data del campo '%1'%n%2";
constexpr char16_t kMidGet[] = u"No se pudo obtener el rango del campo '%1'%n%2";
constexpr char16_t kMidLet[] = u"No se pudo cambiar el rango del campo '%1'%n%2";

constexpr std::array<uint128, 29> MakePowersOfTen() {
  std::array<uint128, 29> p{};
  p[0] = 1;
  for (size_t i = 1; i < p.size(); ++i) p[i] = p[i - 1] * 10;
  return p;
}
constexpr std::array<uint128, 29> kPow10 = MakePowersOfTen();


// The link text separates labels and header codes with FS (28) and GS (29); data holding
// them would be read by the host as separators, so a field refuses them where they are
// written.
constexpr char16_t kLinkSeparators[] = {28, 29};

void RefuseLinkSeparators(TextView text, TextView field_name) {
  const size_t at = internal::FindEitherUnit(text, kLinkSeparators[0], kLinkSeparators[1]);
  if (at != TextView::npos) {
    RaiseError(E_INVALIDARG, u"LinkSeparator",
               u"El valor del campo '%1' contiene el carácter %2, que separa las partes del "
               u"registro",
               {Variant(field_name), Variant(static_cast<int32_t>(text[at]))});
  }
}

bool AllOf(TextView t, char16_t c) {
  return std::all_of(t.begin(), t.end(), [c](char16_t x) { return x == c; });
}

// Writes `value` as `width` decimal digits ending at out[end - 1], zero-filled on the left
// and losing its leftmost digits when wider.
void PutDigits(uint128 value, std::span<char16_t> out, size_t end, size_t width) {
  size_t k = end;
  const size_t stop = end - std::min(width, end);
  if (value <= std::numeric_limits<uint64_t>::max()) {
    auto v = static_cast<uint64_t>(value);
    while (k > stop) {
      out[--k] = static_cast<char16_t>(u'0' + v % 10);
      v /= 10;
    }
    return;
  }
  while (k > stop) {
    out[--k] = static_cast<char16_t>(u'0' + static_cast<int>(value % 10));
    value /= 10;
  }
}

// Digits of a small number into the text.
void AppendNumber(Text* out, int value, int width) {
  char16_t buf[12];
  int n = 0;
  do {
    buf[n++] = static_cast<char16_t>(u'0' + value % 10);
    value /= 10;
  } while (value > 0 || n < width);
  while (n > 0) out->push_back(buf[--n]);
}

int ReadDigits(TextView t, size_t pos, size_t count) {
  int v = 0;
  for (size_t i = pos; i < pos + count; ++i) v = v * 10 + (t[i] - u'0');
  return v;
}

// The current time as HH, HHMM or HHMMSS read as a number.
Decimal CurrentTime(int digits) {
  const DateParts now = SplitDate(Now());
  int64_t v = now.hour;
  if (digits >= 4) v = v * 100 + now.minute;
  if (digits >= 6) v = v * 100 + now.second;
  return Decimal::FromInt64(v);
}

bool IsEarliestDate(const DateParts& p) { return p.year == 100 && p.month == 1 && p.day == 1; }

// A date by a pattern of d, dd, m, mm, yy, yyyy (any case); other characters are literal.
Text FormatDate(const DateParts& p, TextView pattern) {
  Text out;
  out.reserve(pattern.size() + 2);
  for (size_t i = 0; i < pattern.size();) {
    const char16_t c = LowerChar(pattern[i]);
    size_t run = 1;
    while (i + run < pattern.size() && LowerChar(pattern[i + run]) == c) ++run;
    if (c == u'd') {
      AppendNumber(&out, p.day, run >= 2 ? 2 : 1);
    } else if (c == u'm') {
      AppendNumber(&out, p.month, run >= 2 ? 2 : 1);
    } else if (c == u'y') {
      if (run >= 3) {
        AppendNumber(&out, p.year, 4);
      } else {
        AppendNumber(&out, p.year % 100, 2);
      }
    } else {
      out.append(pattern.substr(i, run));
    }
    i += run;
  }
  return out;
}

// Two-digit years as the date conversions read them.
int FullYear(int yy) { return yy < 30 ? 2000 + yy : 1900 + yy; }

}  // namespace

QelRecordField::QelRecordField(Key, std::shared_ptr<QelRecordData> data)
    : data_(std::move(data)) {}

Variant QelRecordField::Default() const {
  switch (type_) {
    case qelTypeText:
    case qelTypeAlpha:
      return Variant(default_);
    case qelTypeNumeric:
    case qelTypeSigned:
      return Variant(ToNumber(Variant(default_)));
    case qelTypeDate:
      return Variant(CDate(Variant(default_)));
    case qelTypeRut:
      return Variant(CRut(Variant(default_), 0));
    case QelRecordFieldInternal::kTypeChecksum:
      return Variant(RTrim(default_));
    default:
      return Variant::Null();
  }
}

int32_t QelRecordField::MaxTextLength() const {
  int64_t width = 0;
  switch (type_) {
    case qelTypeList:
    case qelTypeText:
    case qelTypeAlpha:
      width = length_;
      break;
    case qelTypeDate:
      width = 10;
      break;
    case qelTypeNumeric:
    case qelTypeSigned: {
      const int64_t i = static_cast<int64_t>(length_) - precision_;
      width = i + (i - 1) / 3;
      if (precision_ > 0) width += 1 + precision_;
      if (type_ == qelTypeSigned) ++width;
      break;
    }
    case qelTypeRut: {
      const int64_t d = static_cast<int64_t>(length_) - 1;
      width = d + (d - 1) / 3 + 2;
      break;
    }
    default:
      break;
  }
  if (width > std::numeric_limits<int32_t>::max()) RaiseRuntime(kErrOverflow);
  return static_cast<int32_t>(width);
}

// ---- Slots ----------------------------------------------------------------------------------

// The replacing re-raise of the accessors. Written out rather than through Replacing() so that
// the name is only copied into an argument when something failed.
template <class F>
decltype(auto) QelRecordField::Reraising(const char16_t* source, const char16_t* tmpl,
                                     F&& body) const {
  try {
    return body();
  } catch (const Error& e) {
    RaiseReplacing(e, source, tmpl, {Variant(name_)});
  }
}

QelRecordField::Segment QelRecordField::ObtainSegment(int32_t index) const {
  if (index < 1 || index > occurrences_) {
    RaiseError(E_INVALIDARG, u"ObtainSegment", u"Indice '%1' fuera de rango", {Variant(index)});
  }
  // The collection keeps every occurrence inside 32-bit positions.
  const int64_t start = start_ + static_cast<int64_t>(index - 1) * stride_;
  return {static_cast<int32_t>(start), slot_length_};
}

void QelRecordField::CheckLength(int32_t start, int32_t length, int32_t slot_length) {
  if (start < 1 || length < 0 || static_cast<int64_t>(start) + length - 1 > slot_length) {
    RaiseError(E_INVALIDARG, u"CheckLength",
               u"El rango de %2 caracteres desde la posición %1 excede el largo %3 del campo",
               {Variant(start), Variant(length), Variant(slot_length)});
  }
}

Decimal QelRecordField::ToNumber(const Variant& value) const {
  if (value.IsText()) {
    const TextView t = Trim(value.Get<qel::Text>());
    if (t == u"*") return CurrentTime(length_ == 2 ? 2 : length_ == 4 ? 4 : 6);
    return CDec(Variant(t));
  }
  return CDec(value);
}

bool QelRecordField::NumberSlot(const Variant& value, std::span<char16_t> out) const {
  if (value.IsNull()) return false;
  const Decimal n = ToNumber(value);
  const auto scale = static_cast<size_t>(n.scale());
  const auto precision = static_cast<size_t>(precision_);
  const uint128 integer = n.mantissa() / kPow10[scale];
  uint128 fraction = n.mantissa() % kPow10[scale];
  if (precision <= scale) {
    fraction /= kPow10[scale - precision];
  } else {
    fraction *= kPow10[precision - scale];  // < 10^precision <= 10^28
  }
  PutDigits(fraction, out, out.size(), precision);
  if (out.size() > precision) PutDigits(integer, out, out.size() - precision, out.size());
  if (n.negative() && !out.empty()) {
    char16_t& last = out.back();
    if (data_->SignANSI()) {
      last = last == u'0' ? u'}' : static_cast<char16_t>(last + 25);
    } else {
      last = static_cast<char16_t>(last | 128);
    }
  }
  return true;
}

bool QelRecordField::MakeSlot(const Variant& value, std::span<char16_t> out,
                              qel::Text* scratch) const {
  switch (type_) {
    case qelTypeList:
    case qelTypeText:
    case qelTypeAlpha: {
      if (value.IsNull()) return false;
      if (!value.IsText()) *scratch = CStr(value);
      const TextView t = value.IsText() ? TextView(value.Get<qel::Text>()) : TextView(*scratch);
      const size_t n = std::min(t.size(), out.size());
      RefuseLinkSeparators(t.substr(0, n), name_);
      std::copy_n(t.begin(), n, out.begin());
      std::fill(out.begin() + static_cast<ptrdiff_t>(n), out.end(), u' ');
      return true;
    }
    case qelTypeNumeric:
    case qelTypeSigned:
      return NumberSlot(value, out);
    case qelTypeDate: {
      if (value.IsNull()) {
        std::fill(out.begin(), out.end(), u'0');
        return true;
      }
      const Date d = CDate(value);
      if (!IsValidDateSerial(d.serial)) RaiseRuntime(kErrOverflow);
      const DateParts p = SplitDate(d);
      const size_t n = out.size();
      if (IsEarliestDate(p)) {
        const TextView mark = n == 4 ? u"0101" : n == 6 ? u"010101" : u"00010101";
        std::copy(mark.begin(), mark.end(), out.begin());
        return true;
      }
      if (n == 8) {
        PutDigits(p.year, out, 4, 4);
      } else {
        PutDigits(p.year % 100, out, 2, 2);
      }
      PutDigits(p.month, out, n == 4 ? 4 : n - 2, 2);
      if (n != 4) PutDigits(p.day, out, n, 2);
      return true;
    }
    case qelTypeRut: {
      if (value.IsNull()) return false;
      *scratch = CRut(value, length_ - 1);
      std::copy(scratch->begin(), scratch->end(), out.begin());
      return true;
    }
    default:
      return false;
  }
}

Variant QelRecordField::ReadNumber(TextView slot) const {
  const TextView t = Trim(slot);
  if (t == u"*") return Variant(CurrentTime(6));
  const char16_t last = t.empty() ? u'0' : t.back();
  const auto [digit, negative] = internal::ReadSignMark(last);
  // Plain digits are read directly; anything else goes through the locale's conversion, which
  // fails on what is no number.
  char digits[64];
  const size_t n = t.empty() ? 1 : t.size();
  bool plain = n <= sizeof digits && IsDigit(digit);
  for (size_t i = 0; plain && i + 1 < n; ++i) {
    plain = IsDigit(t[i]);
    digits[i] = static_cast<char>(t[i]);
  }
  Decimal d;
  if (plain && n <= 19) {  // fits 64 bits: the value and its smallest scale directly
    uint64_t v = 0;
    for (size_t i = 0; i + 1 < n; ++i) v = v * 10 + static_cast<uint64_t>(digits[i] - '0');
    v = v * 10 + static_cast<uint64_t>(digit - u'0');
    int scale = precision_;
    while (scale > 0 && v % 10 == 0) {
      v /= 10;
      --scale;
    }
    return Variant(Decimal::FromParts(v, v == 0 ? 0 : scale, negative));
  }
  if (plain) {
    digits[n - 1] = static_cast<char>(digit);
    auto parsed = Decimal::FromDigits(std::string_view(digits, n), -precision_, negative);
    if (!parsed) RaiseRuntime(kErrOverflow);
    d = *parsed;
  } else {
    qel::Text text = RightJustify(u"0", t, length_);
    text.back() = digit;
    d = CDec(Variant(std::move(text)));
    if (precision_ > 0) d = d / scale_;
    if (negative) d = -d;
  }
  return Variant(d.Normalized());
}

Variant QelRecordField::ReadDate(TextView slot) const {
  const TextView t = Trim(slot);
  if (t.empty() || AllOf(t, u'0')) return Variant::Null();
  const auto n = static_cast<size_t>(length_);
  if (t.size() != n || !std::all_of(t.begin(), t.end(), IsDigit)) RaiseRuntime(kErrTypeMismatch);
  DateParts p;
  p.day = 1;
  if (n == 8) {
    p.year = ReadDigits(t, 0, 4);
  } else {
    p.year = ReadDigits(t, 0, 2);
  }
  p.month = ReadDigits(t, n == 8 ? 4 : 2, 2);
  if (n != 4) p.day = ReadDigits(t, n - 2, 2);
  if (p.year == 1 && p.month == 1 && p.day == 1) {  // the earliest date's mark
    p.year = 100;
  } else if (n != 8) {
    p.year = FullYear(p.year);
  }
  const auto date = MakeDate(p);
  if (!date) RaiseRuntime(kErrTypeMismatch);
  return Variant(*date);
}

Variant QelRecordField::ReadRut(TextView slot) const {
  const qel::Text compact = RightJustify(u"0", Trim(slot), length_);
  const TextView digits = TextView(compact).substr(0, compact.size() - 1);
  const size_t first = std::min(digits.find_first_not_of(u'0'), digits.size() - 1);
  const char16_t check = UpperChar(compact.back());
  qel::Text dashed(digits.substr(first));
  dashed.push_back(u'-');
  dashed.push_back(check);
  // A well-formed slot is answered here; CRut reads anything else and raises its errors.
  if (std::all_of(digits.begin(), digits.end(), IsDigit) &&
      (check == u'?' || RutCheckChar(digits) == check)) {
    return Variant(std::move(dashed));
  }
  return Variant(CRut(Variant(std::move(dashed)), 0));
}

Variant QelRecordField::ReadSlot(TextView slot) const {
  if (internal::IsNullSlot(slot)) return Variant::Null();
  switch (type_) {
    case qelTypeList:
    case qelTypeText:
    case qelTypeAlpha:
      return Variant(RTrim(slot));
    case qelTypeNumeric:
    case qelTypeSigned:
      return ReadNumber(slot);
    case qelTypeDate:
      return ReadDate(slot);
    case qelTypeRut:
      return ReadRut(slot);
    default:
      return Variant::Null();
  }
}

// ---- Accessors ------------------------------------------------------------------------------

Variant QelRecordField::Value(int32_t index) const {
  return Reraising(u"QelRecordField.ValueGet", kValueGet, [&] {
    const Segment s = ObtainSegment(index);
    qel::Text scratch;
    return ReadSlot(data_->View(s.start, s.length, &scratch));
  });
}

void QelRecordField::SetValue(const Variant& value, int32_t index) {
  Reraising(u"QelRecordField.ValueLet", kValueLet, [&] {
    const Segment s = ObtainSegment(index);
    // A list end has no data of its own: its slot is the whole list, its members' data.
    if (type_ != qelTypeListEnd) {
      qel::Text scratch;
      if (static_cast<int64_t>(s.start) + s.length - 1 <= data_->Length()) {
        // MakeSlot fails, if at all, before it writes, so the slot can be written in place.
        const auto out = data_->Writable(s.start, s.length);
        if (!MakeSlot(value, out, &scratch)) std::fill(out.begin(), out.end(), kEmptySlotChar);
      } else {
        // Past the end of the data: composed aside, so that a failure does not pad the data.
        qel::Text buf(static_cast<size_t>(s.length), kEmptySlotChar);
        MakeSlot(value, buf, &scratch);
        const auto out = data_->Writable(s.start, s.length);
        std::copy(buf.begin(), buf.end(), out.begin());
      }
    }
    NotifyChange(index);
  });
}

qel::Text QelRecordField::Text(int32_t index) const {
  return Reraising(u"QelRecordField.TextGet", kTextGet, [&]() -> qel::Text {
    const Segment s = ObtainSegment(index);
    qel::Text scratch;
    const TextView slot = data_->View(s.start, s.length, &scratch);
    if (internal::IsNullSlot(slot)) return {};
    const LocaleInfo& loc = ThreadLocale();
    switch (type_) {
      case qelTypeList:
      case qelTypeText:
      case qelTypeAlpha:
        return qel::Text(RTrim(slot));
      case qelTypeNumeric:
      case qelTypeSigned:
        return FormatNumber(ReadNumber(slot).Get<Decimal>(), format_, loc);
      case qelTypeDate: {
        const Variant v = ReadDate(slot);
        if (v.IsNull()) return {};
        const DateParts p = SplitDate(v.Get<Date>());
        return IsEarliestDate(p) ? qel::Text() : FormatDate(p, format_);
      }
      case qelTypeRut: {
        const qel::Text dashed = ReadRut(slot).Get<qel::Text>();
        const size_t dash = dashed.size() - 2;
        const auto body = Decimal::FromDigits(ToUtf8(TextView(dashed).substr(0, dash)), 0, false);
        if (!body) RaiseRuntime(kErrOverflow);
        return FormatNumber(*body, format_, loc).append(dashed, dash);
      }
      default:
        return {};
    }
  });
}

Variant QelRecordField::Data(int32_t index) const {
  return Reraising(u"QelRecordField.DataGet", kDataGet, [&] {
    const Segment s = ObtainSegment(index);
    return data_->Slot(s.start, s.length);
  });
}

void QelRecordField::SetData(const Variant& value, int32_t index) {
  Reraising(u"QelRecordField.DataLet", kDataLet, [&] {
    const Segment s = ObtainSegment(index);
    if (!value.IsNull()) {
      const qel::Text t = CStr(value);
      CheckLength(1, static_cast<int32_t>(std::min<size_t>(t.size(), INT32_MAX)), s.length);
      RefuseLinkSeparators(t, name_);
    }
    data_->SetSlot(s.start, s.length, value);
    NotifyChange(index);
  });
}

qel::Text QelRecordField::Mid(int32_t start, int32_t length, int32_t index) const {
  return Reraising(u"QelRecordField.MidGet", kMidGet, [&] {
    const Segment s = ObtainSegment(index);
    CheckLength(start, length, s.length);
    qel::Text scratch;
    const TextView slot = data_->View(s.start, s.length, &scratch);
    return qel::Text(slot.substr(static_cast<size_t>(start) - 1, static_cast<size_t>(length)));
  });
}

void QelRecordField::SetMid(int32_t start, int32_t length, const Variant& value,
                            int32_t index) {
  Reraising(u"QelRecordField.MidLet", kMidLet, [&] {
    const Segment s = ObtainSegment(index);
    CheckLength(start, length, s.length);
    if (!value.IsNull()) {
      const qel::Text t = CStr(value);
      RefuseLinkSeparators(TextView(t).substr(0, static_cast<size_t>(length)), name_);
    }
    data_->SetSlot(s.start + start - 1, length, value);
    NotifyChange(index);
  });
}

void QelRecordField::SetFill(const Variant& value) {
  // Fill is the one writer of the null filler: clients fill with Null to mark a field as
  // deliberately null, and read that mark back as Null.
  char16_t c = kNullFiller;
  if (!value.IsNull()) {
    const qel::Text t = CStr(value);
    c = t.empty() ? kEmptySlotChar : t[0];
    RefuseLinkSeparators(TextView(&c, 1), name_);
  }
  for (int32_t i = 1; i <= occurrences_; ++i) {
    const Segment s = ObtainSegment(i);
    const auto out = data_->Writable(s.start, s.length);
    std::fill(out.begin(), out.end(), c);
  }
  NotifyDataChanged();
}

bool QelRecordField::IsNull(int32_t index) const {
  const Segment s = ObtainSegment(index);
  qel::Text scratch;
  const TextView slot = data_->View(s.start, s.length, &scratch);
  return internal::IsNullSlot(slot) || AllOf(slot, u' ') ||
         (type_ == qelTypeDate && AllOf(slot, u'0'));
}

bool QelRecordField::Validate(const Variant& value, int32_t index) const {
  try {
    const Segment s = ObtainSegment(index);
    if (value.IsNull()) return true;
    switch (type_) {
      case qelTypeList:
      case qelTypeText:
      case qelTypeAlpha:
      {
        const qel::Text t = CStr(value);
        return t.size() <= static_cast<size_t>(s.length) &&
               t.find_first_of(TextView(kLinkSeparators, 2)) == qel::Text::npos;
      }
      case qelTypeNumeric:
      case qelTypeSigned: {
        const Decimal n = ToNumber(value);
        if (type_ == qelTypeNumeric && n.negative()) return false;
        const uint128 integer = n.mantissa() / kPow10[static_cast<size_t>(n.scale())];
        const int32_t room = length_ - precision_;
        if (room <= 0) return integer == 0;
        return room >= static_cast<int32_t>(kPow10.size()) ||
               integer < kPow10[static_cast<size_t>(room)];
      }
      case qelTypeDate: {
        const Date d = CDate(value);
        if (!IsValidDateSerial(d.serial)) return false;
        const DateParts p = SplitDate(d);
        return length_ == 8 || IsEarliestDate(p) || (p.year >= 1930 && p.year <= 2029);
      }
      case qelTypeRut:
        CRut(value, length_ - 1);
        return true;
      default:
        return false;
    }
  } catch (const Error&) {
    return false;
  }
}

// ---- Notifications --------------------------------------------------------------------------

void QelRecordField::NotifyChange(int32_t index) {
  if (!Change.empty()) Change.Raise(index);
}

void QelRecordField::NotifyDataChanged() {
  if (Change.empty()) return;
  for (int32_t i = 1; i <= occurrences_; ++i) Change.Raise(i);
}

uint64_t QelRecordField::ConnectEvent(qel::TextView name, GenericHandler handler) {
  if (!EqualsNoCase(name, u"Change")) return Object::ConnectEvent(name, std::move(handler));
  return Change.Connect([handler = std::move(handler)](int32_t index) {
    Variant args[] = {Variant(index)};
    handler(args);
  });
}

bool QelRecordField::DisconnectEvent(uint64_t handle) { return Change.Disconnect(handle); }

}  // namespace qel
