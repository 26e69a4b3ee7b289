// QelFieldTypes: the types of record fields and their one- or two-letter descriptor codes.
//
// A field descriptor (one line of a layout signature) starts with the code: "X:30:NAME".
// Constants only; thread-safe.
#ifndef QEL_FIELDS_FIELD_TYPES_H_
#define QEL_FIELDS_FIELD_TYPES_H_

#include <cstdint>

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

enum QelFieldTypes : int32_t {
  qelTypeList = 1,     // "LB": begin of a repeated group
  qelTypeText = 2,     // "X": text
  qelTypeNumeric = 3,  // "N": unsigned number with Precision decimals
  qelTypeSigned = 4,   // "S": signed number with Precision decimals
  qelTypeDate = 5,     // "D": date
  qelTypeRut = 6,      // "R": RUT
  qelTypeAlpha = 7,    // "A": alphanumeric text
  qelTypeListEnd = 8,  // "LE": end of a repeated group
};

// Limits on what a layout may claim, so that a signature text from outside cannot make a
// record allocate or loop without bound. Host transaction records are a few thousand
// characters (the link text of one transaction travels as one message), so a megacharacter
// leaves ample room; a repeated group of more occurrences than 65,535 is no record. Larger
// claims are refused with error 6 (overflow) before anything is allocated:
//  - the length of one field, a group or the whole record, in characters;
//  - the occurrences (Dimensions) of one repeated group.
inline constexpr int32_t kMaxRecordLength = 1 << 20;
inline constexpr int32_t kMaxListOccurrences = 65535;

// The descriptor code of a type ("LB", "X", ...), or the empty text outside 1..8.
QEL_EXPORT TextView FieldTypeCode(int32_t type);

}  // namespace qel

#endif  // QEL_FIELDS_FIELD_TYPES_H_
