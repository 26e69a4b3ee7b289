// The platform's standard conversions between Variant types (CStr, CInt, CLng, ...).
//
// Text is parsed and written through the calling thread's locale (qel::ThreadLocale): its
// decimal and thousands separators, and its date order and separator. Failures raise the
// platform errors: 13 type mismatch (text that is no number or date, an object without a
// default value), 6 overflow (out of the target's range), 94 invalid use of Null, 91 for a
// missing object. Integer targets round half to even. Empty converts to 0, "", false or the
// zero date.
#ifndef QEL_FRAME_CONVERT_H_
#define QEL_FRAME_CONVERT_H_

#include <cstdint>
#include <optional>

#include "qel/frame/locale.h"
#include "qel/frame/variant.h"

namespace qel {

Text CStr(const Variant& v);
int16_t CInt(const Variant& v);
int32_t CLng(const Variant& v);
float CSng(const Variant& v);
double CDbl(const Variant& v);
Currency CCur(const Variant& v);
Decimal CDec(const Variant& v);
Date CDate(const Variant& v);
bool CBool(const Variant& v);
uint8_t CByte(const Variant& v);

// The value converted to the given type (Empty and Null are allowed targets; Object, arrays
// and kVariant are not and raise 13).
Variant ChangeType(const Variant& v, VarType type);

// The value as a 32-bit integer by CLng, or `fallback` when that fails. Never raises.
int32_t ToLongOr(const Variant& v, int32_t fallback) noexcept;

// The value of an object's default member when v holds an object (raising 91 for Nothing and
// 438 when it has none); v itself otherwise.
Variant Unwrap(const Variant& v);

// Number and date text in a given locale, for callers that must not follow the thread's.
Text NumberToText(const Variant& number, const LocaleInfo& loc);
Text DateToText(Date d, const LocaleInfo& loc);
std::optional<Date> ParseDate(TextView text, const LocaleInfo& loc);
std::optional<Decimal> ParseDecimal(TextView text, const LocaleInfo& loc);

}  // namespace qel

#endif  // QEL_FRAME_CONVERT_H_
