// The formula evaluator on a 40-field record (the shape of the shared benchmark layout, with
// readable names for the fields the expressions use).
//
// Workloads:
//   Simple       "AMOUNT > 0 AND $Trim(NAME) <> ''"
//   FiveClauses  a condition of five clauses with $IIf and a list occurrence
//   Formulas     "@A", where A refers to B and B to C (three formulas deep)
//   TextOrder    "$Trim(NAME) > 'Cafe' AND CODE < 'b'", texts ordered by the locale's
//                collation
#include <benchmark/benchmark.h>

#include <string>

#include "qel/fields/field_types.h"
#include "qel/frame/convert.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_record.h"

namespace {

std::shared_ptr<qel::QelRecord> MakeRecord() {
  qel::SetThreadLocale("es_CL.UTF-8");
  auto r = std::make_shared<qel::QelRecord>();
  r->DefLayout(u"EVAL");
  const char16_t* names[] = {u"NAME", u"CODE", u"AMOUNT", u"BALANCE", u"DUE", u"RUT", u"COUNT",
                             u"SINCE"};
  const int32_t types[] = {qel::qelTypeText, qel::qelTypeAlpha, qel::qelTypeNumeric,
                           qel::qelTypeSigned, qel::qelTypeDate, qel::qelTypeRut,
                           qel::qelTypeNumeric, qel::qelTypeDate};
  const int32_t lengths[] = {20, 8, 12, 9, 8, 10, 6, 6};
  const int32_t precisions[] = {0, 0, 2, 2, 0, 1, 0, 0};
  for (int i = 0; i < 30; ++i) {
    const qel::Text name = i < 8 ? qel::Text(names[i]) : u"F" + qel::FromUtf8(std::to_string(i));
    r->AddField(name, types[i % 8], lengths[i % 8], precisions[i % 8]);
  }
  r->AddField(u"ITEMS", qel::qelTypeList, 10);
  r->AddField(u"ITEM", qel::qelTypeText, 10);
  for (int i = 1; i < 8; ++i) {
    r->AddField(u"I" + qel::FromUtf8(std::to_string(i)), qel::qelTypeNumeric, 5);
  }
  r->AddField(u"ITEMS", qel::qelTypeListEnd, 0);
  r->EndLayout(true);
  auto f = r->Fields();
  f->Item(u"NAME")->SetValue(u"  Comercial  ");
  f->Item(u"CODE")->SetValue(u"A");
  f->Item(u"AMOUNT")->SetValue(1500);
  f->Item(u"BALANCE")->SetValue(-20);
  f->Item(u"ITEM")->SetValue(u"X-3", 3);
  return r;
}

void Run(benchmark::State& state, const char16_t* expression,
         const std::shared_ptr<qel::QelProps>& formulas = nullptr) {
  auto r = MakeRecord();
  if (!qel::CBool(r->Eval(expression, formulas))) state.SkipWithError("expression is false");
  for (auto _ : state) benchmark::DoNotOptimize(r->Eval(expression, formulas));
  state.SetItemsProcessed(state.iterations());
}

void BM_Simple(benchmark::State& state) { Run(state, u"AMOUNT > 0 AND $Trim(NAME) <> ''"); }
BENCHMARK(BM_Simple);

void BM_FiveClauses(benchmark::State& state) {
  Run(state,
      u"AMOUNT >= 1000 AND BALANCE < 0 AND $IIf(CODE = 'A', 'Alta', 'Baja') = 'Alta' "
      u"AND ITEM(3) <> '' AND NOT $IsNull(NAME)");
}
BENCHMARK(BM_FiveClauses);

void BM_Formulas(benchmark::State& state) {
  auto formulas = std::make_shared<qel::QelProps>();
  formulas->SetValue(u"A", u"@B AND CODE = 'A'");
  formulas->SetValue(u"B", u"@C OR BALANCE > 0");
  formulas->SetValue(u"C", u"AMOUNT > 0");
  Run(state, u"@A", formulas);
}
BENCHMARK(BM_Formulas);

void BM_TextOrder(benchmark::State& state) { Run(state, u"$Trim(NAME) > 'Cafe' AND CODE < 'b'"); }
BENCHMARK(BM_TextOrder);

}  // namespace

BENCHMARK_MAIN();
