// The RUT routines on arbitrary text. Besides not crashing:
//  - a RUT QelValidateRUT accepts comes back unchanged through QelFormatRUT and validation
//    (unless its digits are all zeros);
//  - CRut's dashed form is a fixed point of CRut, and its compact form at the digit count
//    agrees with it.
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/fields/rut.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"

using qel::fuzz::Check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using qel::Text;
  const Text text = qel::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  for (const char* loc : {"es_CL.UTF-8", "en_US.UTF-8"}) {
    qel::SetThreadLocale(loc);
    try {
      const Text compact = qel::QelValidateRUT(text, 0, true, false);
      const Text shown = qel::QelFormatRUT(compact, true);
      // A body of zeros is shown as nothing before the dash, which no longer validates.
      if (shown.front() != u'-') Check(qel::QelValidateRUT(shown, static_cast<int32_t>(compact.size()), true) == compact);
    } catch (const qel::Error&) {
    }
    try {
      const Text dashed = qel::CRut(qel::Variant(text), 0);
      Check(qel::CRut(qel::Variant(dashed), 0) == dashed);
      const auto digits = static_cast<int32_t>(dashed.size() - 2);
      const Text compact = qel::CRut(qel::Variant(text), digits);
      Check(compact.substr(0, compact.size() - 1) == dashed.substr(0, dashed.size() - 2));
      Check(compact.back() == dashed.back());
    } catch (const qel::Error&) {
    }
  }
  return 0;
}
