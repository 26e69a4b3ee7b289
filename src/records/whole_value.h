// A field's value as the record's whole-record operations (MoveCorresponding, ForURL) take
// it, where a list begin stands for its whole group.
#ifndef QEL_SRC_RECORDS_WHOLE_VALUE_H_
#define QEL_SRC_RECORDS_WHOLE_VALUE_H_

#include "qel/fields/qel_record_field.h"
#include "qel/frame/variant.h"

namespace qel::internal {

// A list begin's value is its whole group's text (every occurrence of every member, as they
// stand), read as a text field reads its slot: trailing blanks cut, Null for a null slot.
// Any other field's is its Value.
Variant WholeValue(const QelRecordField& field);

// Writes a value as WholeValue reads it: into a list begin's whole group, left-aligned,
// blank-padded and cut as into a text slot, after which the begin and every member raise
// Change for all their occurrences; into any other field through its SetValue.
void SetWholeValue(QelRecordField& field, const Variant& value);

}  // namespace qel::internal

#endif  // QEL_SRC_RECORDS_WHOLE_VALUE_H_
