#include "qel/records/qel_record_labels.h"

#include <map>

#include "frame/unit_scan.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "records/qel_record_labels_internal.h"

namespace qel {

// The labels by code, kept only while there are more than kUnindexed labels: a record carries
// a handful, which a scan finds sooner than any index and without allocating, while a text
// from outside may carry one label per code character (65,535), which would make the scans
// quadratic. Codes come from outside, so the index is ordered rather than hashed: its cost
// per label stays logarithmic whatever codes arrive. Either way adding n labels costs
// O(n log n).
//
// The same private part keeps the label objects that Clear dropped and no client held, up to
// kUnindexed, for Insert to hand out again: a record that loads reply after reply with the same
// labels then makes no new objects. A label a client holds is never kept, so it keeps its
// identity and value; a kept one is visible to nobody until Insert gives it a new code and an
// empty value.
struct QelRecordLabels::CodeIndex {
  static constexpr size_t kUnindexed = 16;
  CodeIndex() { unheld.reserve(kUnindexed); }  // so that dropping labels allocates nothing
  std::map<int32_t, QelRecordLabelPtr> labels;  // empty while unindexed
  std::vector<QelRecordLabelPtr> unheld;
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
    if (!by_code_->labels.empty() && !by_code_->labels.contains(k)) return -1;
    for (size_t i = labels_.size(); i-- > 0;) {
      if (labels_[i]->Code() == k) return static_cast<ptrdiff_t>(i);
    }
    return -1;
  }
  if (k >= 1 && static_cast<size_t>(k) <= labels_.size()) return k - 1;
  return -1;
}

QelRecordLabel& QelRecordLabels::Insert(int32_t code) {
  if (code <= qelLabelCodeBase) RefuseCode(code);
  auto& index = by_code_->labels;
  if (!index.empty()) {
    if (index.contains(code)) RefuseDuplicate(code);
  } else {
    for (const auto& l : labels_) {
      if (l->Code() == code) RefuseDuplicate(code);
    }
  }
  auto& unheld = by_code_->unheld;
  if (unheld.empty()) {
    labels_.push_back(std::make_shared<QelRecordLabel>(code));
  } else {
    labels_.push_back(std::move(unheld.back()));
    unheld.pop_back();
    QelRecordLabelsInternal::Recode(*labels_.back(), code);
  }
  if (!index.empty()) {
    index.emplace(code, labels_.back());
  } else if (labels_.size() > CodeIndex::kUnindexed) {
    for (const auto& l : labels_) index.emplace(l->Code(), l);
  }
  return *labels_.back();
}

QelRecordLabelPtr QelRecordLabels::Add(int32_t code) {
  Insert(code);
  return labels_.back();
}

void QelRecordLabels::Clear() { QelRecordLabelsInternal::DropFrom(*this, 0); }

QelRecordLabelPtr QelRecordLabels::Item(const Variant& key) const {
  const int32_t k = ToLongOr(key, 0);
  if (k > qelLabelCodeBase && !by_code_->labels.empty()) {
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
  if (labels_.size() <= CodeIndex::kUnindexed) by_code_->labels.clear();
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

void QelRecordLabelsInternal::Recode(QelRecordLabel& label, int32_t code) {
  label.code_ = code;
  label.value_.clear();
}

void QelRecordLabelsInternal::DropFrom(QelRecordLabels& labels, size_t first) noexcept {
  // Emptied first, so that a label only the list holds counts one owner.
  if (!labels.by_code_->labels.empty()) labels.by_code_->labels.clear();
  auto& unheld = labels.by_code_->unheld;
  for (size_t i = first; i < labels.labels_.size(); ++i) {
    if (unheld.size() == QelRecordLabels::CodeIndex::kUnindexed) break;
    if (labels.labels_[i].use_count() == 1) unheld.push_back(std::move(labels.labels_[i]));
  }
  labels.labels_.resize(first);
}

QelRecordLabelsInternal::Loader::~Loader() {
  if (reusing_ && reused_ < labels_.labels_.size()) DropFrom(labels_, reused_);
}

void QelRecordLabelsInternal::Loader::Add(int32_t code, TextView value) {
  if (reusing_) {
    auto& present = labels_.labels_;
    // An indexed collection also holds its labels in the index; it is not read over.
    if (reused_ < present.size() && labels_.by_code_->labels.empty() &&
        present[reused_]->code_ == code && present[reused_].use_count() == 1) {
      AssignText(present[reused_++]->value_, value);
      return;
    }
    reusing_ = false;
    DropFrom(labels_, reused_);
  }
  AssignText(labels_.Insert(code).value_, value);
}

}  // namespace qel
