#include "qel/props/qel_prop.h"

#include <chrono>

#include "props/props_format.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace props {

bool IsNameToken(TextView name) {
  if (name.empty() || !IsNameStart(name[0])) return false;
  for (char16_t c : name.substr(1)) {
    if (!IsNameChar(c)) return false;
  }
  return true;
}

namespace {

uint64_t Mix(uint64_t h) {
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdULL;
  h ^= h >> 33;
  h *= 0xc4ceb9fe1a85ec53ULL;
  h ^= h >> 33;
  return h;
}

uint64_t ProcessSeed() {
  static const uint64_t seed =
      Mix(static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
          reinterpret_cast<uintptr_t>(&seed));
  return seed;
}

}  // namespace

uint64_t KeyHash(TextView key) {
  // FNV-1a over the upper-cased code units, then a final mix so that the low bits the index
  // uses depend on every unit.
  uint64_t h = 0xcbf29ce484222325ULL ^ ProcessSeed();
  for (char16_t c : key) {
    h ^= UpperChar(c);
    h *= 0x100000001b3ULL;
  }
  return Mix(h);
}

}  // namespace props

QelProp::QelProp(TextView name)
    : name_(Trim(name)),
      name_is_token_(props::IsNameToken(name_)),
      key_hash_(props::KeyHash(name_)) {}

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
               {Variant(name_)});
  }
  if (auto other = std::dynamic_pointer_cast<QelProp>(obj)) {
    Variant copy = other->value_;  // a copy even when other is this property
    value_ = std::move(copy);
  } else if (std::dynamic_pointer_cast<QelProps>(obj)) {
    value_ = value;
  } else if (obj->ClassName() == u"QelRecordField") {
    // QelRecordField lives in the records subsystem; the bag recognises it by its class name.
    // A field's default member is its Value of occurrence 1, which is what a bag stores.
    auto field_value = obj->DefaultValue();
    if (!field_value || field_value->IsObject()) {
      RaiseError(E_INVALIDARG, u"QelProp.ValueSet",
                 u"Asignación de objeto inválido a la propiedad '%1'", {Variant(name_)});
    }
    value_ = std::move(*field_value);
  } else {
    RaiseError(E_INVALIDARG, u"QelProp.ValueSet",
               u"Asignación de objeto inválido a la propiedad '%1'", {Variant(name_)});
  }
}

}  // namespace qel
