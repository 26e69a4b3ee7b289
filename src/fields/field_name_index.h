// The index of a layout's field names: upper-case name -> 0-based position in the collection.
//
// Names come from signature texts written outside the library, so they are hashed with the
// per-process keyed hash: whoever writes the names cannot make them collide on purpose and
// turn the index into a list. Lookups take a name in any case, by view, without a copy.
#ifndef QEL_SRC_FIELDS_FIELD_NAME_INDEX_H_
#define QEL_SRC_FIELDS_FIELD_NAME_INDEX_H_

#include <cstdint>
#include <unordered_map>

#include "frame/keyed_hash.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/frame/text.h"

namespace qel {

struct QelRecordFields::NameIndex {
  std::unordered_map<Text, int32_t, internal::KeyedTextHashNoCase, internal::TextEqualNoCase>
      positions;
};

}  // namespace qel

#endif  // QEL_SRC_FIELDS_FIELD_NAME_INDEX_H_
