// UnSerialize of any text loads it or raises, never leaving data behind a failure. A loaded
// message whose label values hold neither FS nor GS and whose data holds no FS (what the link
// text can carry) must serialise again to a text that loads to the same header, labels and
// data. (The grammar's reference model is checked in link_record_test.cc.)
#include <cstdlib>
#include <string_view>

#include "fuzz_records.h"
#include "qel/frame/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto record = qel::fuzzing::SampleRecord();
  static const auto again = qel::fuzzing::SampleRecord();
  // Bytes as Windows-1252 keep every character code 0..255 reachable, FS and GS included.
  const qel::Text text = qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!qel::fuzzing::LoadsAndRoundTrips(*record, *again, text)) return 0;
  for (int32_t i = 1; i <= record->Fields()->Count(); ++i) {
    try {
      record->Fields()->Item(i)->Value(1);
    } catch (const qel::Error&) {
    }
  }
  return 0;
}
