// A field's definition from one descriptor line, "CODE:LENGTH[.PRECISION]:NAME[:DEFAULT]"
// (the field's Initialize operation), with the checks and messages of each type. How values
// are stored in the slots the definition describes is qel_record_field.cc.
#include <memory>

#include "fields/qel_record_field_internal.h"
#include "qel/fields/field_types.h"
#include "qel/fields/qel_record_field.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {
namespace {

// The most decimals a Decimal holds.
constexpr int32_t kMaxScale = 28;

uint128 PowerOfTen(int32_t exponent) {
  uint128 p = 1;
  for (int32_t i = 0; i < exponent; ++i) p *= 10;
  return p;
}

struct TypeCode {
  const char16_t* code;
  int32_t type;
};
constexpr TypeCode kTypeCodes[] = {
    {u"LB", qelTypeList},
    {u"X", qelTypeText},
    {u"N", qelTypeNumeric},
    {u"S", qelTypeSigned},
    {u"D", qelTypeDate},
    {u"R", qelTypeRut},
    {u"A", qelTypeAlpha},
    {u"LE", qelTypeListEnd},
    {u"SD", QelRecordFieldInternal::kTypeHeader},
    {u"CS", QelRecordFieldInternal::kTypeChecksum},
};

int32_t TypeOfCode(TextView code) {
  for (const auto& c : kTypeCodes) {
    if (code == c.code) return c.type;
  }
  return 0;
}

// The earliest date, 1 January 100, in a form the date conversion reads under every locale
// (a four-digit first part is always the year).
constexpr char16_t kEarliestDateText[] = u"0100-01-01";

const char16_t* TypeDefault(int32_t type) {
  switch (type) {
    case qelTypeNumeric:
    case qelTypeSigned:
      return u"0";
    case qelTypeRut:
      return u"0-0";
    case qelTypeDate:
      return kEarliestDateText;
    default:
      return u"";
  }
}

}  // namespace

TextView FieldTypeCode(int32_t type) {
  if (type < qelTypeList || type > qelTypeListEnd) return {};
  return kTypeCodes[type - 1].code;
}

std::shared_ptr<QelRecordField> QelRecordFieldInternal::Make(
    TextView descriptor, std::shared_ptr<QelRecordData> data) {
  auto field = std::make_shared<QelRecordField>(QelRecordField::Key(), std::move(data));
  Initialize(*field, descriptor);
  return field;
}

std::shared_ptr<QelRecordField> QelRecordFieldInternal::Clone(
    const QelRecordField& p, std::shared_ptr<QelRecordData> data) {
  auto f = std::make_shared<QelRecordField>(QelRecordField::Key(), std::move(data));
  f->name_ = p.name_;
  f->type_ = p.type_;
  f->length_ = p.length_;
  f->precision_ = p.precision_;
  f->dimensions_ = p.dimensions_;
  f->format_ = p.format_;
  f->default_ = p.default_;
  f->scale_ = p.scale_;
  Place(*f, p.start_, p.slot_length_, p.occurrences_, p.stride_, p.in_list_);
  return f;
}

void QelRecordFieldInternal::Initialize(QelRecordField& f, TextView descriptor) {
  try {
    TextView rest = descriptor;
    size_t p = rest.find(u':');
    const Text code = UCase(rest.substr(0, p));
    f.type_ = TypeOfCode(code);
    if (f.type_ == 0) {
      RaiseError(E_INVALIDARG, u"DataType", u"El tipo de campo '%1' es desconocido",
                 {Variant(code)});
    }
    f.default_ = TypeDefault(f.type_);
    rest = p == TextView::npos ? TextView() : rest.substr(p + 1);

    p = rest.find(u':');
    const TextView size = rest.substr(0, p);
    rest = p == TextView::npos ? TextView() : rest.substr(p + 1);
    const size_t dot = size.find(u'.');
    f.length_ = ToLongOr(Variant(size.substr(0, dot)), -1);
    f.precision_ = dot == TextView::npos ? 0 : ToLongOr(Variant(size.substr(dot + 1)), -1);

    p = rest.find(u':');
    f.name_ = UCase(rest.substr(0, p));
    if (p != TextView::npos) f.default_ = Text(rest.substr(p + 1));

    if (f.length_ <= 0) {
      RaiseError(E_INVALIDARG, u"Length", u"El Largo de un campo debe ser mayor que cero");
    }
    if (f.precision_ < 0) {
      RaiseError(E_INVALIDARG, u"Precision", u"La Precisión de un campo no debe ser negativa");
    }
    if (f.length_ > kMaxRecordLength) RaiseRuntime(kErrOverflow);
    f.slot_length_ = f.length_;
    switch (f.type_) {
      case qelTypeList:
        if (f.precision_ < 1) {
          f.dimensions_ = f.length_;
          f.length_ = 0;
        } else {
          f.dimensions_ = f.precision_;
          f.precision_ = 0;
        }
        if (f.dimensions_ > kMaxListOccurrences) RaiseRuntime(kErrOverflow);
        Place(f, 1, f.length_ / f.dimensions_, f.dimensions_, f.length_ / f.dimensions_, false);
        break;
      case qelTypeText:
      case qelTypeAlpha:
        if (f.precision_ > 0) {
          RaiseError(E_INVALIDARG, u"TextPrecision", u"La Precisión de un Texto debe ser cero");
        }
        break;
      case qelTypeNumeric:
      case qelTypeSigned: {
        // A scale past Decimal's 28 places does not exist; refused before the pattern is
        // built, which would otherwise take one character per decimal.
        if (f.precision_ > kMaxScale) RaiseRuntime(kErrOverflow);
        f.format_ = u"#,##0";
        if (f.precision_ > 0) f.format_ += u"." + Text(static_cast<size_t>(f.precision_), u'0');
        f.scale_ = Decimal::FromParts(PowerOfTen(f.precision_), 0, false);
        break;
      }
      case qelTypeDate:
        if (f.length_ != 4 && f.length_ != 6 && f.length_ != 8) {
          RaiseError(E_INVALIDARG, u"DateLength", u"El Largo de una Fecha debe ser 4,6,8");
        }
        f.format_ = u"dd-mm-yyyy";
        if (f.precision_ > 0) {
          RaiseError(E_INVALIDARG, u"DatePrecision", u"La Precisión de una Fecha debe ser cero");
        }
        break;
      case qelTypeRut:
        f.format_ = u"#,##0";
        if (f.length_ <= 1) {
          RaiseError(E_INVALIDARG, u"RutLength", u"El Largo de un RUT debe ser mayor que 1");
        }
        if (f.precision_ != 1) {
          RaiseError(E_INVALIDARG, u"RutPrecision", u"La Precisión de un RUT debe ser 1");
        }
        break;
      default:
        break;
    }
  } catch (const Error& e) {
    RaiseChained(e, u"QelRecordField.Initialize:", u"El descriptor de campo '%1' es inválido%n%2",
                 {Variant(descriptor)});
  }
}

}  // namespace qel
