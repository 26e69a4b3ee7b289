#include "qel/records/qel_record.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "records/layout_builder.h"
#include "records/whole_value.h"

namespace qel {
namespace {

// Two characters: left-aligned, blank-padded, cut.
qel::Text TwoChars(const Variant& v) { return LeftJustify(CStr(v), u" ", 2); }

// The record's fields as they are now, each kept alive: a Change handler run while they are
// walked may clear or replace the record's layout.
std::vector<std::shared_ptr<QelRecordField>> Snapshot(const QelRecordFields& fields) {
  return {fields.begin(), fields.end()};
}

}  // namespace

QelRecord::QelRecord()
    : data_(std::make_shared<QelRecordData>()),
      labels_(std::make_shared<QelRecordLabels>()),
      fields_(std::make_shared<QelRecordFields>(data_)) {
  Clear();
}

QelRecord::~QelRecord() = default;

// ---- Header ----------------------------------------------------------------------------------

int32_t QelRecord::Protection() const {
  if (protection_ == 58) return qelProtectionInputOnly;
  if (protection_ == 59) return qelProtectionDisplayOnly;
  return protection_;
}

void QelRecord::SetServerCode(const Variant& v) { server_code_ = TwoChars(v); }
void QelRecord::SetFormCode(const Variant& v) { form_code_ = TwoChars(v); }

void QelRecord::ResetHeader() {
  sequence_ = 33;
  opcode_ = 32;
  // Both codes always hold two characters; blanked in place.
  server_code_[0] = server_code_[1] = u' ';
  session_id_ = 32;
  tran_code_ = 32;
  form_code_[0] = form_code_[1] = u' ';
  protection_ = 32;
}

// ---- Shape and data --------------------------------------------------------------------------

void QelRecord::SetName(TextView name) { fields_->SetName(name); }

void QelRecord::SetLayout(const Variant& layout) { fields_->SetLayout(CStr(layout)); }

void QelRecord::SetData(const Variant& value) {
  data_->SetData(CStr(value));
  fields_->NotifyDataChanged();
}

qel::Text QelRecord::Text() const { return qel::Text(RTrim(data_->Data())); }

namespace {

// A slice's length: the one given, or the rest of the data from `start` (none for a start past
// the end; capped for a start far before it, which the data buffer then refuses).
int32_t SliceLength(const QelRecordData& data, int32_t start, const Variant& length) {
  if (!length.IsEmpty()) return CLng(length);
  const int64_t rest = int64_t{data.Length()} - start + 1;
  return static_cast<int32_t>(std::clamp<int64_t>(rest, 0, INT32_MAX));
}

}  // namespace

Variant QelRecord::Mid(int32_t start, const Variant& length) const {
  return data_->Slot(start, SliceLength(*data_, start, length));
}

void QelRecord::SetMid(int32_t start, const Variant& length, const Variant& value) {
  data_->SetSlot(start, SliceLength(*data_, start, length), value);
}

void QelRecord::SetFill(const Variant& value) {
  char16_t c = u' ';
  if (value.IsNull()) {
    c = kNullFiller;
  } else if (value.IsNumeric()) {
    // A character code: 0..65535 after rounding as CLng rounds, anything else is refused
    // rather than wrapped into another character.
    const double code = CDbl(value);
    if (!(code > -0.5 && code < 65535.5)) RaiseRuntime(kErrInvalidCall);
    c = static_cast<char16_t>(CLng(value));
  } else {
    const qel::Text t = CStr(value);
    if (!t.empty()) c = t[0];
  }
  SetData(qel::Text(static_cast<size_t>(Length()), c));
}

void QelRecord::Clear() {
  ResetHeader();
  data_->SetData(qel::Text());
  labels_->Clear();
  fields_->Clear();
}

void QelRecord::Initialize(const QelRecord* source) {
  Chaining(u"QelRecord.Initialize:", [&] {
    if (source == nullptr) {
      data_->SetData(qel::Text(static_cast<size_t>(Length()), u' '));
      for (const auto& f : Snapshot(*fields_)) {
        // The markers of a repeated group carry no value of their own.
        if (f->DataType() == qelTypeList || f->DataType() == qelTypeListEnd) continue;
        const Variant def = f->Default();
        for (int32_t i = 1; i <= f->Occurrences(); ++i) f->SetValue(def, i);
      }
      fields_->NotifyDataChanged();
      return;
    }
    if (!EqualsNoCase(source->Signature(), Signature())) {
      RaiseError(E_INVALIDARG, u"Signature", u"Las firmas de los registros no coinciden");
    }
    data_->SetData(source->Data());
    fields_->NotifyDataChanged();
  });
}

void QelRecord::Copy(const QelRecord* source) {
  Clear();
  if (source == nullptr) return;
  // Layout, header, labels and data only: SignANSI stays this record's own. A source without
  // a layout gives the empty layout text, which is a record without fields.
  const qel::Text layout = source->Layout();
  const qel::Text link = source->Serialize();
  SetLayout(layout);
  UnSerialize(link);
}

std::shared_ptr<QelRecord> QelRecord::Clone() const {
  auto copy = std::make_shared<QelRecord>();
  copy->Copy(this);
  return copy;
}

void QelRecord::MoveCorresponding(const QelRecord& source) {
  for (const auto& f : Snapshot(*fields_)) {
    // Occurrences inside groups are never moved one by one; a list begin is, its value being
    // its whole group's text, so the members move with it by position. A list end is left alone: its value reads Null whatever the data holds, so the
    // rule's "take the source's value" is already true of it, while writing that Null would
    // store it over the whole group and destroy the members' data (including what the list
    // begin has just moved). Its name would also find the source's list begin, not an end.
    if (f->InList() || f->DataType() == qelTypeListEnd) continue;
    auto other = source.Fields()->Find(Variant(f->Name()));
    if (other) internal::SetWholeValue(*f, internal::WholeValue(*other));
  }
}

// ---- Layout definition -----------------------------------------------------------------------

void QelRecord::DefLayout(TextView name) {
  Chaining(u"QelRecord.DefLayout:", [&] {
    if (definition_) {
      RaiseError(E_FAIL, u"EndLayout", u"No se ha ejecutado el método 'EndLayout'");
    }
    // Open before the name is checked: a bad name leaves the definition open.
    definition_ = std::make_unique<internal::QelLayoutFields>();
    definition_->Initialize(name);
  });
}

namespace {
[[noreturn]] void NotDefining() {
  RaiseError(E_FAIL, u"DefLayout", u"No se ha ejecutado el método 'DefLayout'");
}
}  // namespace

void QelRecord::AddField(TextView name, int32_t data_type, int32_t length,
                         const Variant& precision, const Variant& default_value) {
  Chaining(u"QelRecord.AddField:", [&] {
    if (!definition_) NotDefining();
    definition_->Add(name, data_type, length, precision, default_value);
  });
}

qel::Text QelRecord::EndLayout(bool apply) {
  return Chaining(u"QelRecord.EndLayout:", [&] {
    if (!definition_) NotDefining();
    qel::Text text = definition_->Build();
    definition_.reset();
    if (apply) SetLayout(text);
    return text;
  });
}

}  // namespace qel
