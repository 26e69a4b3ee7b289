// qel::Variant: the automation tagged value.
//
// The type codes are the automation ones, and they are what QelProp.DataType and the property
// bag text show. A Variant owns its value; an object is held by shared reference (copying the
// Variant shares the object), a byte array and a variant array by value. Not thread-safe in the
// sense that objects inside belong to the thread that made them.
#ifndef QEL_FRAME_VARIANT_H_
#define QEL_FRAME_VARIANT_H_

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "qel/frame/decimal.h"
#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

class Object;
using ObjectPtr = std::shared_ptr<Object>;

enum class VarType : uint16_t {
  kEmpty = 0,
  kNull = 1,
  kInteger = 2,
  kLong = 3,
  kSingle = 4,
  kDouble = 5,
  kCurrency = 6,
  kDate = 7,
  kString = 8,
  kObject = 9,
  kBoolean = 11,
  kVariant = 12,  // only as the element type of kVariantArray
  kDecimal = 14,
  kByte = 17,
  kArray = 0x2000,
  kByteArray = 0x2000 | 17,
  kVariantArray = 0x2000 | 12,
};

// A 64-bit integer scaled by 10,000 (four exact decimals).
struct QEL_EXPORT Currency {
  int64_t scaled = 0;
  static constexpr int64_t kScale = 10000;
  friend auto operator<=>(const Currency&, const Currency&) = default;
};

// Days since 30 December 1899; the fraction is the time of day. For negative values the
// fraction still counts forward from midnight of the (negative) day: -1.25 is 29 Dec 1899 06:00.
struct QEL_EXPORT Date {
  double serial = 0;
  friend auto operator<=>(const Date&, const Date&) = default;
};

struct QEL_EXPORT EmptyValue {
  friend bool operator==(EmptyValue, EmptyValue) { return true; }
};
struct QEL_EXPORT NullValue {
  friend bool operator==(NullValue, NullValue) { return true; }
};

class Variant;
using ByteArray = std::vector<uint8_t>;
using VariantArray = std::vector<Variant>;

class QEL_EXPORT Variant {
 public:
  Variant() = default;  // Empty
  Variant(EmptyValue) {}
  Variant(NullValue v) : value_(v) {}
  Variant(int16_t v) : value_(v) {}
  Variant(int32_t v) : value_(v) {}
  Variant(float v) : value_(v) {}
  Variant(double v) : value_(v) {}
  Variant(Currency v) : value_(v) {}
  Variant(Date v) : value_(v) {}
  Variant(Text v) : value_(std::move(v)) {}
  Variant(TextView v) : value_(Text(v)) {}
  Variant(const char16_t* v) : value_(Text(v)) {}
  Variant(const char* utf8) : value_(FromUtf8(utf8)) {}  // convenience for literals
  Variant(ObjectPtr v) : value_(std::move(v)) {}
  template <class T>
  requires std::is_base_of_v<Object, T> Variant(std::shared_ptr<T> v)
      : value_(ObjectPtr(std::move(v))) {}
  Variant(bool v) : value_(v) {}
  Variant(Decimal v) : value_(v) {}
  Variant(uint8_t v) : value_(v) {}
  Variant(ByteArray v) : value_(std::move(v)) {}
  Variant(VariantArray v) : value_(std::make_shared<VariantArray>(std::move(v))) {}

  static Variant Null() { return Variant(NullValue{}); }
  // A missing object ("Nothing"): type Object, no object.
  static Variant Nothing() { return Variant(ObjectPtr()); }

  VarType type() const;

  bool IsEmpty() const { return value_.index() == 0; }
  bool IsNull() const { return value_.index() == 1; }
  bool IsObject() const { return std::holds_alternative<ObjectPtr>(value_); }
  bool IsText() const { return std::holds_alternative<Text>(value_); }
  bool IsArray() const { return (static_cast<uint16_t>(type()) & 0x2000) != 0; }
  // Integer, Long, Single, Double, Currency, Decimal, Byte.
  bool IsNumeric() const;

  template <class T>
  bool Is() const {
    return std::holds_alternative<T>(value_);
  }
  // REQUIRES: Is<T>().
  template <class T>
  const T& Get() const {
    return std::get<T>(value_);
  }
  template <class T>
  T& Get() {
    return std::get<T>(value_);
  }
  // The object, or null when this is not an object.
  ObjectPtr AsObject() const {
    auto* p = std::get_if<ObjectPtr>(&value_);
    return p ? *p : nullptr;
  }
  // REQUIRES: type() == kVariantArray.
  const VariantArray& Items() const { return *std::get<std::shared_ptr<VariantArray>>(value_); }

  // Same type and same value (objects by identity). Not the platform's comparison.
  friend bool operator==(const Variant& a, const Variant& b);

 private:
  using Storage =
      std::variant<EmptyValue, NullValue, int16_t, int32_t, float, double, Currency, Date, Text,
                   ObjectPtr, bool, Decimal, uint8_t, ByteArray, std::shared_ptr<VariantArray>>;
  Storage value_;
};

}  // namespace qel

#endif  // QEL_FRAME_VARIANT_H_
