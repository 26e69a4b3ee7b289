// Text to number and text to date under three locales. Besides not crashing, every Decimal
// that parses must come back unchanged from its own text (the conversions are exact).
#include <cstdlib>
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

using qel::fuzz::Try;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qel::Text text =
      qel::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  const qel::Variant v(text);
  for (const char* loc : {"es_CL.UTF-8", "en_US.UTF-8", "C"}) {
    qel::SetThreadLocale(loc);
    Try([&] {
      const qel::Decimal d = qel::CDec(v);
      if (!(qel::CDec(qel::CStr(d)) == d)) std::abort();
    });
    Try([&] { qel::CDbl(v); });
    Try([&] { qel::CSng(v); });
    Try([&] { qel::CLng(v); });
    Try([&] { qel::CInt(v); });
    Try([&] { qel::CCur(v); });
    Try([&] { qel::CBool(v); });
    Try([&] {
      const qel::Date d = qel::CDate(v);
      qel::CStr(d);
    });
  }
  return 0;
}
