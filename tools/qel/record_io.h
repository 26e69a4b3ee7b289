// What the record subcommands share: the layout named on the command line, the plain text
// forms of field values in JSON and CSV, and the columns of a layout.
//
// Field values travel as the plain text RecordTextReader writes (src/records/record_text.h):
// texts as they stand, numbers as "-1234.5" ("." before the fraction, whatever the locale),
// dates as "YYYY-MM-DD", RUTs dashed. In JSON numbers are JSON numbers, Null is null and the
// rest are strings; in CSV Null is the empty field. A list is a JSON array of one object per
// occurrence, or the CSV columns NAME_1 .. NAME_n of each member.
#ifndef QEL_TOOLS_QEL_RECORD_IO_H_
#define QEL_TOOLS_QEL_RECORD_IO_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qel/records/qel_record.h"

namespace qel::cli {

// A record with the layout of a signature: a file holding the signature text, or the text
// itself when the argument starts with "SD:". The library's errors name what is wrong.
std::shared_ptr<QelRecord> LoadLayout(const std::string& file_or_text);

// A column of a layout's flat form: the field at 1-based `position`, its occurrence, and the
// column's name (NAME, or NAME_i inside a list). List begins and ends have no column.
struct Column {
  int32_t position;
  int32_t index;
  std::string name;
};
std::vector<Column> Columns(const QelRecordFields& fields);

// True when a value of this field type is written as a JSON number.
inline bool IsNumberType(int32_t type) { return type == qelTypeNumeric || type == qelTypeSigned; }
// True when a value of this field type is free text (any character may occur in it).
inline bool IsTextType(int32_t type) {
  return type == qelTypeText || type == qelTypeAlpha || type == qelTypeList;
}

// The quoting below works in place on text just written to a buffer, which must have room
// after the text for the quoted form: at most kQuotedBytesPerByte bytes a byte, plus two.
inline constexpr size_t kQuotedBytesPerByte = 6;  // a control character in JSON: \u001f
// Makes the UTF-8 text at [begin, end) a JSON string (quotes included); returns its new end.
char* QuoteJson(char* begin, char* end);
// Makes the text at [begin, end) a CSV field, quoted only when it must be; returns its new end.
char* QuoteCsv(char* begin, char* end);
// Splits one CSV line into fields; false for a quote left open or text after a closing quote.
bool SplitCsv(std::string_view line, std::vector<std::string>& fields);

// A JSON value of a record line: an object of scalars and arrays of objects.
struct JsonValue {
  enum Kind { kNull, kBool, kNumber, kString, kArray, kObject } kind = kNull;
  std::string text;  // the string's value, the number's or boolean's text
  std::vector<JsonValue> items;  // an array's items, an object's values
  std::vector<std::string> keys;  // an object's names, one per item
};
// Nesting past this depth is refused: a record line needs three (record, list, occurrence).
inline constexpr int kMaxJsonDepth = 8;
// Parses one JSON text; throws std::runtime_error naming the column of the fault.
JsonValue ParseJson(std::string_view text);

// The value to store in `field` for its plain text: Null for the empty text of a number or a
// date, a Decimal, a Date, or the text. Throws std::runtime_error for a number or a date that
// is not one.
Variant PlainValue(const QelRecordField& field, std::string_view text);

// Fills `record`'s fields from a JSON object (names in any case; lists as arrays of objects).
// Throws std::runtime_error for an unknown name or a value of the wrong shape; the library's
// errors for values the fields refuse.
void FillFromJson(QelRecord& record, const JsonValue& object);

}  // namespace qel::cli

#endif  // QEL_TOOLS_QEL_RECORD_IO_H_
