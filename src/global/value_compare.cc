#include "qel/global/value_compare.h"

#include <algorithm>

#include "qel/fields/field_types.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {
namespace {

// -1, 0 or 1. Texts compare by UTF-16 code unit (character code, case-sensitive).
template <class T>
int32_t Compare(const T& a, const T& b) {
  if (a < b) return -1;
  return b < a ? 1 : 0;
}

// A host-style number text in the locale's terms: "." dropped, "," made `decimal`.
Text FromHostNumber(TextView text, char16_t decimal) {
  Text out;
  out.reserve(text.size());
  for (char16_t c : text) {
    if (c == u'.') continue;
    out.push_back(c == u',' ? decimal : c);
  }
  return out;
}

// Runs a conversion of `value`; its errors are chained under `prefix` with `tmpl` naming the
// value. A missing value (an argument not given, null here) cannot be converted and fails with
// type mismatch (13) as the platform's conversions do; Empty is a value and converts as the
// platform converts it ("" for texts, 0 for numbers, the zero date for dates).
template <class F>
Variant Converting(const Variant* value, TextView prefix, TextView tmpl, F&& body) {
  try {
    if (value == nullptr) RaiseRuntime(kErrTypeMismatch);
    if (value->IsNull()) return Variant::Null();
    return body(*value);
  } catch (const Error& e) {
    RaiseChained(e, prefix, tmpl, {value == nullptr ? Variant() : *value});
  }
}

}  // namespace

Variant QelGlobal::CmpToText(const Variant* value, bool) const {
  return Converting(value, u"QelGlobal.CmpToText:",
                    u"El valor '%1' no se puede convertir a Texto%n%2",
                    [](const Variant& v) { return Variant(Text(RTrim(CStr(v)))); });
}

Variant QelGlobal::CmpToNumber(const Variant* value, bool with_qel_format) const {
  return Converting(value, u"QelGlobal.CmpToNumber:",
                    u"El valor '%1' no se puede convertir a Número%n%2", [&](const Variant& v) {
                      if (!v.IsText()) return Variant(CDec(v));
                      const TextView text = Trim(v.Get<Text>());
                      return Variant(CDec(with_qel_format
                                              ? Variant(FromHostNumber(text, DecimalSeparator()))
                                              : Variant(text)));
                    });
}

Variant QelGlobal::CmpToDate(const Variant* value, bool) const {
  return Converting(value, u"QelGlobal.CmpToDate:",
                    u"El valor '%1' no se puede convertir a Fecha%n%2", [](const Variant& v) {
                      if (!v.IsText()) return Variant(CDate(v));
                      Text text(Trim(v.Get<Text>()));
                      std::replace(text.begin(), text.end(), u'/', u'-');
                      if (EqualsNoCase(text, u"00-00-0000")) return Variant::Null();
                      return Variant(CDate(Variant(std::move(text))));
                    });
}

Variant QelGlobal::CmpToRut(const Variant* value, bool) const {
  return Converting(value, u"QelGlobal.CmpToRut:",
                    u"El valor '%1' no se puede convertir a RUT%n%2", [](const Variant& v) {
                      Text dashed = CRut(v, 0);  // digits, "-", check character
                      dashed.resize(dashed.size() - 2);
                      return Variant(CDec(Variant(std::move(dashed))));
                    });
}

Variant QelGlobal::QelConvert(const QelRecordField& field, const Variant& value,
                              bool with_qel_format) const {
  return Convert(field, &value, with_qel_format);
}

Variant QelGlobal::Convert(const QelRecordField& field, const Variant* value,
                           bool with_qel_format) const {
  switch (field.DataType()) {
    case qelTypeText:
    case qelTypeAlpha:
      return CmpToText(value, with_qel_format);
    case qelTypeNumeric:
    case qelTypeSigned:
      return CmpToNumber(value, with_qel_format);
    case qelTypeDate:
      return CmpToDate(value, with_qel_format);
    case qelTypeRut:
      return CmpToRut(value, with_qel_format);
    default:
      RaiseError(E_INVALIDARG, u"QelGlobal.QelConvert", u"No se puede convertir el campo '%1'",
                 {field.Name()});
  }
}

int32_t QelGlobal::QelCompare(const QelRecordField& field, int32_t index1,
                              const std::optional<Variant>& value2, int32_t index2) const {
  try {
    // The second value as given (not copied), or the value of the field it holds.
    const Variant* other = value2 ? &*value2 : nullptr;
    Variant other_field_value;
    if (other != nullptr && other->IsObject()) {
      if (auto* other_field = dynamic_cast<const QelRecordField*>(other->AsObject().get())) {
        other_field_value = other_field->Value(index2);
        other = &other_field_value;
      }
    }
    const Variant first = QelConvert(field, field.Value(index1), true);
    const Variant second = Convert(field, other, true);
    if (first.IsNull() || second.IsNull()) {
      return first.IsNull() == second.IsNull() ? 0 : (first.IsNull() ? -1 : 1);
    }
    switch (field.DataType()) {
      case qelTypeText:
      case qelTypeAlpha:
        return Compare(first.Get<Text>(), second.Get<Text>());
      case qelTypeDate:
        return Compare(first.Get<Date>().serial, second.Get<Date>().serial);
      default:
        return Compare(first.Get<Decimal>(), second.Get<Decimal>());
    }
  } catch (const Error& e) {
    RaiseChained(e, u"QelGlobal.QelCompare:", u"No se puede comparar el campo '%1'%n%2",
                 {field.Name()});
  }
}

Decimal QelGlobal::ToDecimal(const Variant& value) const {
  try {
    if (!value.IsText()) return CDec(value);
    return CDec(Variant(FromHostNumber(Trim(value.Get<Text>()), DecimalSeparator())));
  } catch (const Error& e) {
    RaiseChained(e, u"QelGlobal.ToDecimal:", u"El valor '%1' no se puede convertir a Número%n%2",
                 {value});
  }
}

int32_t QelGlobal::CobolCompare(const Variant& value1, const Variant& value2) const {
  try {
    if (value1.IsText() && value2.IsText()) {
      return Compare(RTrim(value1.Get<Text>()), RTrim(value2.Get<Text>()));
    }
    return Compare(ToDecimal(value1), ToDecimal(value2));
  } catch (const Error& e) {
    RaiseChained(e, u"QelGlobal.CobolCompare:",
                 u"No se pueden comparar los valores suministrados%n%1", {});
  }
}

Variant QelConvert(const QelRecordField& field, const Variant& value, bool with_qel_format) {
  return QelGlobal::Instance()->QelConvert(field, value, with_qel_format);
}

int32_t QelCompare(const QelRecordField& field, int32_t index1,
                   const std::optional<Variant>& value2, int32_t index2) {
  return QelGlobal::Instance()->QelCompare(field, index1, value2, index2);
}

Decimal ToDecimal(const Variant& value) { return QelGlobal::Instance()->ToDecimal(value); }

int32_t CobolCompare(const Variant& value1, const Variant& value2) {
  return QelGlobal::Instance()->CobolCompare(value1, value2);
}

}  // namespace qel
