// The bag: an ordered vector of properties plus, once the bag outgrows
// BagAccess::kLinearLimit items, a NameIndex over positions in that vector. Appending keeps
// the index up to date; removing renumbers it, which costs no more than the vector's own
// shifting.
#include "qel/props/qel_props.h"

#include <functional>
#include <unordered_set>
#include <utility>

#include "props/bag_access.h"
#include "props/name_index.h"
#include "props/props_format.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {

using internal::BagAccess;
using internal::kNotFound;
using internal::NameHash;
using internal::NameIndex;

namespace internal {

size_t BagAccess::FindName(const QelProps& bag, TextView name) noexcept {
  if (bag.index_) return bag.index_->Find(bag.items_, name, NameHash(name));
  if (name.empty()) {
    for (size_t i = 0; i < bag.items_.size(); ++i) {
      if (bag.items_[i]->Name().empty()) return i;
    }
    return kNotFound;
  }
  // Names of one bag often share a long prefix and differ at the end ("field_1", "field_2"),
  // so the last units are compared first, folded as EqualsNoCase folds them.
  // Names are mostly spelt alike, so exact matches are tried before folding.
  const char16_t last = name.back(), last_folded = UpperChar(last);
  const bool last_has_case = last_folded != last || LowerChar(last) != last;
  for (size_t i = 0; i < bag.items_.size(); ++i) {
    const Text& other = bag.items_[i]->Name();
    if (other.size() != name.size()) continue;
    if (other.back() != last && (!last_has_case || UpperChar(other.back()) != last_folded)) {
      continue;
    }
    if (other == name || EqualsNoCase(other, name)) return i;
  }
  return kNotFound;
}

size_t BagAccess::Find(const QelProps& bag, const Variant& key) noexcept {
  try {
    if (key.IsNumeric()) {
      const int32_t pos = CLng(key);
      if (pos < 1 || pos > bag.Count()) return kNotFound;
      return static_cast<size_t>(pos - 1);
    }
    if (key.IsText()) return FindName(bag, Trim(key.Get<Text>()));
    const Text text = CStr(key);
    return FindName(bag, Trim(text));
  } catch (...) {
    return kNotFound;
  }
}

QelProp& BagAccess::Append(QelProps& bag, TextView name) {
  bag.items_.push_back(NewProp(name));
  const size_t position = bag.items_.size() - 1;
  try {
    if (bag.index_) {
      bag.index_->Add(NameHash(name), position);
    } else if (bag.items_.size() > kLinearLimit) {
      bag.index_ = std::make_unique<NameIndex>(bag.items_);
    }
  } catch (...) {
    bag.items_.pop_back();  // out of memory: the bag stays as it was
    throw;
  }
  return *bag.items_.back();
}

QelProp& BagAccess::FindOrCreateName(QelProps& bag, TextView name) {
  if (!bag.index_) {
    const size_t i = FindName(bag, name);
    return i != kNotFound ? *bag.items_[i] : Append(bag, name);
  }
  // Hashed once for both the lookup and the insertion.
  const uint64_t hash = NameHash(name);
  const size_t i = bag.index_->Find(bag.items_, name, hash);
  if (i != kNotFound) return *bag.items_[i];
  bag.items_.push_back(NewProp(name));
  try {
    bag.index_->Add(hash, bag.items_.size() - 1);
  } catch (...) {
    bag.items_.pop_back();
    throw;
  }
  return *bag.items_.back();
}

QelProp& BagAccess::FindOrCreate(QelProps& bag, const Variant& key) {
  if (key.IsNumeric()) {
    const size_t i = Find(bag, key);
    if (i != kNotFound) return *bag.items_[i];
  }
  if (key.IsText()) return FindOrCreateName(bag, Trim(key.Get<Text>()));
  const Text text = CStr(key);  // raises for a key with no text form
  return FindOrCreateName(bag, Trim(text));
}

void BagAccess::TakeItems(QelProps& to, QelProps& from) noexcept {
  to.items_.swap(from.items_);
  to.index_.swap(from.index_);
  from.Clear();
}

}  // namespace internal

QelProps::QelProps() = default;

// Freeing a property frees its nested bag, whose destructor would free that bag's properties,
// and so on down: a recursion as deep as the nesting, which the API does not bound. Instead the
// properties of nested bags that die with their property are moved onto one list and freed
// from there, each nested bag being empty by the time it goes.
QelProps::~QelProps() {
  std::vector<PropPtr> dying = std::move(items_);
  while (!dying.empty()) {
    PropPtr prop = std::move(dying.back());
    dying.pop_back();
    if (prop.use_count() != 1 || !prop->IsObject()) continue;
    const ObjectPtr value = prop->Value().AsObject();
    // Held by the property and by `value` alone: it dies with the property.
    if (value.use_count() != 2) continue;
    if (auto* nested = dynamic_cast<QelProps*>(value.get())) {
      for (PropPtr& p : nested->items_) dying.push_back(std::move(p));
      nested->items_.clear();
      nested->index_.reset();
    }
  }
}

QelProps::PropPtr QelProps::Item(const Variant& key) const noexcept {
  const size_t i = BagAccess::Find(*this, key);
  return i == kNotFound ? nullptr : items_[i];
}

Variant QelProps::Value(const Variant& key, const Variant& default_value) const {
  const size_t i = BagAccess::Find(*this, key);
  return i == kNotFound ? default_value : items_[i]->Value();
}

void QelProps::SetValue(const Variant& key, const Variant& value) {
  // A property created here stays, Empty, when it refuses the value.
  BagAccess::FindOrCreate(*this, key).SetValue(value);
}

bool QelProps::Remove(const Variant& key) noexcept {
  const size_t i = BagAccess::Find(*this, key);
  if (i == kNotFound) return false;
  PropPtr removed = std::move(items_[i]);  // freed after the index is consistent again
  items_.erase(items_.begin() + static_cast<ptrdiff_t>(i));
  if (items_.size() <= BagAccess::kLinearLimit) {
    index_.reset();
  } else {
    index_->Remove(i);
  }
  return true;
}

void QelProps::Clear() noexcept {
  QelProps old;
  old.items_.swap(items_);
  old.index_.swap(index_);
}

namespace {

// Merges one bag into another, each pair of (target, source) bags once.
class Merger {
 public:
  void Merge(QelProps& target, const QelProps& source, int depth) {
    if (&source == &target) return;
    if (depth > internal::kMaxNesting) RaiseRuntime(kErrOutOfStack);
    // The source may share nested bags with the target, so walk a snapshot of its items.
    const std::vector<QelProps::PropPtr> items(source.begin(), source.end());
    for (const QelProps::PropPtr& p : items) {
      const size_t i = BagAccess::FindName(target, p->Name());
      if (i == kNotFound) {
        BagAccess::ValueOf(BagAccess::Append(target, p->Name())) = p->Value();
        continue;
      }
      QelProp& e = BagAccess::At(target, i);
      if (auto p_bag = p->Props()) {
        if (auto e_bag = e.Props()) {
          if (p_bag->Exists(u"NOMERGE")) {
            e_bag->Copy(p_bag);
          } else if (done_.insert({e_bag.get(), p_bag.get()}).second) {
            // Both kept alive so that no other bag takes their addresses during the call.
            alive_.push_back(e_bag);
            alive_.push_back(p_bag);
            Merge(*e_bag, *p_bag, depth + 1);
          }
          continue;
        }
      }
      BagAccess::ValueOf(e) = p->Value();
    }
  }

 private:
  struct PairHash {
    size_t operator()(const std::pair<const void*, const void*>& p) const noexcept {
      return std::hash<const void*>()(p.first) * 31 + std::hash<const void*>()(p.second);
    }
  };
  // Pairs of (target, source) bags merged in this call, hashed by address (not outside text).
  std::unordered_set<std::pair<const void*, const void*>, PairHash> done_;
  std::vector<std::shared_ptr<QelProps>> alive_;
};

}  // namespace

void QelProps::Merge(const std::shared_ptr<QelProps>& source) {
  if (source) Merger().Merge(*this, *source, 0);
}

std::shared_ptr<QelProps> QelProps::Clone() const {
  auto bag = internal::NewBag();
  bag->LoadFromText(ToText(qelFormatNormal));
  return bag;
}

void QelProps::Copy(const std::shared_ptr<QelProps>& source, const Variant& key) {
  if (!key.IsEmpty()) {
    auto bag = internal::NewBag();
    if (source) bag->LoadFromText(source->ToText(qelFormatNormal));
    SetValue(key, Variant(bag));
    return;
  }
  if (!source) {
    Clear();
    return;
  }
  LoadFromText(source->ToText(qelFormatNormal));
}

Text QelProps::ToText(int32_t format) const {
  if (format != qelFormatNormal && format != qelFormatIndented && format != qelFormatPostData) {
    RaiseError(E_INVALIDARG, u"QelProps.ToText", u"El formato de texto %1 no es válido",
               {Variant(format)});
  }
  return internal::WriteBagText(*this, format);
}

void QelProps::LoadFromText(TextView text) {
  // Read into a new bag and take its properties, so that the old ones live until the text (which
  // may be one of their values) has been read.
  QelProps fresh;
  try {
    internal::ReadBagText(text, &fresh);
  } catch (...) {
    BagAccess::TakeItems(*this, fresh);
    throw;
  }
  BagAccess::TakeItems(*this, fresh);
}

}  // namespace qel
