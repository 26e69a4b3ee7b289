#include "records/whole_value.h"

#include <memory>
#include <vector>

#include "qel/fields/field_types.h"
#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_fields.h"

namespace qel::internal {

Variant WholeValue(const QelRecordField& field) {
  if (field.DataType() != qelTypeList) return field.Value();
  const Variant slot = field.RecordData()->Slot(field.Start(), field.Length());
  return slot.IsNull() ? slot : Variant(qel::Text(RTrim(slot.Get<qel::Text>())));
}

void SetWholeValue(QelRecordField& field, const Variant& value) {
  if (field.DataType() != qelTypeList) return field.SetValue(value);
  field.RecordData()->SetSlot(field.Start(), field.Length(), value);
  field.NotifyDataChanged();
  if (const auto members = field.ListFields()) {
    const std::vector<std::shared_ptr<QelRecordField>> snapshot(members->begin(), members->end());
    for (const auto& m : snapshot) m->NotifyDataChanged();
  }
}

}  // namespace qel::internal
