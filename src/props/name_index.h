// The index a bag keeps over its property names once it has too many to search one by one.
//
// An open-addressing hash table with linear probing over positions in the bag's vector of
// properties. Each slot keeps the position (plus one; zero marks a free slot) and the low bits
// of the name's hash, so that growing and renumbering never hash a name again. The table has a
// power-of-two size of at least twice the number of positions, so a probe sequence always ends.
//
// Names are hashed by KeyedHashNoCase (the case-folded name under a per-process key) and
// compared by EqualsNoCase, which folds the same way: names that compare equal hash alike, and
// names chosen by an outsider collide no more often than random ones.
#ifndef QEL_SRC_PROPS_NAME_INDEX_H_
#define QEL_SRC_PROPS_NAME_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "qel/frame/text.h"
#include "qel/props/qel_prop.h"

namespace qel::internal {

inline constexpr size_t kNotFound = static_cast<size_t>(-1);

// The hash the index files `name` under.
uint64_t NameHash(TextView name);

class NameIndex {
 public:
  using Items = std::span<const std::shared_ptr<QelProp>>;

  // An index over every property of `items`.
  explicit NameIndex(Items items);

  // The position in `items` of the property named `name` (as EqualsNoCase compares), or
  // kNotFound. REQUIRES: hash == NameHash(name); `items` is what the index was kept up to date
  // with.
  size_t Find(Items items, TextView name, uint64_t hash) const noexcept;

  // Files the property at `position`, whose name has `hash`.
  void Add(uint64_t hash, size_t position);

  // Drops the property that was at `position` and moves those after it down by one, as erasing
  // it from the vector did.
  void Remove(size_t position);

 private:
  struct Slot {
    uint32_t hash;      // low bits of the name's hash
    uint32_t position;  // position + 1; 0 for a free slot
  };

  void Place(Slot slot);
  void Resize(size_t slot_count);

  std::vector<Slot> slots_;
  size_t count_ = 0;
};

}  // namespace qel::internal

#endif  // QEL_SRC_PROPS_NAME_INDEX_H_
