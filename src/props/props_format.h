// What the bag text's reader and writer, and the bag itself, share: the character classes of
// name tokens, the key hash, the nesting limit, the type codes with a meaning of their own, and
// the internal access the reader needs to store properties without going through Variant keys.
#ifndef QEL_SRC_PROPS_PROPS_FORMAT_H_
#define QEL_SRC_PROPS_PROPS_FORMAT_H_

#include <cstdint>

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
// character the digits "0" to "9".
inline bool IsNameStart(char16_t c) {
  if ((c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_') return true;
  return c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7;
}
inline bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
inline bool IsNameChar(char16_t c) { return IsNameStart(c) || IsDigit(c); }

// True when the whole text reads back as one name token.
bool IsNameToken(TextView name);

// The bag as text in one of the QelFormatTypes (props_writer.cc).
// REQUIRES: format is a QelFormatTypes value.
Text WriteBagText(const QelProps& bag, int32_t format);

// Reads bag text into `bag`, which the caller has emptied (props_parser.cc).
void ReadBagText(TextView text, QelProps* bag);

// Hash of a key ignoring case (as EqualsNoCase compares), seeded once per process so that
// text from outside cannot choose colliding names in advance.
uint64_t KeyHash(TextView key);

}  // namespace qel::props

namespace qel {

// The reader's way into a bag.
class QelPropsInternal {
 public:
  // Stores `value` under `name` (already trimmed), creating the property when absent.
  // REQUIRES: value is not an object other than a QelProps.
  static void Store(QelProps* bag, TextView name, Variant value) {
    bag->FindOrCreateName(name).value_ = std::move(value);
  }
};

}  // namespace qel

#endif  // QEL_SRC_PROPS_PROPS_FORMAT_H_
