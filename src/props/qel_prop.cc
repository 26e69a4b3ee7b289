#include "qel/props/qel_prop.h"

#include "props/bag_access.h"
#include "props/props_format.h"
#include "qel/fields/qel_record_field.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace internal {

bool IsNameToken(TextView name) {
  if (name.empty() || !IsNameStart(name[0])) return false;
  const char16_t* end = name.data() + name.size();
  return SkipNameChars(name.data() + 1, end) == end;
}

}  // namespace internal

QelProp::QelProp(TextView trimmed_name)
    : name_(trimmed_name), name_is_token_(internal::IsNameToken(trimmed_name)) {}

std::shared_ptr<QelProp> QelProp::Create(TextView name) {
  return internal::NewProp(Trim(name));
}

Text QelProp::StrName() const { return name_is_token_ ? name_ : QuoteText(name_); }

std::shared_ptr<QelProps> QelProp::Props() const {
  return std::dynamic_pointer_cast<QelProps>(value_.AsObject());
}

void QelProp::SetValue(const Variant& value) {
  if (!value.IsObject()) {
    value_ = value;
    return;
  }
  const ObjectPtr obj = value.AsObject();
  if (!obj) {
    RaiseError(E_INVALIDARG, u"QelProp.ValueSet", u"Asignación de objeto nulo a la propiedad '%1'",
               {Variant(Name())});
  }
  if (auto other = std::dynamic_pointer_cast<QelProp>(obj)) {
    Variant copy = other->value_;  // a copy even when other is this property
    value_ = std::move(copy);
  } else if (std::dynamic_pointer_cast<QelProps>(obj)) {
    value_ = value;
  } else if (auto field = std::dynamic_pointer_cast<QelRecordField>(obj)) {
    value_ = field->Value(1);  // the field's value of its first occurrence, not the field
  } else {
    RaiseError(E_INVALIDARG, u"QelProp.ValueSet",
               u"Asignación de objeto inválido a la propiedad '%1'", {Variant(Name())});
  }
}

}  // namespace qel
