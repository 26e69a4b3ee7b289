#include "props/name_index.h"

#include <bit>

#include "frame/keyed_hash.h"

namespace qel::internal {

uint64_t NameHash(TextView name) { return KeyedHashNoCase(name); }

NameIndex::NameIndex(Items items) {
  Resize(std::bit_ceil(items.size() * 2 + 2));
  for (size_t i = 0; i < items.size(); ++i) Add(NameHash(items[i]->Name()), i);
}

size_t NameIndex::Find(Items items, TextView name, uint64_t hash) const noexcept {
  const auto low = static_cast<uint32_t>(hash);
  const size_t mask = slots_.size() - 1;
  for (size_t s = low & mask; slots_[s].position != 0; s = (s + 1) & mask) {
    if (slots_[s].hash != low) continue;
    const size_t position = slots_[s].position - 1;
    const Text& other = items[position]->Name();
    if (other == name || EqualsNoCase(other, name)) return position;  // mostly spelt alike
  }
  return kNotFound;
}

void NameIndex::Add(uint64_t hash, size_t position) {
  if ((count_ + 1) * 2 > slots_.size()) Resize(slots_.size() * 2);
  Place({static_cast<uint32_t>(hash), static_cast<uint32_t>(position + 1)});
  ++count_;
}

void NameIndex::Remove(size_t position) {
  const auto gone = static_cast<uint32_t>(position + 1);
  std::vector<Slot> old(slots_.size(), Slot{0, 0});
  old.swap(slots_);
  count_ = 0;
  for (Slot slot : old) {
    if (slot.position == 0 || slot.position == gone) continue;
    if (slot.position > gone) --slot.position;
    Place(slot);
    ++count_;
  }
}

void NameIndex::Place(Slot slot) {
  const size_t mask = slots_.size() - 1;
  size_t s = slot.hash & mask;
  while (slots_[s].position != 0) s = (s + 1) & mask;
  slots_[s] = slot;
}

void NameIndex::Resize(size_t slot_count) {
  std::vector<Slot> old(slot_count, Slot{0, 0});
  old.swap(slots_);
  for (Slot slot : old) {
    if (slot.position != 0) Place(slot);
  }
}

}  // namespace qel::internal
