#include "qel/props/qel_prop.h"

#include <chrono>
#include <cstring>

#include "props/props_format.h"
#include "qel/fields/qel_record_field.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace props {

bool IsNameToken(TextView name) {
  if (name.empty() || !IsNameStart(name[0])) return false;
  const char16_t* end = name.data() + name.size();
  return SkipNameChars(name.data() + 1, end) == end;
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
  // Two code units that UpperChar makes equal differ at most in bit 5 (a-z and A-Z, the Latin-1
  // pairs 0xE0-0xFE and 0xC0-0xDE), so hashing the units with that bit cleared gives names that
  // are equal ignoring case the same hash; the few unequal names it also merges are told apart
  // by the comparison after the lookup. Four units are hashed at a time.
  constexpr uint64_t kFold = 0xFFDFFFDFFFDFFFDFULL;
  constexpr uint64_t kMul = 0x9E3779B97F4A7C15ULL;
  uint64_t h = ProcessSeed() ^ (key.size() * kMul);
  size_t i = 0;
  for (; i + 4 <= key.size(); i += 4) {
    uint64_t w;
    std::memcpy(&w, key.data() + i, sizeof w);
    h = (h ^ (w & kFold)) * kMul;
    h ^= h >> 29;
  }
  if (i < key.size()) {
    // The last one to three units, gathered by shifts: a memcpy of a variable length here
    // costs a library call and a stalled load.
    uint64_t w = 0;
    for (size_t k = 0; i + k < key.size(); ++k) w |= uint64_t{key[i + k]} << (16 * k);
    h = (h ^ (w & kFold)) * kMul;
  }
  return Mix(h);
}

}  // namespace props

QelProp::QelProp(TextView name)
    : name_(Trim(name)),
      name_is_token_(props::IsNameToken(name_)),
      key_hash_(props::KeyHash(name_)) {}

QelProp::QelProp(Prepared prepared, TextView trimmed_name)
    : name_(trimmed_name), name_is_token_(prepared.is_token_), key_hash_(prepared.hash_) {}

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
  } else if (auto field = std::dynamic_pointer_cast<QelRecordField>(obj)) {
    value_ = field->Value(1);  // the field's value of its first occurrence, not the field
  } else {
    RaiseError(E_INVALIDARG, u"QelProp.ValueSet",
               u"Asignación de objeto inválido a la propiedad '%1'", {Variant(name_)});
  }
}

}  // namespace qel
