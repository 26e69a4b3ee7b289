// The character classes every parser of the library agrees on, over UTF-16 code units.
//
// A letter is an ASCII letter or a Latin letter of U+00C0..U+024F (Latin-1 Supplement and
// Latin Extended-A/B), which holds the accented letters of Spanish and its neighbours; the
// multiplication and division signs U+00D7 and U+00F7 sit in that range but are not letters.
// A blank is a space or a tab. Digits are the ASCII digits only: host texts never carry
// other scripts' digits, and accepting them would let two texts that look equal differ.
#ifndef QEL_SRC_FRAME_CHAR_CLASS_H_
#define QEL_SRC_FRAME_CHAR_CLASS_H_

namespace qel::internal {

constexpr bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

constexpr bool IsAsciiLetter(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

constexpr bool IsLetter(char16_t c) {
  return IsAsciiLetter(c) || (c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7);
}

constexpr bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_CHAR_CLASS_H_
