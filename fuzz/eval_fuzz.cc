// Eval of any expression on a fixed record either evaluates or raises a qel::Error.
#include <string_view>

#include "fuzz_records.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto record = [] {
    auto r = qel::fuzzing::SampleRecord();
    r->UnSerialize(u"!9\x1D       ANA     0012345001234200603150123456785ABC01DEF02");
    return r;
  }();
  static const auto formulas = [] {
    auto p = std::make_shared<qel::QelProps>();
    p->SetValue(u"OK", u"AMOUNT > 0");
    p->SetValue(u"LOOP", u"@LOOP");
    p->SetValue(u"PAIR", u"@OK AND @(\"O\" )");
    return p;
  }();
  const qel::Text text = qel::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  try {
    record->Eval(text, formulas);
  } catch (const qel::Error&) {
  }
  return 0;
}
