// The typed read path of bulk exports against Value: for any record data, every field and
// occurrence reads to the same plain text through RecordTextReader as through Value, or both
// raise the same error.
#include <cstdlib>
#include <string>
#include <string_view>

#include "fuzz_records.h"
#include "records/record_text.h"
#include "records/record_text_testing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto record = qel::fuzzing::SampleRecord();
  static const qel::internal::RecordTextReader reader(record->Fields());
  // Bytes as Windows-1252, as fixed-width files are read: every character code 0..255.
  try {
    record->SetData(qel::Variant(
        qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size))));
  } catch (const qel::Error&) {
    return 0;  // data the record refuses
  }
  const auto& fields = *record->Fields();
  for (int32_t p = 1; p <= fields.Count(); ++p) {
    const auto& field = *fields.Item(qel::Variant(p));
    for (int32_t i = 1; i <= field.Occurrences(); ++i) {
      bool want_present = false;
      const std::string want = qel::internal::PlainTextForTesting(field, i, &want_present);
      std::string got;
      bool got_present = false;
      try {
        got_present = reader.Append(p, i, got);
      } catch (const qel::Error& e) {
        got = "!" + std::to_string(e.Number());
      }
      if (got != want || got_present != want_present) std::abort();
    }
  }
  return 0;
}
