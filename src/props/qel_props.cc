// The bag: an ordered vector of properties plus, once the bag outgrows a handful of items, an
// open-addressing hash index (linear probing, load factor at most one half) over positions in
// that vector. Appending keeps the index up to date; removing rebuilds it, which costs no more
// than the vector's own shifting.
#include "qel/props/qel_props.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "props/props_format.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {

using props::KeyHash;

size_t QelProps::FindName(TextView name, uint32_t hash) const noexcept {
  if (slots_.empty()) {
    for (size_t i = 0; i < items_.size(); ++i) {
      const QelProp& p = *items_[i];
      if (p.key_hash_ == hash && EqualsNoCase(p.Name(), name)) return i;
    }
    return kNotFound;
  }
  const size_t mask = slots_.size() - 1;
  for (size_t s = hash & mask; slots_[s] != 0; s = (s + 1) & mask) {
    const QelProp& p = *items_[slots_[s] - 1];
    if (p.key_hash_ == hash && EqualsNoCase(p.Name(), name)) return slots_[s] - 1;
  }
  return kNotFound;
}

size_t QelProps::Find(const Variant& key) const noexcept {
  try {
    if (key.IsNumeric()) {
      const int32_t pos = CLng(key);
      if (pos < 1 || pos > Count()) return kNotFound;
      return static_cast<size_t>(pos - 1);
    }
    if (key.IsText()) {
      const TextView name = Trim(key.Get<Text>());
      return FindName(name, KeyHash(name));
    }
    const Text text = CStr(key);
    const TextView name = Trim(text);
    return FindName(name, KeyHash(name));
  } catch (...) {
    return kNotFound;
  }
}

void QelProps::RebuildIndex() {
  if (items_.size() <= kLinearLimit) {
    slots_.clear();
    return;
  }
  const size_t size = std::bit_ceil(items_.size() * 4);
  if (slots_.size() < items_.size() * 2 || slots_.size() > size * 4) {
    slots_.assign(size, 0);
  } else {
    std::fill(slots_.begin(), slots_.end(), 0);
  }
  const size_t mask = slots_.size() - 1;
  for (size_t i = 0; i < items_.size(); ++i) {
    size_t s = items_[i]->key_hash_ & mask;
    while (slots_[s] != 0) s = (s + 1) & mask;
    slots_[s] = static_cast<uint32_t>(i + 1);
  }
}

void QelProps::IndexInsert(size_t item) {
  if (slots_.size() < items_.size() * 2) {  // also builds the index once past kLinearLimit
    RebuildIndex();
    return;
  }
  const size_t mask = slots_.size() - 1;
  size_t s = items_[item]->key_hash_ & mask;
  while (slots_[s] != 0) s = (s + 1) & mask;
  slots_[s] = static_cast<uint32_t>(item + 1);
}

QelProp& QelProps::Append(TextView trimmed_name, uint32_t hash, bool is_token) {
  items_.push_back(QelProp::Make(trimmed_name, hash, is_token || props::IsNameToken(trimmed_name)));
  IndexInsert(items_.size() - 1);
  return *items_.back();
}

QelProp& QelProps::FindOrCreateName(TextView trimmed_name, bool is_token) {
  const uint32_t hash = KeyHash(trimmed_name);
  const size_t i = FindName(trimmed_name, hash);
  return i != kNotFound ? *items_[i] : Append(trimmed_name, hash, is_token);
}

QelProp& QelProps::FindOrCreate(const Variant& key) {
  if (key.IsNumeric()) {
    const size_t i = Find(key);
    if (i != kNotFound) return *items_[i];
  }
  if (key.IsText()) return FindOrCreateName(Trim(key.Get<Text>()));
  const Text text = CStr(key);  // raises for a key with no text form
  return FindOrCreateName(Trim(text));
}

QelProps::PropPtr QelProps::Item(const Variant& key) const noexcept {
  const size_t i = Find(key);
  return i == kNotFound ? nullptr : items_[i];
}

Variant QelProps::Value(const Variant& key, const Variant& default_value) const {
  const size_t i = Find(key);
  return i == kNotFound ? default_value : items_[i]->value_;
}

void QelProps::SetValue(const Variant& key, const Variant& value) {
  const size_t count = items_.size();
  QelProp& prop = FindOrCreate(key);
  try {
    prop.SetValue(value);
  } catch (...) {
    // A property made only to take a value it refused does not stay behind.
    if (items_.size() > count) {
      items_.pop_back();
      RebuildIndex();
    }
    throw;
  }
}

bool QelProps::Remove(const Variant& key) noexcept {
  const size_t i = Find(key);
  if (i == kNotFound) return false;
  PropPtr removed = std::move(items_[i]);  // freed after the index is consistent again
  items_.erase(items_.begin() + static_cast<ptrdiff_t>(i));
  RebuildIndex();
  return true;
}

void QelProps::Clear() noexcept {
  std::vector<PropPtr> old;
  old.swap(items_);
  slots_.clear();
}

void QelProps::Merge(const std::shared_ptr<QelProps>& source) {
  if (source) MergeAt(*source, 0);
}

void QelProps::MergeAt(const QelProps& source, int depth) {
  if (&source == this) return;
  if (depth > props::kMaxNesting) RaiseRuntime(kErrOutOfStack);
  // The source may share nested bags with this one, so walk a snapshot of its items.
  const std::vector<PropPtr> items = source.items_;
  for (const PropPtr& p : items) {
    const size_t i = FindName(p->Name(), p->key_hash_);
    if (i == kNotFound) {
      Append(p->Name(), p->key_hash_, p->name_is_token()).value_ = p->value_;
      continue;
    }
    QelProp& e = *items_[i];
    if (auto p_bag = p->Props()) {
      if (auto e_bag = e.Props()) {
        if (p_bag->Exists(u"NOMERGE")) {
          e_bag->CopyFrom(*p_bag);
        } else {
          e_bag->MergeAt(*p_bag, depth + 1);
        }
        continue;
      }
    }
    e.value_ = p->value_;
  }
}

void QelProps::CopyFrom(const QelProps& source) {
  const Text text = source.ToText(qelFormatNormal);
  LoadFromText(text);
}

std::shared_ptr<QelProps> QelProps::Clone() const {
  auto bag = std::make_shared<QelProps>();
  bag->CopyFrom(*this);
  return bag;
}

void QelProps::Copy(const std::shared_ptr<QelProps>& source, const Variant& key) {
  if (!key.IsEmpty()) {
    auto bag = std::make_shared<QelProps>();
    if (source) bag->CopyFrom(*source);
    SetValue(key, Variant(bag));
    return;
  }
  if (!source) {
    Clear();
    return;
  }
  CopyFrom(*source);
}

Text QelProps::ToText(int32_t format) const {
  if (format != qelFormatNormal && format != qelFormatIndented && format != qelFormatPostData) {
    RaiseError(E_INVALIDARG, u"QelProps.ToText", u"El formato de texto %1 no es válido",
               {Variant(format)});
  }
  return props::WriteBagText(*this, format);
}

void QelProps::LoadFromText(TextView text) {
  // Read into a new bag and take its properties, so that the old ones live until the text (which
  // may be one of their values) has been read.
  QelProps fresh;
  try {
    props::ReadBagText(text, &fresh);
  } catch (...) {
    TakeItems(&fresh);
    throw;
  }
  TakeItems(&fresh);
}

void QelProps::TakeItems(QelProps* from) noexcept {
  items_.swap(from->items_);
  slots_.swap(from->slots_);
  from->Clear();
}

}  // namespace qel
