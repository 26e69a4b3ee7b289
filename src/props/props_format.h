// What the bag text's reader and writer, and the bag itself, share: the character classes of
// name tokens, the key hash, the nesting limit, the type codes with a meaning of their own, and
// the internal access the reader needs to store properties without going through Variant keys.
#ifndef QEL_SRC_PROPS_PROPS_FORMAT_H_
#define QEL_SRC_PROPS_PROPS_FORMAT_H_

#include <array>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "qel/frame/text.h"
#include "qel/frame/variant.h"
#include "qel/props/qel_props.h"

namespace qel::props {

// Deepest nesting of bags that the reader, the writer and Merge follow before raising error 28.
// Why this number is explained atop props_parser.cc.
inline constexpr int kMaxNesting = 1000;

// Type code of a byte array value, written in hexadecimal (see props_writer.cc).
inline constexpr int32_t kByteArrayCode = static_cast<int32_t>(VarType::kByteArray);

// Name tokens: the characters that collate from "A" to "Z" in a text comparison (the ASCII
// letters and the letters of Latin-1 and Latin Extended-A/B), "_", and after the first
// character the digits "0" to "9". A table answers for the first 256 code units.
enum CharClass : uint8_t { kOther = 0, kNameStart = 1, kDigit = 2 };
inline constexpr auto kCharClasses = [] {
  std::array<uint8_t, 256> t{};
  for (int c = 'A'; c <= 'Z'; ++c) t[c] = kNameStart;
  for (int c = 'a'; c <= 'z'; ++c) t[c] = kNameStart;
  for (int c = 0xC0; c <= 0xFF; ++c) t[c] = kNameStart;
  t['_'] = kNameStart;
  t[0xD7] = t[0xF7] = kOther;
  for (int c = '0'; c <= '9'; ++c) t[c] = kDigit;
  return t;
}();
inline uint8_t ClassOf(char16_t c) { return c < 256 ? kCharClasses[c] : c <= 0x24F; }
inline bool IsNameStart(char16_t c) { return ClassOf(c) == kNameStart; }
inline bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
inline bool IsNameChar(char16_t c) { return ClassOf(c) != kOther; }

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

// Hash of a key ignoring case (as EqualsNoCase compares), seeded once per process so that
// text from outside cannot choose colliding names in advance.
uint32_t KeyHash(TextView key);

}  // namespace qel::props

namespace qel {

// The reader's way into a bag.
class QelPropsInternal {
 public:
  // Makes room for `count` properties in an empty bag.
  static void Reserve(QelProps* bag, size_t count) { bag->items_.reserve(count); }
  // Stores `value` under `name` (already trimmed), creating the property when absent.
  // REQUIRES: value is not an object other than a QelProps.
  static void Store(QelProps* bag, TextView name, Variant value) {
    bag->FindOrCreateName(name).value_ = std::move(value);
  }
  // The same for a name known to be a name token.
  static void StoreToken(QelProps* bag, TextView name, Variant value) {
    bag->FindOrCreateName(name, /*is_token=*/true).value_ = std::move(value);
  }
};

}  // namespace qel

#endif  // QEL_SRC_PROPS_PROPS_FORMAT_H_
