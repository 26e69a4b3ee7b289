// UnSerialize of any text either loads it or raises, exactly when the reading below (the link
// text's grammar taken word for word, slowly) says it should, and to the same labels and data.
// A loaded message whose label values hold neither FS nor GS and whose data holds no FS (what
// the link text can carry) must serialise again to a text that loads to the same header,
// labels and data.
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz_records.h"
#include "qel/frame/error.h"

namespace {

struct Reading {
  std::vector<std::pair<int32_t, qel::Text>> labels;
  qel::Text data;  // before padding
};

// Nothing when the text must be refused.
std::optional<Reading> Read(qel::TextView t) {
  constexpr char16_t kFS = 28, kGS = 29;
  if (t.size() < 2) return std::nullopt;
  Reading r;
  size_t pos = 2;
  while (pos < t.size() && t[pos] == kFS) {
    if (pos + 1 >= t.size()) return std::nullopt;
    const int32_t code = 65536 + t[pos + 1];
    pos += 2;
    size_t end = t.find(kFS, pos);  // FS first, however far
    if (end == t.npos) end = t.find(kGS, pos);
    if (end == t.npos) end = t.size();
    const qel::TextView value = t.substr(pos, end - pos);
    pos = end;
    if (value.empty()) continue;
    if (code == 65536) return std::nullopt;  // no label has code 0
    for (const auto& [c, v] : r.labels) {
      if (c == code) return std::nullopt;
    }
    r.labels.emplace_back(code, qel::Text(value));
  }
  if (pos < t.size() && t[pos] == kGS) {
    if (t.size() - pos < 8) return std::nullopt;
    r.data = qel::Text(t.substr(pos + 8));
  }
  return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto record = qel::fuzzing::SampleRecord();
  static const auto again = qel::fuzzing::SampleRecord();
  // Bytes as Windows-1252 keep every character code 0..255 reachable, FS and GS included.
  const qel::Text text = qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size));
  const std::optional<Reading> expected = Read(text);
  try {
    record->UnSerialize(text);
  } catch (const qel::Error&) {
    if (expected) std::abort();
    if (!record->Data().empty()) std::abort();
    return 0;
  }
  if (!expected) std::abort();
  if (record->Labels()->Count() != static_cast<int32_t>(expected->labels.size())) std::abort();
  for (size_t i = 0; i < expected->labels.size(); ++i) {
    const auto& label = record->Labels()->Item(static_cast<int32_t>(i + 1));
    if (label->Code() != expected->labels[i].first) std::abort();
    if (label->Value() != expected->labels[i].second) std::abort();
  }
  if (record->Data().substr(0, expected->data.size()) != expected->data) std::abort();
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
