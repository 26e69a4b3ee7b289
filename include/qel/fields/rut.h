// RUT routines: reading, checking and showing the Chilean tax identifier.
//
// A RUT is a run of digits and a check character computed modulo 11 ("0".."9" or "K"). As
// typed it may carry "." or "," among the digits (ignored wherever they stand), blanks around
// it, and "-" before the check character; "?" stands for an unknown check character. The
// compact form is the digits right-justified with zeros to a width and the check character
// right after them ("0123456785"); the dashed form is the digits, "-" and the check character
// ("12345678-5").
//
// Every failure is E_INVALIDARG with the trimmed input as argument, raised under the sources
// "InvalidCharacter", "ZeroDigits", "TooLong" and "InvalidParity", and chained by the routine
// that found it: "QelStd1.CRut:", "QelStd1.QelValidateRUT:" or "QelStd1.QelFormatRUT:".
//
// Stateless apart from the thread's locale (QelFormatRUT); thread-safe.
#ifndef QEL_FIELDS_RUT_H_
#define QEL_FIELDS_RUT_H_

#include <cstdint>

#include "qel/frame/export.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel {

// The check character of a digit string: weights 2..7 from the rightmost digit, modulo 11;
// "0" for a remainder of 0 and "K" for a remainder of 1.
// REQUIRES: every character of `digits` is "0".."9".
QEL_EXPORT char16_t RutCheckChar(TextView digits);

// Parses and checks a RUT given as any value (non-text values are converted to text first).
// The check character, when given, must be right; a missing one (no "-") or "?" yields "?".
// With width > 0 returns the compact form with exactly `width` digits (TooLong when there are
// more); otherwise the dashed form with the digits as typed, leading zeros kept.
QEL_EXPORT Text CRut(const Variant& value, int32_t width);

// Strict validation: the text must carry "-" and a check character that matches the digits,
// or "?" when `allow_unknown` (then replaced by the right character when `compute_unknown`).
// Returns the compact form of `return_size` characters in all, check character included, or
// of natural length when `return_size` <= 0; digits beyond that width are cut on the left
// without an error.
QEL_EXPORT Text QelValidateRUT(TextView rut_text, int32_t return_size = 0,
                               bool allow_unknown = false, bool compute_unknown = false);

// A compact RUT in display form: all but the last character read as a number (leading zeros
// disappear), grouped by thousands with the thread locale's separator when `thousand_sep`,
// then "-" and the last character. The check character is not verified; a body that is no
// number raises the platform's type mismatch (13).
QEL_EXPORT Text QelFormatRUT(TextView rut_value, bool thousand_sep = false);

}  // namespace qel

#endif  // QEL_FIELDS_RUT_H_
