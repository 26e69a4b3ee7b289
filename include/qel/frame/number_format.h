// FormatNumber: a number laid out by a display pattern such as "#,##0.00" or "#,###".
//
// A pattern is an optional literal prefix, a run of placeholders, and an optional literal
// suffix. The placeholders are "0" (a digit always shown), "#" (a digit shown only when
// significant), "," (group the integer digits by thousands, wherever it stands among them) and
// "." (the decimal point; the placeholders after it are the fraction). The output uses the
// given locale's thousands and decimal separators, so "#,##0.00" gives "1.234,50" under es_CL
// and "1,234.50" under en_US.
//
// The value is rounded half away from zero to the number of fraction placeholders; trailing
// fraction digits of "#" placeholders are dropped when zero. A zero integer part is written
// only as far as the "0" placeholders ask, so "#,###" gives the empty text for zero. A
// negative value is preceded by "-" unless it rounds to zero. A pattern without placeholders
// gives the number's plain text.
//
// Stateless and thread-safe.
#ifndef QEL_FRAME_NUMBER_FORMAT_H_
#define QEL_FRAME_NUMBER_FORMAT_H_

#include "qel/frame/decimal.h"
#include "qel/frame/export.h"
#include "qel/frame/locale.h"
#include "qel/frame/text.h"

namespace qel {

QEL_EXPORT Text FormatNumber(const Decimal& value, TextView pattern, const LocaleInfo& loc);

}  // namespace qel

#endif  // QEL_FRAME_NUMBER_FORMAT_H_
