// UnSerialize of any text either loads it or raises. A loaded message whose label values hold
// neither FS nor GS and whose data holds no FS (what the link text can carry) must serialise
// again to a text that loads to the same header, labels and data.
#include <cstdlib>
#include <string_view>

#include "fuzz_records.h"
#include "qel/frame/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto record = qel::fuzzing::SampleRecord();
  static const auto again = qel::fuzzing::SampleRecord();
  // Bytes as Windows-1252 keep every character code 0..255 reachable, FS and GS included.
  const qel::Text text = qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size));
  try {
    record->UnSerialize(text);
  } catch (const qel::Error&) {
    return 0;
  }
  const auto separator = [](const qel::Text& t) {
    return t.find_first_of(u"\x1C\x1D") != qel::Text::npos;
  };
  for (const auto& label : *record->Labels()) {
    if (separator(label->Value())) return 0;
  }
  if (record->Data().find(u'\x1C') != qel::Text::npos) return 0;
  const qel::Text out = record->Serialize();
  try {
    again->UnSerialize(out);
  } catch (const qel::Error&) {
    std::abort();  // what we wrote must load
  }
  if (again->Serialize() != out || again->Text() != record->Text()) std::abort();
  for (int32_t i = 1; i <= record->Fields()->Count(); ++i) {
    try {
      record->Fields()->Item(i)->Value(1);
    } catch (const qel::Error&) {
    }
  }
  return 0;
}
