// Conversion and comparison of field values, as free functions of the calling thread's
// QelGlobal (whose decimal separator, read when it was made, they use).
//
// A comparable value is Null, a Decimal (numeric, signed and RUT fields), a Date (date fields)
// or a text without trailing blanks (text and alpha fields). Texts compare by character code,
// case-sensitive; numbers and dates by value; Null sorts before everything else.
//
// Errors keep their inner number and chain their sources, outermost first:
//   "QelGlobal.QelCompare:"   "No se puede comparar el campo '%1'%n%2"   (field name)
//   "QelGlobal.CmpToText:"    "El valor '%1' no se puede convertir a Texto%n%2"
//   "QelGlobal.CmpToNumber:"  "El valor '%1' no se puede convertir a Número%n%2"
//   "QelGlobal.CmpToDate:"    "El valor '%1' no se puede convertir a Fecha%n%2"
//   "QelGlobal.CmpToRut:"     "El valor '%1' no se puede convertir a RUT%n%2"
//   "QelGlobal.ToDecimal:"    "El valor '%1' no se puede convertir a Número%n%2"
//   "QelGlobal.CobolCompare:" "No se pueden comparar los valores suministrados%n%1"
// so a bad RUT compared against a field fails with source
// "QelGlobal.QelCompare:QelGlobal.CmpToRut:QelStd1.CRut:InvalidParity". QelConvert of a list
// begin or end raises E_INVALIDARG, source "QelGlobal.QelConvert", "No se puede convertir el
// campo '%1'"; otherwise QelConvert passes the conversions' errors on untouched.
#ifndef QEL_GLOBAL_VALUE_COMPARE_H_
#define QEL_GLOBAL_VALUE_COMPARE_H_

#include <cstdint>
#include <optional>

#include "qel/global/qel_global.h"
#include "qel/fields/qel_record_field.h"
#include "qel/frame/decimal.h"
#include "qel/frame/export.h"
#include "qel/frame/variant.h"

namespace qel {

// By the field's type:
//  - text, alpha: the value's text without trailing blanks (leading blanks stay);
//  - numeric, signed: a text is trimmed and, with `with_qel_format`, read in the host style
//    (every "." dropped, "," taken as the decimal separator); then converted by CDec through
//    the thread locale. Other values go to CDec directly;
//  - date: a text is trimmed with "/" turned into "-"; "00-00-0000" gives Null; then CDate;
//  - RUT: the digits of CRut(value, 0) as a Decimal; the check character is verified but
//    takes no part in the result.
QEL_EXPORT Variant QelConvert(const QelRecordField& field, const Variant& value,
                   bool with_qel_format = false);

// -1, 0 or 1: `field`'s value at `index1` against `value2`, or against the value at `index2`
// of the field `value2` holds. Both sides are converted by `field`'s type with the host number
// style. An omitted `value2` (nullopt) cannot be converted and fails with type mismatch (13);
// Empty is a value and converts like any other ("" for texts, 0 for numbers).
QEL_EXPORT int32_t QelCompare(const QelRecordField& field, int32_t index1 = 1,
                   const std::optional<Variant>& value2 = std::nullopt, int32_t index2 = 1);

// A text in the host number style ("-1.234,50", blanks around allowed) or any numeric value as
// a Decimal. Null fails (94).
QEL_EXPORT Decimal ToDecimal(const Variant& value);

// -1, 0 or 1. Two texts compare by character code with trailing blanks ignored ("AB" equals
// "AB   ", " AB" sorts before "AB"); any other pair compares as numbers by ToDecimal.
QEL_EXPORT int32_t CobolCompare(const Variant& value1, const Variant& value2);

}  // namespace qel

#endif  // QEL_GLOBAL_VALUE_COMPARE_H_
