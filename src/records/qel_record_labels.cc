#include "qel/records/qel_record_labels.h"

#include <iterator>

#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {

ptrdiff_t QelRecordLabels::Find(const Variant& key) const {
  const int32_t k = ToLongOr(key, 0);
  if (k > qelLabelCodeBase) {
    for (size_t i = 0; i < labels_.size(); ++i) {
      if (labels_[i]->Code() == k) return static_cast<ptrdiff_t>(i);
    }
    return -1;
  }
  if (k >= 1 && static_cast<size_t>(k) <= labels_.size()) return k - 1;
  return -1;
}

QelRecordLabelPtr QelRecordLabels::Add(int32_t code) {
  Insert(code).SetValue(u"");
  return labels_.back();
}

namespace {

// The refusals, kept out of Insert so that its common path stays short.
[[noreturn, gnu::noinline, gnu::cold]] void RefuseCode(int32_t code) {
  RaiseError(E_INVALIDARG, u"QelRecordLabel.Initialize", u"Código de Label '%1' es inválido",
             {code});
}

[[noreturn, gnu::noinline, gnu::cold]] void RefuseDuplicate(int32_t code) {
  // The keyed store refuses a second entry under the same key.
  const Error duplicate(kErrDuplicateKey, kPlatformSource, RuntimeErrorText(kErrDuplicateKey));
  RaiseChained(duplicate, u"QelRecordLabels.Add:", u"El Label '%1' ya existe en la colección",
               {code});
}

}  // namespace

QelRecordLabel& QelRecordLabels::Insert(int32_t code) {
  if (code <= qelLabelCodeBase) RefuseCode(code);
  for (const auto& l : labels_) {
    if (l->Code() == code) RefuseDuplicate(code);
  }
  // Spares come back in the order they had, so the next one is tried first.
  if (next_spare_ < spare_.size() && Reusable(spare_[next_spare_], code)) {
    labels_.push_back(std::move(spare_[next_spare_++]));
    return *labels_.back();
  }
  for (auto& spare : spare_) {
    if (Reusable(spare, code)) {
      labels_.push_back(std::move(spare));
      return *labels_.back();
    }
  }
  labels_.push_back(std::make_shared<QelRecordLabel>(code));
  return *labels_.back();
}

bool QelRecordLabels::Reusable(const QelRecordLabelPtr& spare, int32_t code) {
  // A label a client still holds must keep its value: it is not used again.
  return spare && spare->Code() == code && spare.use_count() == 1;
}

void QelRecordLabels::Clear() {
  spare_.clear();
  spare_.swap(labels_);
  next_spare_ = 0;
}

void QelRecordLabels::DropFrom(size_t count) {
  if (count == 0) return Clear();
  spare_.clear();
  const auto first = labels_.begin() + static_cast<ptrdiff_t>(count);
  spare_.assign(std::make_move_iterator(first), std::make_move_iterator(labels_.end()));
  labels_.erase(first, labels_.end());
  next_spare_ = 0;
}

QelRecordLabelPtr QelRecordLabels::Item(const Variant& key) const {
  const ptrdiff_t i = Find(key);
  return i < 0 ? nullptr : labels_[static_cast<size_t>(i)];
}

bool QelRecordLabels::Remove(const Variant& key) {
  const ptrdiff_t i = Find(key);
  if (i < 0) return false;
  labels_.erase(labels_.begin() + i);
  return true;
}

Text QelRecordLabels::Value(const Variant& key) const {
  auto label = Item(key);
  return label ? label->Value() : Text();
}

void QelRecordLabels::SetValue(const Variant& key, const Variant& value) {
  const Text text(RTrim(CStr(value)));
  if (text.empty()) {
    Remove(key);
    return;
  }
  auto label = Item(key);
  if (!label) label = Add(ToLongOr(key, 0));
  label->SetValue(text);
}

}  // namespace qel
