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

#include "qel/frame/export.h"
#include "qel/frame/locale.h"
#include "qel/frame/variant.h"

namespace qel {

QEL_EXPORT Text CStr(const Variant& v);
QEL_EXPORT int16_t CInt(const Variant& v);
QEL_EXPORT int32_t CLng(const Variant& v);
QEL_EXPORT float CSng(const Variant& v);
QEL_EXPORT double CDbl(const Variant& v);
QEL_EXPORT Currency CCur(const Variant& v);
QEL_EXPORT Decimal CDec(const Variant& v);
QEL_EXPORT Date CDate(const Variant& v);
QEL_EXPORT bool CBool(const Variant& v);
QEL_EXPORT uint8_t CByte(const Variant& v);

// The value converted to the given type (Empty and Null are allowed targets; Object, arrays
// and kVariant are not and raise 13).
QEL_EXPORT Variant ChangeType(const Variant& v, VarType type);

// The value as a 32-bit integer by CLng, or `fallback` when that fails. Never raises.
QEL_EXPORT int32_t ToLongOr(const Variant& v, int32_t fallback) noexcept;

// The value of an object's default member when v holds an object (raising 91 for Nothing and
// 438 when it has none); v itself otherwise.
QEL_EXPORT Variant Unwrap(const Variant& v);

// Number and date text in a given locale, for callers that must not follow the thread's.
QEL_EXPORT Text NumberToText(const Variant& number, const LocaleInfo& loc);
QEL_EXPORT Text DateToText(Date d, const LocaleInfo& loc);
QEL_EXPORT std::optional<Date> ParseDate(TextView text, const LocaleInfo& loc);
QEL_EXPORT std::optional<Decimal> ParseDecimal(TextView text, const LocaleInfo& loc);

}  // namespace qel

#endif  // QEL_FRAME_CONVERT_H_
