// UTF-16 to UTF-8 into a caller's buffer: the one encoder behind ToUtf8 and the record
// exports that write straight into their output block.
//
// An unpaired surrogate is written as U+FFFD. A unit never takes more than three bytes (a pair
// takes four for its two units), so kMaxUtf8BytesPerUnit bytes a unit always suffice.
#ifndef QEL_SRC_FRAME_UTF8_WRITE_H_
#define QEL_SRC_FRAME_UTF8_WRITE_H_

#include <cstddef>

#include "qel/frame/text.h"

namespace qel::internal {

inline constexpr size_t kMaxUtf8BytesPerUnit = 3;

// Writes `text` as UTF-8 at `out` and returns the end of what it wrote. It writes nothing past
// that end, so room for Utf8Length(text) bytes suffices; kMaxUtf8BytesPerUnit bytes a unit
// always do.
char* WriteUtf8(TextView text, char* out);

// The number of bytes WriteUtf8 writes for `text`.
size_t Utf8Length(TextView text);

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_UTF8_WRITE_H_
