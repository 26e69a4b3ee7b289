// qel::Error and the three ways the library raises it.
//
// Every failure reaches the caller as one exception carrying (Number, Source, Description).
//  - origin raise: the code that finds a problem raises a number, a short source and a
//    description made from a template (RaiseError);
//  - replacing re-raise: a public member traps an inner error and raises it again with the
//    same number, its own "Class.Method" source, and a template whose last argument is the
//    inner description (RaiseReplacing / Replacing);
//  - chaining re-raise: the same number, the source prefixed with "Class.Method:", and the
//    description either kept or rebuilt around the inner one (RaiseChained / Chaining).
// A re-raise never undoes what the member did before the failure.
#ifndef QEL_FRAME_ERROR_H_
#define QEL_FRAME_ERROR_H_

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>

#include "qel/frame/export.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel {

// Numbers the library raises for the problems it detects itself.
inline constexpr int32_t E_INVALIDARG = -2147024809;  // 0x80070057: bad argument or data
inline constexpr int32_t E_FAIL = -2147467259;        // 0x80004005: wrong moment, failed call

// Platform run-time errors, raised with their numbers and Spanish texts.
enum RuntimeError : int32_t {
  kErrInvalidCall = 5,
  kErrOverflow = 6,
  kErrSubscript = 9,
  kErrDivisionByZero = 11,
  kErrTypeMismatch = 13,
  kErrOutOfStack = 28,
  kErrObjectNotSet = 91,
  kErrInvalidNull = 94,
  kErrCannotCreate = 429,
  kErrObjectRequired = 424,
  kErrNoSuchMember = 438,
  kErrDuplicateKey = 457,
};

// The source every platform run-time error carries.
inline constexpr char16_t kPlatformSource[] = u"QelStd1";

class QEL_EXPORT Error : public std::exception {
 public:
  Error(int32_t number, Text source, Text description);

  int32_t Number() const noexcept { return number_; }
  const Text& Source() const noexcept { return source_; }
  const Text& Description() const noexcept { return description_; }
  // The description in UTF-8.
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  int32_t number_;
  Text source_;
  Text description_;
  std::string what_;
};

// The Spanish text of a platform run-time error ("Desbordamiento" for 6); a generic text for
// numbers the library does not know.
QEL_EXPORT Text RuntimeErrorText(int32_t number);

using Args = std::initializer_list<Variant>;

// Origin raise: description = FormatTemplate(tmpl, args).
[[noreturn]] void RaiseError(int32_t number, TextView source, TextView tmpl, Args args = {});
// A platform run-time error with its own text and source "QelStd1".
[[noreturn]] void RaiseRuntime(int32_t number);
// Replacing re-raise: same number, source replaced, description =
// FormatTemplate(tmpl, context..., inner description).
[[noreturn]] void RaiseReplacing(const Error& inner, TextView source, TextView tmpl,
                                 Args context = {});
// Chaining re-raise: same number and description, source = prefix + inner source.
[[noreturn]] void RaiseChained(const Error& inner, TextView prefix);
// Chaining re-raise with the description rebuilt: FormatTemplate(tmpl, context..., inner
// description).
[[noreturn]] void RaiseChained(const Error& inner, TextView prefix, TextView tmpl, Args context);

// Runs body; an Error escaping it is re-raised by chaining with `prefix`.
template <class F>
decltype(auto) Chaining(TextView prefix, F&& body) {
  try {
    return body();
  } catch (const Error& e) {
    RaiseChained(e, prefix);
  }
}

// Runs body; an Error escaping it is re-raised replacing its source (see RaiseReplacing).
template <class F>
decltype(auto) Replacing(TextView source, TextView tmpl, Args context, F&& body) {
  try {
    return body();
  } catch (const Error& e) {
    RaiseReplacing(e, source, tmpl, context);
  }
}

}  // namespace qel

#endif  // QEL_FRAME_ERROR_H_
