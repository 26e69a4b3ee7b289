// The reference the typed read path is checked against, shared by its unit test and its fuzz
// target: what QelRecordField::Value gives, written in the reader's plain form.
#ifndef QEL_SRC_RECORDS_RECORD_TEXT_TESTING_H_
#define QEL_SRC_RECORDS_RECORD_TEXT_TESTING_H_

#include <cstdio>
#include <string>

#include "qel/fields/qel_record_field.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/decimal.h"
#include "qel/frame/error.h"

namespace qel::internal {

// The plain text of occurrence `index` of `field` read through Value; "" and *present false
// for Null; "!<number>" and *present false when Value raises.
inline std::string PlainTextForTesting(const QelRecordField& field, int32_t index, bool* present) {
  *present = false;
  Variant v;
  try {
    v = field.Value(index);
  } catch (const Error& e) {
    return "!" + std::to_string(e.Number());
  }
  if (v.IsNull()) return "";
  *present = true;
  if (v.type() == VarType::kDecimal) return v.Get<Decimal>().ToAscii();
  if (v.type() == VarType::kDate) {
    const DateParts p = SplitDate(v.Get<Date>());
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", p.year, p.month, p.day);
    return buf;
  }
  return ToUtf8(CStr(v));
}

}  // namespace qel::internal

#endif  // QEL_SRC_RECORDS_RECORD_TEXT_TESTING_H_
