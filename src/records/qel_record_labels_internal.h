// What only the library may do to a label collection.
#ifndef QEL_SRC_RECORDS_QEL_RECORD_LABELS_INTERNAL_H_
#define QEL_SRC_RECORDS_QEL_RECORD_LABELS_INTERNAL_H_

#include "qel/records/qel_record_labels.h"

namespace qel {

class QelRecordLabelsInternal {
 public:
  // Loads the labels of a link text into a collection, with the same result as Clear followed
  // by Add for each label. The labels of one reply mostly come back in the next with the same
  // codes in the same order, so while they do, each is read over the label already at its
  // place, unless a client holds that label: it keeps its value, as after Clear. The first
  // label that differs ends the reuse, and the labels from its place on are dropped as Clear
  // drops them. At the end of the load (also when a label is refused) the labels that did not
  // come back are dropped.
  class Loader {
   public:
    explicit Loader(QelRecordLabels& labels) : labels_(labels) {}
    ~Loader();
    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    // The next label, with its value as read. The link text's grammar lets a label value
    // hold a GS when an FS follows later, and that value is kept so a message loads as the
    // grammar says; the clients' writers refuse it. Raises as QelRecordLabels::Add.
    void Add(int32_t code, TextView value);

   private:
    QelRecordLabels& labels_;
    size_t reused_ = 0;    // labels at the front read over in place
    bool reusing_ = true;  // no label has differed yet
  };

  // Gives a label that nobody holds any more a new code and an empty value, for reuse.
  static void Recode(QelRecordLabel& label, int32_t code);
  // Clear's work for the labels from position `first` on; with first > 0 the collection must
  // not be indexed (nothing is left in the index). Allocates nothing.
  static void DropFrom(QelRecordLabels& labels, size_t first) noexcept;
};

}  // namespace qel

#endif  // QEL_SRC_RECORDS_QEL_RECORD_LABELS_INTERNAL_H_
