// Bag text: LoadFromText on any input (UTF-8) must end in a bag or a qel::Error, never a crash.
// A bag that loads must write text, in both text forms, that loads again and writes the same
// text: writing is stable from the first round on. Dates are written day first, so this holds
// under a day-first locale (es_CL).
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qel::fuzz::UseChileanLocale();
  const qel::Text text = qel::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  qel::QelProps bag;
  try {
    bag.LoadFromText(text);
  } catch (const qel::Error&) {
    return 0;
  }
  for (int32_t format : {qel::qelFormatNormal, qel::qelFormatIndented}) {
    const qel::Text first = bag.ToText(format);  // a loaded bag always has a text form
    qel::QelProps again;
    again.LoadFromText(first);
    qel::fuzz::Check(again.ToText(format) == first);
  }
  bag.ToText(qel::qelFormatPostData);
  return 0;
}
