// Host-style numbers of the comparisons: ToDecimal and CobolCompare on two texts taken from
// the input (split at the first line break), under es_CL. Besides not crashing:
//  - CobolCompare is antisymmetric and every value equals itself;
//  - a text ToDecimal reads compares equal to the number it reads as.
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/frame/locale.h"
#include "qel/global/value_compare.h"

using qel::fuzz::Check;
using qel::fuzz::Try;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool locale_set = [] {
    qel::SetThreadLocale("es_CL.UTF-8");
    return true;
  }();
  (void)locale_set;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t cut = input.find('\n');
  const qel::Variant a(qel::FromUtf8(input.substr(0, cut)));
  const qel::Variant b(cut == std::string_view::npos ? qel::Text()
                                                     : qel::FromUtf8(input.substr(cut + 1)));
  Try([&] { Check(qel::CobolCompare(a, a) == 0); });
  Try([&] {
    const int32_t ab = qel::CobolCompare(a, b);
    Check(qel::CobolCompare(b, a) == -ab);
  });
  Try([&] {
    const qel::Decimal d = qel::ToDecimal(a);
    Check(qel::CobolCompare(qel::Variant(d), a) == 0);
    Check(qel::ToDecimal(qel::Variant(d)) == d);
  });
  return 0;
}
