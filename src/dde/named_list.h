// NamedList: the keyed collection behind QelDdeTopics and QelDdeItems.
//
// Members in insertion order, reachable by name without regard to case in constant average
// time. Names arrive from outside (a client names the topic and item it wants), so the index
// hashes them with KeyedHashNoCase, which folds case the way EqualsNoCase compares. Removing
// takes time proportional to the size.
#ifndef QEL_SRC_DDE_NAMED_LIST_H_
#define QEL_SRC_DDE_NAMED_LIST_H_

#include <algorithm>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "frame/keyed_hash.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel::internal {

template <class T>
class NamedList {
 public:
  using Ptr = std::shared_ptr<T>;

  // nullptr when absent.
  Ptr Find(TextView name) const {
    auto it = index_.find(Text(name));
    return it == index_.end() ? nullptr : it->second;
  }
  // REQUIRES: position < size().
  const Ptr& At(size_t position) const { return order_[position]; }
  size_t size() const { return order_.size(); }
  const std::vector<Ptr>& members() const { return order_; }

  // False (and nothing added) when the name is taken.
  bool Add(TextView name, Ptr member) {
    if (!index_.emplace(Text(name), member).second) return false;
    order_.push_back(std::move(member));
    return true;
  }
  // The member removed, or nullptr.
  Ptr Remove(TextView name) {
    auto it = index_.find(Text(name));
    if (it == index_.end()) return nullptr;
    Ptr member = std::move(it->second);
    index_.erase(it);
    order_.erase(std::find(order_.begin(), order_.end(), member));
    return member;
  }
  // Every member, in order, leaving the list empty.
  std::vector<Ptr> TakeAll() {
    index_.clear();
    return std::exchange(order_, {});
  }

 private:
  std::vector<Ptr> order_;
  std::unordered_map<Text, Ptr, KeyedTextHashNoCase, TextEqualNoCase> index_;
};

// A collection key: a number (Integer, Long, Single, Double, Currency, Decimal, Byte) is a
// 1-based position, anything else a name taken as its text.
struct CollectionKey {
  explicit CollectionKey(const Variant& key);
  bool by_position;
  int32_t position;  // when by_position
  Text name;         // otherwise
};

template <class T>
std::shared_ptr<T> FindByKey(const NamedList<T>& list, const CollectionKey& key) {
  if (!key.by_position) return list.Find(key.name);
  if (key.position < 1 || static_cast<size_t>(key.position) > list.size()) return nullptr;
  return list.At(static_cast<size_t>(key.position) - 1);
}

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_NAMED_LIST_H_
