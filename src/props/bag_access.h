// The library's own way into bags and properties, for the bag text's reader and writer and the
// loaders: finding and creating properties by a name already trimmed, and storing values
// without the checks QelProp::SetValue makes for objects from clients.
#ifndef QEL_SRC_PROPS_BAG_ACCESS_H_
#define QEL_SRC_PROPS_BAG_ACCESS_H_

#include <cstddef>
#include <memory>
#include <typeinfo>

#include "frame/block_pool.h"

#include "props/name_index.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"
#include "qel/props/qel_prop.h"
#include "qel/props/qel_props.h"

namespace qel::internal {

// Properties and bags are made from the block pool: a large bag text makes them by the hundred
// thousand, and the pool keeps each one and its control block in one block, next to its
// neighbours.
inline std::shared_ptr<QelProp> NewProp(TextView trimmed_name) {
  return std::allocate_shared<QelProp>(PoolAllocator<QelProp>(), trimmed_name);
}
inline std::shared_ptr<QelProps> NewBag() {
  return std::allocate_shared<QelProps>(PoolAllocator<QelProps>());
}

class BagAccess {
 public:
  // Bags up to this size are searched one name at a time, without an index: comparing the
  // lengths and last units of a few dozen names costs less than hashing one, and the bags
  // people write (rows of a record) mostly stay under it.
  static constexpr size_t kLinearLimit = 32;

  // The position of the property named `name` (trimmed), or kNotFound.
  static size_t FindName(const QelProps& bag, TextView name) noexcept;
  // The position of the property under a client's key (see QelProps::Item), or kNotFound.
  static size_t Find(const QelProps& bag, const Variant& key) noexcept;

  // The property named `name` (trimmed), added at the end when absent.
  static QelProp& FindOrCreateName(QelProps& bag, TextView name);
  // The property under a client's key, added at the end when absent (see QelProps::SetValue).
  static QelProp& FindOrCreate(QelProps& bag, const Variant& key);

  // Adds a property at the end. REQUIRES: no property of the bag is named `name`.
  static QelProp& Append(QelProps& bag, TextView name);

  // The property at a position. REQUIRES: position < Count().
  static QelProp& At(QelProps& bag, size_t position) { return *bag.items_[position]; }

  // Makes room for `count` properties.
  static void Reserve(QelProps& bag, size_t count) { bag.items_.reserve(count); }

  // The property's value, to store into without QelProp::SetValue's handling of objects.
  // REQUIRES: what is stored is no object other than a QelProps.
  static Variant& ValueOf(QelProp& prop) { return prop.value_; }

  // The bag a property's value is, or null; unlike QelProp::Props, takes no reference. QelProps
  // is final, so comparing the type is the whole cast.
  static const QelProps* NestedBag(const QelProp& prop) {
    const Variant& v = prop.value_;
    if (!v.Is<ObjectPtr>()) return nullptr;
    const Object* object = v.Get<ObjectPtr>().get();
    return object != nullptr && typeid(*object) == typeid(QelProps)
               ? static_cast<const QelProps*>(object)
               : nullptr;
  }

  // Replaces the properties of `to` by those of `from`, which is left empty.
  static void TakeItems(QelProps& to, QelProps& from) noexcept;
};

}  // namespace qel::internal

#endif  // QEL_SRC_PROPS_BAG_ACCESS_H_
