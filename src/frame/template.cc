// Template filling. The scan follows the platform's rules to the letter: a "%" that is the very
// last character is never examined, "%%" collapses to one "%", inserted text is skipped, and an
// argument that cannot become text leaves "%" and its digit in place.
#include "qel/frame/template.h"

#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {
namespace {

// The argument's text, or false when it has none.
bool ArgumentText(const Variant& arg, Text* out) {
  if (arg.IsNull() || arg.IsArray()) return false;
  try {
    *out = CStr(arg);
    return true;
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

Text FormatTemplate(TextView tmpl, std::span<const Variant> args) noexcept {
  Text text;
  try {
    text.assign(tmpl);
    size_t p = 0;  // 0-based scan position
    while (p + 1 < text.size()) {
      const size_t pct = text.find(u'%', p);
      if (pct == Text::npos) break;
      const char16_t c = pct + 1 < text.size() ? UpperChar(text[pct + 1]) : 0;
      if (c == u'%') {
        text.erase(pct, 1);
        p = pct + 1;
      } else if (c == u'T') {
        text.replace(pct, 2, 1, u'\t');
        p = pct + 1;
      } else if (c == u'N') {
        text.replace(pct, 2, u"\r\n");
        p = pct + 2;
      } else if (c >= u'1' && c <= u'9') {
        const size_t n = c - u'1';
        Text value;
        if (n < args.size() && ArgumentText(args[n], &value)) {
          text.replace(pct, 2, value);
          p = pct + value.size();
        } else {
          p = pct + 2;  // the placeholder stays as written
        }
      } else {
        p = pct + 1;
      }
    }
  } catch (...) {
    // Out of memory halfway: the text as formed so far.
  }
  return text;
}

}  // namespace qel
