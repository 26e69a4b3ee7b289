// The sign marks a numeric slot may carry on its last character, read in one place for the
// field's value and the record's typed text path.
#ifndef QEL_SRC_FIELDS_SIGN_MARK_H_
#define QEL_SRC_FIELDS_SIGN_MARK_H_

namespace qel::internal {

struct MarkedDigit {
  char16_t digit;  // the digit the mark stands for, or `last` itself when it is no mark
  bool negative;
};

// A digit with its high bit set (U+00B0..U+00B9) is negative; "{" and "A".."I" are 0..9
// positive, "}" and "J".."R" are 0..9 negative; anything else is returned as it is.
inline MarkedDigit ReadSignMark(char16_t last) {
  if (last >= 176 && last <= 185) return {static_cast<char16_t>(last & ~128), true};
  if (last == u'{') return {u'0', false};
  if (last == u'}') return {u'0', true};
  if (last >= u'A' && last <= u'I') return {static_cast<char16_t>(last - 16), false};
  if (last >= u'J' && last <= u'R') return {static_cast<char16_t>(last - 25), true};
  return {last, false};
}

}  // namespace qel::internal

#endif  // QEL_SRC_FIELDS_SIGN_MARK_H_
