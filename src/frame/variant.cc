#include "qel/frame/variant.h"

#include <array>

#include "qel/frame/object.h"

namespace qel {

VarType Variant::type() const {
  static constexpr std::array<VarType, std::variant_size_v<Storage>> kTypes = {
      VarType::kEmpty,    VarType::kNull,    VarType::kInteger,  VarType::kLong,
      VarType::kSingle,   VarType::kDouble,  VarType::kCurrency, VarType::kDate,
      VarType::kString,   VarType::kObject,  VarType::kBoolean,  VarType::kDecimal,
      VarType::kByte,     VarType::kByteArray, VarType::kVariantArray};
  return kTypes[value_.index()];
}

bool Variant::IsNumeric() const {
  switch (type()) {
    case VarType::kInteger:
    case VarType::kLong:
    case VarType::kSingle:
    case VarType::kDouble:
    case VarType::kCurrency:
    case VarType::kDecimal:
    case VarType::kByte:
      return true;
    default:
      return false;
  }
}

bool operator==(const Variant& a, const Variant& b) {
  if (a.value_.index() != b.value_.index()) return false;
  if (auto* pa = std::get_if<std::shared_ptr<VariantArray>>(&a.value_)) {
    const auto& pb = std::get<std::shared_ptr<VariantArray>>(b.value_);
    return *pa == pb || **pa == *pb;
  }
  if (auto* da = std::get_if<Decimal>(&a.value_)) {
    // Same value and same scale: 1.5 and 1.50 are different Variants.
    const auto& db = std::get<Decimal>(b.value_);
    return *da == db && da->scale() == db.scale();
  }
  return a.value_ == b.value_;
}

}  // namespace qel
