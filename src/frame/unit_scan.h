// Scans over UTF-16 code units that the parsers of outside text share: finding a separator,
// copying a text up to one, the end of a text without its trailing blanks, the end of a
// run of ASCII name characters.
//
// Each scan has a plain version and vector versions (SSE2, AVX2, AVX-512); one table per
// level holds them, and the table of the best level the processor runs is picked once, at the
// first scan. Every version gives the same answer as the plain one. Stateless and thread-safe.
#ifndef QEL_SRC_FRAME_UNIT_SCAN_H_
#define QEL_SRC_FRAME_UNIT_SCAN_H_

#include <cstddef>

#include "qel/frame/text.h"

namespace qel::internal {

// Position of the first `a` or `b` at or after `from`, or npos (also for from >= size).
size_t FindEitherUnit(TextView text, char16_t a, char16_t b, size_t from = 0);

// Position of the first `c` at or after `from`, or npos: TextView::find.
inline size_t FindUnit(TextView text, char16_t c, size_t from = 0) {
  return FindEitherUnit(text, c, c, from);
}

// Copies `text` to `out` up to the first `a` or `b` and returns that unit's position, or copies
// all of it and returns npos: FindEitherUnit(text, a, b) and the copy in one pass, which reads
// each unit once. `out` has room for text.size() units and does not overlap `text`; what it
// holds from the returned position on is unspecified.
size_t CopyUntilEither(TextView text, char16_t* out, char16_t a, char16_t b);

// The length of `text` without its trailing blanks (spaces only).
size_t TrimmedEnd(TextView text);

// The first position at or after `from` whose unit is not an ASCII letter, an ASCII digit or
// "_", or text.size(). Name tokens are mostly made of these; a caller that accepts more
// characters in names goes on from there one unit at a time.
size_t SkipAsciiWord(TextView text, size_t from);

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_UNIT_SCAN_H_
