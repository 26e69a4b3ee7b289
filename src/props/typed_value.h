// The values of typed strings in bag text (`name:code="text"`): the text converted to the type
// the code names, as the reader stores it (the rules are atop props_parser.cc).
//
// The conversion is ChangeType's under the thread's locale, after the last "," of a Single,
// Double, Currency or Decimal text became the locale's decimal separator. Texts of the shapes
// the writer makes (plain integers, "-123,45e-6" decimals) skip the copy that replacement needs
// and the Variant round trip: integers are read directly, decimals are scanned straight into
// the frame's scanned-number form and end in the same routines as the general path (double
// from scanned digits, Decimal from digits), and dates go to the same date parse. Any other
// text takes the general path.
#ifndef QEL_SRC_PROPS_TYPED_VALUE_H_
#define QEL_SRC_PROPS_TYPED_VALUE_H_

#include <cstdint>
#include <optional>

#include "qel/frame/locale.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel::internal {

class TypedValues {
 public:
  // Reads under `loc`, which must outlive this object.
  explicit TypedValues(const LocaleInfo& loc);

  // The value of `text` under type code `code`: 0 Empty; 2, 3, 4, 5, 6, 7, 11, 14 and 17 the
  // converted value, or the String when the text does not convert; 8209 the bytes of a
  // hexadecimal text (else the String); any other code the String.
  Variant Convert(TextView text, int32_t code) const;

 private:
  // The value of a text in one of the shapes the writer makes (see above), or nullopt for any
  // other text, which takes the general path. May raise what the conversion raises.
  std::optional<Variant> ConvertWriterShapes(TextView text, VarType type) const;

  const LocaleInfo& loc_;
  // Neither separator of the locale can be taken for a digit, sign or exponent letter, so a
  // plain decimal text reads the same with "," as its decimal separator.
  bool plain_separators_;
};

}  // namespace qel::internal

#endif  // QEL_SRC_PROPS_TYPED_VALUE_H_
