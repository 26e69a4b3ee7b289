// Library-internal access to QelRecordField: making a field from a descriptor line (the
// field's Initialize operation), copying one, and placing it in a record. Used by the field
// collection, the tests and the fuzz targets; not part of the public interface.
#ifndef QEL_SRC_FIELDS_QEL_RECORD_FIELD_INTERNAL_H_
#define QEL_SRC_FIELDS_QEL_RECORD_FIELD_INTERNAL_H_

#include <memory>

#include "qel/fields/qel_record_field.h"

namespace qel {

class QelRecordFieldInternal {
 public:
  // Types of the two signature lines that are not fields.
  static constexpr int32_t kTypeHeader = 100;    // "SD"
  static constexpr int32_t kTypeChecksum = 102;  // "CS"

  // A new field bound to `data` and defined by one descriptor line, "CODE:LENGTH[.PRECISION]
  // :NAME[:DEFAULT]". It sits at position 1 with one occurrence (a list begin with one
  // occurrence per repetition of Length / Dimensions characters) until placed.
  // Raises E_INVALIDARG with source "QelRecordField.Initialize:" + the check that failed
  // ("DataType", "Length", "Precision", "TextPrecision", "DateLength", "DatePrecision",
  // "RutLength", "RutPrecision") and the description "El descriptor de campo '%1' es
  // inválido" followed by the check's message on a second line.
  static std::shared_ptr<QelRecordField> Make(TextView descriptor,
                                              std::shared_ptr<QelRecordData> data);
  // A field with the same definition and placement as `prototype`, bound to `data`, with no
  // list fields and no handlers.
  static std::shared_ptr<QelRecordField> Clone(const QelRecordField& prototype,
                                               std::shared_ptr<QelRecordData> data);

  // Placement by the collection.
  static void Place(QelRecordField& field, int32_t start, int32_t slot_length,
                    int32_t occurrences, int32_t stride, bool in_list) {
    field.start_ = start;
    field.slot_length_ = slot_length;
    field.occurrences_ = occurrences;
    field.stride_ = stride;
    field.in_list_ = in_list;
  }
  // A list begin given as "LB:n:NAME" learns its group's length from the collection.
  static void SetLength(QelRecordField& field, int32_t length) { field.length_ = length; }
  static void SetListFields(QelRecordField& field, std::shared_ptr<QelRecordFields> fields) {
    field.list_fields_ = std::move(fields);
  }
  static void Bind(QelRecordField& field, std::shared_ptr<QelRecordData> data) {
    field.data_ = std::move(data);
  }

 private:
  static void Initialize(QelRecordField& field, TextView descriptor);
};

}  // namespace qel

#endif  // QEL_SRC_FIELDS_QEL_RECORD_FIELD_INTERNAL_H_
