// Writing a bag as text. The forms and the value texts are those the reader atop
// props_parser.cc takes back; what follows settles the cases the text form leaves open.
//
// Value texts (the same in every form):
//   Long        decimal digits, unquoted and without type code: N=5
//   Null        nothing at all, the name alone: N
//   String      the quoted text without type code: N="a ""b"""
//   Integer, Byte, Boolean, Single, Double, Currency, Decimal, Date, Empty, bytes:
//               ":" type code "=" and the quoted text:
//     Integer, Byte    decimal digits
//     Boolean          "-1" or "0"
//     Single, Double   CStr's digits (15 significant for a Double, 7 for a Single) with the
//                      locale's decimal separator replaced by ",": "100000", "0,0001",
//                      "1,5E+300" (infinities and NaN raise 6); a value with more digits than
//                      that reads back rounded to them
//     Currency         exact, "," before the fraction, trailing zeros dropped
//     Decimal          exact, "," before the fraction, as many decimals as its scale
//     Date             DD/MM/YYYY with the locale's date separator; the time of day is not
//                      written (on purpose: the format carries days)
//     Empty            code 0 and "": N:0=""
//     byte array       code 8209 and the bytes in upper-case hexadecimal: N:8209="00FF"
//   a nested bag        "=[" its compact text "]"
//   another object      written as the value of its default member
//   a variant array     raises 13: the format has no form for it
//
// Compact form (qelFormatNormal): the properties joined by ";".
// Indented form (qelFormatIndented): one property per line, each line indented by one tab per
// level and ended by CR LF, " = " between name and value, ";" at the end of every property but
// the last of its bag; a nested bag is its name and " =" on one line, "[" on the next at the
// same indentation, its properties one level deeper, and "]" on a line of its own:
//     N = 5;
//     Q =
//     [
//     <tab>X = 1
//     ]
// Size: a bag that holds one nested bag in many places is written in full at every one, so a
// bag of a few hundred properties can stand for more text than memory holds; past
// QelProps::kMaxTextUnits code units writing stops with E_INVALIDARG. A bag that contains
// itself stops at the nesting limit with 28.
//
// Post-data form (qelFormatPostData): URL-encoded form fields name=value joined by "&", each
// name and value encoded by UrlEncode; the value is the value text above without quotes (a
// nested bag's is its compact text), an Empty value leaves "name=" and a Null one "name".
#include <charconv>
#include <cmath>

#include "props/bag_access.h"
#include "props/props_format.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"
#include "qel/frame/url_encode.h"
#include "qel/props/qel_props.h"

namespace qel::internal {
namespace {

constexpr int32_t kNoCode = -1;

void AppendAscii(std::string_view ascii, Text* out) {
  for (char c : ascii) out->push_back(static_cast<unsigned char>(c));
}

template <class I>
void AppendInteger(I v, Text* out) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  AppendAscii(std::string_view(buf, static_cast<size_t>(r.ptr - buf)), out);
}

// The platform's text of a Single or Double (CStr) with "," before the fraction.
void AppendBinary(const Variant& v, Text* out) {
  const double d = v.type() == VarType::kSingle ? v.Get<float>() : v.Get<double>();
  if (!std::isfinite(d)) RaiseRuntime(kErrOverflow);
  const char16_t decimal = ThreadLocale().decimal;
  for (char16_t c : CStr(v)) out->push_back(c == decimal ? u',' : c);
}

void AppendDecimal(const Decimal& d, Text* out) {
  const size_t start = out->size();
  out->append(d.ToText(u','));
  // ToText drops trailing zeros; the scale is part of the value, so put them back.
  const size_t comma = out->find(u',', start);
  const int decimals = comma == Text::npos ? 0 : static_cast<int>(out->size() - comma - 1);
  if (decimals < d.scale()) {
    if (comma == Text::npos) out->push_back(u',');
    out->append(static_cast<size_t>(d.scale() - decimals), u'0');
  }
}

void AppendTwoDigits(int v, Text* out) {
  out->push_back(static_cast<char16_t>(u'0' + v / 10));
  out->push_back(static_cast<char16_t>(u'0' + v % 10));
}

void AppendDate(Date d, char16_t sep, Text* out) {
  if (!IsValidDateSerial(d.serial)) RaiseRuntime(kErrOverflow);
  const DateParts p = SplitDate(d);
  AppendTwoDigits(p.day, out);
  out->push_back(sep);
  AppendTwoDigits(p.month, out);
  out->push_back(sep);
  AppendTwoDigits(p.year / 100, out);
  AppendTwoDigits(p.year % 100, out);
}

void AppendHex(const ByteArray& bytes, Text* out) {
  static constexpr char16_t kHex[] = u"0123456789ABCDEF";
  for (uint8_t b : bytes) {
    out->push_back(kHex[b >> 4]);
    out->push_back(kHex[b & 15]);
  }
}

class Writer {
 public:
  explicit Writer(Text* out) : out_(out), date_sep_(ThreadLocale().date_sep) {}

  void Compact(const QelProps& bag, int depth) {
    if (depth > kMaxNesting) RaiseRuntime(kErrOutOfStack);
    bool first = true;
    size_t written = 0;
    for (auto it = bag.begin(); it != bag.end(); ++it) {
      const auto& p = *it;
      Prefetch(it, bag.end());
      CheckSize();
      if (depth == 0) ReserveAfter(written++, bag);
      if (!first) out_->push_back(u';');
      first = false;
      AppendName(*p);
      if (const QelProps* nested = BagAccess::NestedBag(*p)) {
        out_->append(u"=[");
        Compact(*nested, depth + 1);
        out_->push_back(u']');
        continue;
      }
      AppendValuePart(p->Value(), u"=");
    }
  }

  void Indented(const QelProps& bag, int depth) {
    if (depth > kMaxNesting) RaiseRuntime(kErrOutOfStack);
    int left = bag.Count();
    size_t written = 0;
    for (auto it = bag.begin(); it != bag.end(); ++it) {
      const auto& p = *it;
      Prefetch(it, bag.end());
      CheckSize();
      if (depth == 0) ReserveAfter(written++, bag);
      Indent(depth);
      AppendName(*p);
      if (const QelProps* nested = BagAccess::NestedBag(*p)) {
        out_->append(u" =\r\n");
        Indent(depth);
        out_->append(u"[\r\n");
        Indented(*nested, depth + 1);
        Indent(depth);
        out_->push_back(u']');
      } else {
        AppendValuePart(p->Value(), u" = ");
      }
      if (--left > 0) out_->push_back(u';');
      out_->append(u"\r\n");
    }
  }

  void PostData(const QelProps& bag) {
    bool first = true;
    Text value;
    for (const auto& p : bag) {
      CheckSize();
      if (!first) out_->push_back(u'&');
      first = false;
      AppendUrlEncoded(p->Name(), out_);
      value.clear();
      if (const QelProps* nested = BagAccess::NestedBag(*p)) {
        Writer(&value).Compact(*nested, 1);
      } else if (p->IsNull()) {
        continue;
      } else {
        ValueText(p->Value(), &value);
      }
      out_->push_back(u'=');
      AppendUrlEncoded(value, out_);
    }
  }

 private:
  // The properties of a large bag, their names and their texts lie apart in memory, and the
  // writer would wait on each in turn. Asking for a property eight places ahead, and for the
  // name and text of the one four places ahead (by then at hand), brings them in while the
  // ones before are written.
  static void Prefetch(QelProps::const_iterator it, QelProps::const_iterator end) {
    if (end - it > 8) {
      __builtin_prefetch(it[8].get());
      __builtin_prefetch(reinterpret_cast<const char*>(it[8].get()) + 64);
    }
    if (end - it > 4) {
      const QelProp& ahead = *it[4];
      __builtin_prefetch(ahead.Name().data());
      if (ahead.Value().IsText()) __builtin_prefetch(ahead.Value().Get<Text>().data());
    }
  }

  // A large text would be copied at each doubling of its buffer as it grows. Once a sixteenth
  // of the top bag's properties is written, room is made for the rest at the rate so far, with
  // an eighth to spare: one copy of a sixteenth of the text instead of copies adding up to
  // the whole. A bag whose later properties write longer texts grows from there as before.
  void ReserveAfter(size_t written, const QelProps& top) {
    const auto count = static_cast<size_t>(top.Count());
    if (count < 16 || written != count / 16) return;
    const size_t estimate = out_->size() * count / written / 8 * 9;
    if (estimate <= QelProps::kMaxTextUnits) out_->reserve(estimate);
  }

  // Checked before each property, whose own text (a name, a value, a line's indentation) is
  // bounded by what the bag holds, not by how often it is shared.
  void CheckSize() const {
    if (out_->size() > QelProps::kMaxTextUnits) {
      RaiseError(E_INVALIDARG, u"QelProps.ToText",
                 u"El texto de la bolsa supera el máximo de %1 caracteres",
                 {Variant(static_cast<int32_t>(QelProps::kMaxTextUnits))});
    }
  }

  void Indent(int depth) { out_->append(static_cast<size_t>(depth), u'\t'); }

  void AppendName(const QelProp& p) {
    if (p.name_is_token()) {
      out_->append(p.Name());
    } else {
      AppendQuoted(p.Name());
    }
  }

  void AppendQuoted(TextView text) {
    out_->push_back(u'"');
    size_t from = 0;
    for (size_t q = text.find(u'"'); q != TextView::npos; q = text.find(u'"', q + 1)) {
      out_->append(text.substr(from, q + 1 - from));
      out_->push_back(u'"');
      from = q + 1;
    }
    out_->append(text.substr(from));
    out_->push_back(u'"');
  }

  // The value part after the name of a property whose value is not a bag.
  void AppendValuePart(const Variant& v, TextView equals) {
    switch (v.type()) {
      case VarType::kNull:
        return;
      case VarType::kLong:
        out_->append(equals);
        AppendInteger(v.Get<int32_t>(), out_);
        return;
      case VarType::kString:
        out_->append(equals);
        AppendQuoted(v.Get<Text>());
        return;
      case VarType::kObject:
        AppendValuePart(DefaultOf(v), equals);
        return;
      default:
        break;
    }
    scratch_.clear();
    const int32_t code = ValueText(v, &scratch_);
    out_->push_back(u':');
    AppendInteger(code, out_);
    out_->append(equals);
    AppendQuoted(scratch_);
  }

  // The value of an object's default member, when that is no object itself.
  static Variant DefaultOf(const Variant& v) {
    Variant inner = Unwrap(v);
    if (inner.IsObject()) RaiseRuntime(kErrTypeMismatch);
    return inner;
  }

  // Appends the text of a value that is not a bag; returns its type code, or kNoCode for
  // Strings, Longs and Nulls (which have no text).
  int32_t ValueText(const Variant& v, Text* out) {
    switch (v.type()) {
      case VarType::kNull:
        return kNoCode;
      case VarType::kEmpty:
        return 0;
      case VarType::kLong:
        AppendInteger(v.Get<int32_t>(), out);
        return kNoCode;
      case VarType::kString:
        out->append(v.Get<Text>());
        return kNoCode;
      case VarType::kInteger:
        AppendInteger(v.Get<int16_t>(), out);
        break;
      case VarType::kByte:
        AppendInteger(static_cast<int>(v.Get<uint8_t>()), out);
        break;
      case VarType::kBoolean:
        out->append(v.Get<bool>() ? u"-1" : u"0");
        break;
      case VarType::kSingle:
      case VarType::kDouble:
        AppendBinary(v, out);
        break;
      case VarType::kCurrency:
        AppendDecimal(CDec(v), out);  // trailing zeros dropped
        break;
      case VarType::kDecimal:
        AppendDecimal(v.Get<Decimal>(), out);
        break;
      case VarType::kDate:
        AppendDate(v.Get<Date>(), date_sep_, out);
        break;
      case VarType::kByteArray:
        AppendHex(v.Get<ByteArray>(), out);
        break;
      case VarType::kObject:
        return ValueText(DefaultOf(v), out);
      default:
        RaiseRuntime(kErrTypeMismatch);
    }
    return static_cast<int32_t>(v.type());
  }

  Text* out_;
  char16_t date_sep_;
  Text scratch_;
};

}  // namespace

Text WriteBagText(const QelProps& bag, int32_t format) {
  Text out;
  Writer writer(&out);
  switch (format) {
    case qelFormatIndented:
      writer.Indented(bag, 0);
      break;
    case qelFormatPostData:
      writer.PostData(bag);
      break;
    default:
      writer.Compact(bag, 0);
      break;
  }
  return out;
}

}  // namespace qel::internal
