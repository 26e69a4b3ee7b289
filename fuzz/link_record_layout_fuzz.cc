// UnSerialize into a fresh record whose layout the input declares. The first byte gives the
// number of fields (up to 15); each field takes three bytes: type (taken modulo 9, so invalid
// types occur), length and precision. Names are F0, F1, ... except that a list end takes the
// name of the last list begin. The rest of the input is the link text, as Windows-1252.
// Beyond the link target's round trip: a clone agrees with the record where the link text
// carries it, and every field and occurrence reads without crashing.
#include <cstdlib>
#include <string>
#include <string_view>

#include "fuzz_records.h"
#include "qel/frame/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const size_t fields = data[0] % 16;
  if (size < 1 + 3 * fields) return 0;
  auto record = std::make_shared<qel::QelRecord>();
  auto again = std::make_shared<qel::QelRecord>();
  try {
    record->DefLayout(u"FUZZ");
    qel::Text list = u"L";
    for (size_t i = 0; i < fields; ++i) {
      const uint8_t* f = data + 1 + 3 * i;
      const int32_t type = f[0] % 9;
      qel::Text name = qel::FromUtf8("F" + std::to_string(i));
      if (type == qel::qelTypeList) list = name;
      if (type == qel::qelTypeListEnd) name = list;
      record->AddField(name, type, f[1], qel::Variant(static_cast<int32_t>(f[2] % 8)));
    }
    record->EndLayout(true);
    again->SetLayout(record->Layout());
  } catch (const qel::Error&) {
    return 0;  // a layout the declaration refuses
  }
  const size_t head = 1 + 3 * fields;
  const qel::Text text = qel::FromAnsi(
      std::string_view(reinterpret_cast<const char*>(data + head), size - head));
  if (!qel::fuzzing::LoadsAndRoundTrips(*record, *again, text)) return 0;
  // A clone goes through the link text, so it equals the record where that text carries it.
  const auto clone = record->Clone();
  if (clone->Layout() != record->Layout()) std::abort();
  if (qel::fuzzing::LinkTextCarries(*record) && clone->Serialize() != record->Serialize()) {
    std::abort();
  }
  for (const auto& f : *record->Fields()) {
    for (int32_t i = 1; i <= f->Occurrences(); ++i) {
      try {
        f->Value(i);
        f->Text(i);
      } catch (const qel::Error&) {
      }
    }
  }
  return 0;
}
