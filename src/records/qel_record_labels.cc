#include "qel/records/qel_record_labels.h"

#include <map>

#include "frame/unit_scan.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "records/qel_record_labels_internal.h"

namespace qel {

// Codes come from outside (any character of a link text), so the index is ordered rather than
// hashed: its cost per label stays logarithmic whatever codes arrive.
struct QelRecordLabels::CodeIndex {
  std::map<int32_t, QelRecordLabelPtr> labels;
};

namespace {

// The refusals, kept out of the common paths.
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

bool HoldsSeparator(TextView value) {
  return internal::FindEitherUnit(value, kLabelSeparator, kHeaderSeparator) !=
         TextView::npos;
}

[[noreturn, gnu::noinline, gnu::cold]] void RefuseSeparator(int32_t code) {
  RaiseError(E_INVALIDARG, u"QelRecordLabel.Value",
             u"El valor del Label '%1' no puede contener los separadores del registro "
             u"(caracteres 28 y 29)",
             {code});
}

}  // namespace

void QelRecordLabel::SetValue(TextView value) {
  if (HoldsSeparator(value)) RefuseSeparator(code_);
  AssignText(value_, value);
}

QelRecordLabels::QelRecordLabels() : by_code_(std::make_unique<CodeIndex>()) {}

QelRecordLabels::~QelRecordLabels() = default;

ptrdiff_t QelRecordLabels::Find(const Variant& key) const {
  const int32_t k = ToLongOr(key, 0);
  if (k > qelLabelCodeBase) {
    const auto it = by_code_->labels.find(k);
    if (it == by_code_->labels.end()) return -1;
    // Found by code: its position, from the back, where the labels just added are.
    for (size_t i = labels_.size(); i-- > 0;) {
      if (labels_[i] == it->second) return static_cast<ptrdiff_t>(i);
    }
    return -1;
  }
  if (k >= 1 && static_cast<size_t>(k) <= labels_.size()) return k - 1;
  return -1;
}

QelRecordLabel& QelRecordLabels::Insert(int32_t code) {
  if (code <= qelLabelCodeBase) RefuseCode(code);
  auto label = std::make_shared<QelRecordLabel>(code);
  if (!by_code_->labels.emplace(code, label).second) RefuseDuplicate(code);
  labels_.push_back(std::move(label));
  return *labels_.back();
}

QelRecordLabelPtr QelRecordLabels::Add(int32_t code) {
  Insert(code);
  return labels_.back();
}

void QelRecordLabels::Clear() {
  labels_.clear();
  by_code_->labels.clear();
}

QelRecordLabelPtr QelRecordLabels::Item(const Variant& key) const {
  const int32_t k = ToLongOr(key, 0);
  if (k > qelLabelCodeBase) {
    const auto it = by_code_->labels.find(k);
    return it == by_code_->labels.end() ? nullptr : it->second;
  }
  const ptrdiff_t i = Find(key);
  return i < 0 ? nullptr : labels_[static_cast<size_t>(i)];
}

bool QelRecordLabels::Remove(const Variant& key) {
  const ptrdiff_t i = Find(key);
  if (i < 0) return false;
  by_code_->labels.erase(labels_[static_cast<size_t>(i)]->Code());
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
  if (label) {
    label->SetValue(text);
    return;
  }
  // Checked before the label is added, so a refused value adds nothing.
  if (HoldsSeparator(text)) RefuseSeparator(ToLongOr(key, 0));
  Add(ToLongOr(key, 0))->SetValue(text);
}

void QelRecordLabelsInternal::AddLoaded(QelRecordLabels& labels, int32_t code, TextView value) {
  AssignText(labels.Insert(code).value_, value);
}

}  // namespace qel
