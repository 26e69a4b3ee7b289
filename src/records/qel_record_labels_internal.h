// What only the library may do to a label collection.
#ifndef QEL_SRC_RECORDS_QEL_RECORD_LABELS_INTERNAL_H_
#define QEL_SRC_RECORDS_QEL_RECORD_LABELS_INTERNAL_H_

#include "qel/records/qel_record_labels.h"

namespace qel {

class QelRecordLabelsInternal {
 public:
  // Adds a label read from a link text with its value as read. The link text's grammar lets a
  // label value hold a GS when an FS follows later, and that value is kept so a message loads
  // as the grammar says; the clients' writers refuse it. Raises as QelRecordLabels::Add.
  static void AddLoaded(QelRecordLabels& labels, int32_t code, TextView value);
  // Gives a label that nobody holds any more a new code and an empty value, for reuse.
  static void Recode(QelRecordLabel& label, int32_t code);
};

}  // namespace qel

#endif  // QEL_SRC_RECORDS_QEL_RECORD_LABELS_INTERNAL_H_
