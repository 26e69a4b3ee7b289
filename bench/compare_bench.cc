// Comparison of field values the way host record programs compare them.
//
// Workloads (the thread's locale and QelGlobal under es_CL):
//   QelCompareNumeric       QelCompare of an N:12.2 field holding 1234.5 against "1.234,50"
//   CobolCompareTexts       CobolCompare of "CLIENTE 0042   " and "CLIENTE 0042" (equal after
//                           trailing blanks are dropped)
//   CobolCompareNumberText  CobolCompare of the number 1234.5 and the text "1.234,50"
// items_per_second is comparisons per second.
#include <benchmark/benchmark.h>

#include "fields/qel_record_field_internal.h"
#include "qel/frame/convert.h"
#include "qel/frame/locale.h"
#include "qel/global/value_compare.h"

namespace {

using qel::Variant;

void PinLocale() {
  qel::SetThreadLocale("es_CL.UTF-8");
  qel::QelGlobal::Instance();  // made now, so it reads the "," decimal separator
}

void BM_QelCompareNumeric(benchmark::State& state) {
  PinLocale();
  auto field = qel::QelRecordFieldInternal::Make(u"N:12.2:MONTO",
                                                 std::make_shared<qel::QelRecordData>());
  field->SetValue(qel::CDec(Variant(u"1234,5")));
  const Variant host_text(u"1.234,50");
  for (auto _ : state) {
    benchmark::DoNotOptimize(qel::QelCompare(*field, 1, host_text));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_QelCompareNumeric);

void BM_CobolCompareTexts(benchmark::State& state) {
  PinLocale();
  const Variant a(u"CLIENTE 0042   "), b(u"CLIENTE 0042");
  for (auto _ : state) {
    benchmark::DoNotOptimize(qel::CobolCompare(a, b));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_CobolCompareTexts);

void BM_CobolCompareNumberText(benchmark::State& state) {
  PinLocale();
  const Variant a(1234.5), b(u"1.234,50");
  for (auto _ : state) {
    benchmark::DoNotOptimize(qel::CobolCompare(a, b));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_CobolCompareNumberText);

}  // namespace

BENCHMARK_MAIN();
