// The null filler's reading, shared by the data buffer and the fields.
#ifndef QEL_SRC_FIELDS_NULL_SLOT_H_
#define QEL_SRC_FIELDS_NULL_SLOT_H_

#include <algorithm>

#include "qel/fields/qel_record_data.h"

namespace qel::internal {

// True when `slot` is not empty and made only of the null filler, which reads as Null.
inline bool IsNullSlot(TextView slot) {
  return !slot.empty() && slot[0] == kNullFiller &&
         std::all_of(slot.begin(), slot.end(), [](char16_t c) { return c == kNullFiller; });
}

}  // namespace qel::internal

#endif  // QEL_SRC_FIELDS_NULL_SLOT_H_
