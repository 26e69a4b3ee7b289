// Display-format patterns: a number pattern for FormatNumber and a date pattern for a date
// field's Text, both taken from the input after a 17-byte number (mantissa, scale, sign).
// Besides not crashing, the output grows at most linearly with the pattern.
#include <cstring>
#include <string_view>

#include "fields/qel_record_field_internal.h"
#include "fuzz_helpers.h"
#include "qel/frame/date.h"
#include "qel/frame/number_format.h"

using qel::fuzz::Check;
using qel::fuzz::Try;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 17) return 0;
  uint64_t parts[2];
  std::memcpy(parts, data, sizeof parts);
  const qel::uint128 mantissa =
      ((static_cast<qel::uint128>(parts[1] & 0xFFFFFFFF) << 64) | parts[0]);
  const int scale = data[16] % 29;
  const bool negative = (data[16] & 0x80) != 0;
  const qel::Decimal value = qel::Decimal::FromParts(mantissa, scale, negative);
  const qel::Text pattern = qel::FromUtf8(
      std::string_view(reinterpret_cast<const char*>(data) + 17, size - 17));
  static const auto es = *qel::LookupLocale("es_CL.UTF-8");
  static const auto us = *qel::LookupLocale("en_US.UTF-8");
  for (const qel::LocaleInfo* loc : {&es, &us}) {
    Try([&] {
      const qel::Text out = qel::FormatNumber(value, pattern, *loc);
      Check(out.size() <= 2 * pattern.size() + 64);
    });
  }
  static const auto date = [] {
    auto f = qel::QelRecordFieldInternal::Make(u"D:8:F", std::make_shared<qel::QelRecordData>());
    f->SetValue(*qel::MakeDate({2006, 3, 15}));
    return f;
  }();
  date->SetFormat(pattern);
  Try([&] { Check(date->Text().size() <= 4 * pattern.size() + 8); });
  return 0;
}
