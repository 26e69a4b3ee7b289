// URL encoding of text as HTML forms and query strings carry it
// ("application/x-www-form-urlencoded").
//
// Text becomes its Windows-1252 bytes (a character that code page lacks becomes "?"); the
// unreserved bytes A-Z a-z 0-9 "-" "_" "." "*" stay as they are, a space becomes "+", and every
// other byte becomes "%" and two upper-case hexadecimal digits. Decoding reverses that: "+" is a
// space and "%" with two hexadecimal digits (either case) is that Windows-1252 byte; everything
// else, including a "%" not followed by two hexadecimal digits, stays as written. Stateless and
// thread-safe.
#ifndef QEL_FRAME_URL_ENCODE_H_
#define QEL_FRAME_URL_ENCODE_H_

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

// The encoded text (ASCII only).
QEL_EXPORT Text UrlEncode(TextView text);
// Appends the encoded text to *out.
QEL_EXPORT void AppendUrlEncoded(TextView text, Text* out);
// The decoded text. Never fails.
QEL_EXPORT Text UrlDecode(TextView encoded);

}  // namespace qel

#endif  // QEL_FRAME_URL_ENCODE_H_
