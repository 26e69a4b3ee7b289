// RecordTextReader: the plain text of a record's fields, read straight from the record data
// into a caller's UTF-8 buffer, for bulk exports: no Variant, no allocation per value.
//
// The plain text of one occurrence is the text of the value QelRecordField::Value gives:
//  - text, alpha, list begin: the slot without trailing blanks;
//  - numeric, signed: Decimal::ToAscii of the number ("1990.5", "-0.25", "0");
//  - date: "YYYY-MM-DD" ("0100-01-01" for the earliest date);
//  - RUT: the dashed form ("12345678-5", "0-0" for a blank slot).
// Null (a null slot, a date of zeros or blanks, a list end) writes nothing.
// A slot Value would refuse (a number that is no number, a RUT with a wrong check character)
// raises Value's error. Well-formed slots are read without a Variant and without allocating;
// anything else (the current-time mark "*", a slot past the end of the data) goes through
// Value.
//
// Library-internal: the qel tool's conversions use it; it is not part of the public interface.
// The reader reads the fields' own record data, so it sees what the fields see; it holds the
// collection by shared reference and must be made again after the collection's layout changes.
// Belongs to the thread that made it.
#ifndef QEL_SRC_RECORDS_RECORD_TEXT_H_
#define QEL_SRC_RECORDS_RECORD_TEXT_H_

#include <cstdint>
#include <memory>
#include <cstddef>
#include <string>
#include <vector>

#include "qel/fields/qel_record_fields.h"

namespace qel::internal {

class RecordTextReader {
 public:
  explicit RecordTextReader(std::shared_ptr<QelRecordFields> fields);
  ~RecordTextReader();
  RecordTextReader(const RecordTextReader&) = delete;
  RecordTextReader& operator=(const RecordTextReader&) = delete;

  // The most bytes Write puts down for one occurrence of the field at 1-based `position`.
  size_t MaxBytes(int32_t position) const;

  // Writes at `out`, which has room for MaxBytes(position) bytes, the plain text of occurrence
  // `index` (1-based) of the field at 1-based `position` in the collection; returns the end
  // of what it wrote, or nullptr for Null (nothing written). An index out of range raises
  // Value's error.
  char* Write(int32_t position, int32_t index, char* out) const;

  // The same text appended to `out`; false for Null.
  bool Append(int32_t position, int32_t index, std::string& out) const;

 private:
  // Where each field's occurrences lie in the data, worked out once.
  struct Slot {
    const QelRecordField* field;
    int32_t type;
    int32_t precision;
    int32_t start;   // 0-based, of the first occurrence
    int32_t length;  // of one occurrence
    int32_t stride;  // from one occurrence to the next
    int32_t occurrences;
  };
  std::shared_ptr<QelRecordFields> fields_;
  std::vector<Slot> slots_;  // by position
};

}  // namespace qel::internal

#endif  // QEL_SRC_RECORDS_RECORD_TEXT_H_
