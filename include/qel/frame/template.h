// FormatTemplate: fills the library's Spanish message templates.
//
// Placeholders: %1..%9 (the argument converted to text, one digit only), %n (CR LF), %t (tab),
// %% (a literal "%"); letters compare without regard to case. A missing argument, or one with
// no text form (Null, Nothing, an object without a default value, an array), leaves its
// placeholder as written. Inserted text is never scanned again. Never raises.
#ifndef QEL_FRAME_TEMPLATE_H_
#define QEL_FRAME_TEMPLATE_H_

#include <initializer_list>
#include <span>

#include "qel/frame/export.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel {

QEL_EXPORT Text FormatTemplate(TextView tmpl, std::span<const Variant> args) noexcept;
inline Text FormatTemplate(TextView tmpl, std::initializer_list<Variant> args) noexcept {
  return FormatTemplate(tmpl, std::span<const Variant>(args.begin(), args.size()));
}

}  // namespace qel

#endif  // QEL_FRAME_TEMPLATE_H_
