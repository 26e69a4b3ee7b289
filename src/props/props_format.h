// What the bag text's reader and writer, and the bag itself, share: the character classes of
// name tokens, the nesting limit and the type codes with a meaning of their own.
#ifndef QEL_SRC_PROPS_PROPS_FORMAT_H_
#define QEL_SRC_PROPS_PROPS_FORMAT_H_

#include <cstdint>

#include "frame/char_class.h"
#include "frame/unit_scan.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"
#include "qel/props/qel_props.h"

namespace qel::internal {

// Deepest nesting of bags that the reader, the writer and Merge follow before raising error 28.
// Why this number is explained atop props_parser.cc.
inline constexpr int kMaxNesting = 1000;

// Type code of a byte array value, written in hexadecimal (see props_writer.cc).
inline constexpr int32_t kByteArrayCode = static_cast<int32_t>(VarType::kByteArray);

// Name tokens: a letter (char_class.h) or "_", then letters, digits and "_".
inline bool IsNameStart(char16_t c) { return IsLetter(c) || c == u'_'; }
inline bool IsNameChar(char16_t c) { return IsNameStart(c) || IsDigit(c); }

// The first position from `p` on that holds no name character, or `end`: the ASCII part of a
// name by the vectorised scan, the rest (Latin letters) one unit at a time.
inline const char16_t* SkipNameChars(const char16_t* p, const char16_t* end) {
  p += SkipAsciiWord(TextView(p, static_cast<size_t>(end - p)), 0);
  while (p < end && IsNameChar(*p)) ++p;
  return p;
}

// True when the whole text reads back as one name token.
bool IsNameToken(TextView name);

// The bag as text in one of the QelFormatTypes (props_writer.cc).
// REQUIRES: format is a QelFormatTypes value.
Text WriteBagText(const QelProps& bag, int32_t format);

// Reads bag text into `bag`, which the caller has emptied (props_parser.cc).
void ReadBagText(TextView text, QelProps* bag);
// The same; on a syntax error *error_offset is first set to the offset just past the token
// the grammar did not expect (the text's length at its end), for tools that point at it.
void ReadBagText(TextView text, QelProps* bag, size_t* error_offset);

}  // namespace qel::internal

#endif  // QEL_SRC_PROPS_PROPS_FORMAT_H_
