// What the bag text's reader and writer, and the bag itself, share: the character classes of
// name tokens, the nesting limit and the type codes with a meaning of their own.
#ifndef QEL_SRC_PROPS_PROPS_FORMAT_H_
#define QEL_SRC_PROPS_PROPS_FORMAT_H_

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "frame/char_class.h"
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

// The first position from `p` on that holds no name character, or `end`.
inline const char16_t* SkipNameChars(const char16_t* p, const char16_t* end) {
#if defined(__SSE2__)
  // Eight units at a time while they are ASCII letters, digits or "_"; from the first other
  // unit on (a Latin letter, or the end of the name), one at a time. x <= n unsigned is tested
  // as saturating x - n == 0.
  const __m128i zero = _mm_setzero_si128();
  while (end - p >= 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i lower = _mm_or_si128(v, _mm_set1_epi16(0x20));
    const __m128i letter = _mm_cmpeq_epi16(
        _mm_subs_epu16(_mm_sub_epi16(lower, _mm_set1_epi16(u'a')), _mm_set1_epi16(25)), zero);
    const __m128i digit = _mm_cmpeq_epi16(
        _mm_subs_epu16(_mm_sub_epi16(v, _mm_set1_epi16(u'0')), _mm_set1_epi16(9)), zero);
    const __m128i underscore = _mm_cmpeq_epi16(v, _mm_set1_epi16(u'_'));
    const auto mask = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(letter, digit), underscore)));
    if (mask != 0xFFFF) {
      p += __builtin_ctz(~mask) / 2;
      break;
    }
    p += 8;
  }
#endif
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

}  // namespace qel::internal

#endif  // QEL_SRC_PROPS_PROPS_FORMAT_H_
