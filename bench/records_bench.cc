// Records: the link-record cycle on the shared 40-field layout, beside two baselines.
//
// Workloads:
//   Floor                 copying the serialised record text into a new string
//   SerializeUnSerialize  Serialize, then UnSerialize into a second record (no field access)
//   SerializeUnSerializeAtLevel  the same with the unit scans forced to each level
//   Serialize             Serialize alone
//   UnSerialize           UnSerialize alone, of a text made once
//   FillSerialize         every field and occurrence set through Value, then Serialize
//   UnSerializeRead       UnSerialize, then every field and occurrence read through Value
//   Cycle                 FillSerialize followed by UnSerializeRead
//   HandCycle             the same cycle written by hand: snprintf into a char record, a
//                         header in front, then strtod/strtol/memcpy back out of the slots
//   Clone                 QelRecord::Clone
// The header carries two labels; the data is the layout's 804 characters.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_layout.h"
#include "frame/unit_scan_testing.h"
#include "qel/fields/field_types.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/records/qel_record.h"

namespace {

using qel::Text;
using qel::Variant;

// A typical value for a field of that type and size.
Variant SampleValue(const qel::QelRecordField& f) {
  const int32_t integer_digits = f.Length() - f.Precision();
  std::string digits = std::string("123456789012345").substr(0, integer_digits - 1);
  if (digits.empty()) digits = "0";
  auto number = *qel::Decimal::FromDigits(digits + std::string(f.Precision(), '5'),
                                          -f.Precision(), false);
  switch (f.DataType()) {
    case qel::qelTypeNumeric:
      return number;
    case qel::qelTypeSigned:
      return -number;
    case qel::qelTypeDate:
      return *qel::MakeDate({2006, 3, 15});
    case qel::qelTypeRut:
      return f.Length() >= 10 ? Variant(u"12345678-5") : Variant(u"1234567-4");
    default:
      return Variant(u"Texto de prueba");
  }
}

struct Fixture {
  std::shared_ptr<qel::QelRecord> record = std::make_shared<qel::QelRecord>();
  std::shared_ptr<qel::QelRecord> other = std::make_shared<qel::QelRecord>();
  std::vector<std::pair<std::shared_ptr<qel::QelRecordField>, Variant>> values;

  Fixture() {
    qel::SetThreadLocale("es_CL.UTF-8");
    record->SetLayout(qel::bench::BenchLayout().text);
    other->SetLayout(record->Layout());
    record->SetOpCode(qel::qelOpcodeHostTransaction);
    record->Labels()->SetValue(qel::qelLabelUserName, u"operador");
    record->Labels()->SetValue(qel::qelLabelTranName, u"BENCH");
    for (const auto& f : *record->Fields()) {
      if (f->DataType() == qel::qelTypeList || f->DataType() == qel::qelTypeListEnd) continue;
      values.emplace_back(f, SampleValue(*f));
    }
    Fill();
  }
  void Fill() {
    for (auto& [f, v] : values) {
      for (int32_t i = 1; i <= f->Occurrences(); ++i) f->SetValue(v, i);
    }
  }
  void ReadAll(const qel::QelRecord& r) {
    for (const auto& f : *r.Fields()) {
      if (f->DataType() == qel::qelTypeList || f->DataType() == qel::qelTypeListEnd) continue;
      for (int32_t i = 1; i <= f->Occurrences(); ++i) benchmark::DoNotOptimize(f->Value(i));
    }
  }
};

Fixture& F() {
  static Fixture f;
  return f;
}

void BM_Floor(benchmark::State& state) {
  const Text text = F().record->Serialize();
  for (auto _ : state) {
    Text copy = text;
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Floor);

void BM_SerializeUnSerialize(benchmark::State& state) {
  auto& f = F();
  for (auto _ : state) f.other->UnSerialize(f.record->Serialize());
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SerializeUnSerialize);

// The pair with the unit scans forced to one level: 0 plain, 1 SSE2, 2 AVX2, 3 AVX-512.
void BM_SerializeUnSerializeAtLevel(benchmark::State& state) {
  const auto level = static_cast<qel::internal::ScanLevel>(state.range(0));
  const auto levels = qel::internal::ForTestingScanLevels();
  if (std::find(levels.begin(), levels.end(), level) == levels.end()) {
    state.SkipWithError("level not run by this processor");
    return;
  }
  qel::internal::ForTestingScopedScanLevel forced(level);
  auto& f = F();
  for (auto _ : state) f.other->UnSerialize(f.record->Serialize());
  state.SetItemsProcessed(state.iterations());
  state.SetLabel(qel::internal::ForTestingScanLevelName(level));
}
BENCHMARK(BM_SerializeUnSerializeAtLevel)->DenseRange(0, 3);

// The two halves of the pair, apart.
void BM_Serialize(benchmark::State& state) {
  auto& f = F();
  for (auto _ : state) benchmark::DoNotOptimize(f.record->Serialize());
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Serialize);

void BM_UnSerialize(benchmark::State& state) {
  auto& f = F();
  const Text text = f.record->Serialize();
  for (auto _ : state) f.other->UnSerialize(text);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_UnSerialize);

void BM_FillSerialize(benchmark::State& state) {
  auto& f = F();
  for (auto _ : state) {
    f.Fill();
    benchmark::DoNotOptimize(f.record->Serialize());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FillSerialize);

void BM_UnSerializeRead(benchmark::State& state) {
  auto& f = F();
  const Text text = f.record->Serialize();
  for (auto _ : state) {
    f.other->UnSerialize(text);
    f.ReadAll(*f.other);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_UnSerializeRead);

void BM_Cycle(benchmark::State& state) {
  auto& f = F();
  for (auto _ : state) {
    f.Fill();
    f.other->UnSerialize(f.record->Serialize());
    f.ReadAll(*f.other);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Cycle);

void BM_Clone(benchmark::State& state) {
  auto& f = F();
  for (auto _ : state) benchmark::DoNotOptimize(f.record->Clone());
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Clone);

// ---- The same cycle by hand ---------------------------------------------------------------

struct HandSlot {
  int32_t offset, width, precision, type;
  double number;    // numeric and signed
  std::string text;  // text, alpha, RUT digits + check
  int y, m, d;       // dates
};

std::vector<HandSlot> HandSlots() {
  std::vector<HandSlot> slots;
  const auto group = F().record->Fields()->Item(u"ITEMS");
  const int32_t body = group->Length() / group->Dimensions();
  for (const auto& [field, value] : F().values) {
    for (int32_t i = 1; i <= field->Occurrences(); ++i) {
      HandSlot s{};
      s.offset = field->Start() - 1 + (i - 1) * (field->InList() ? body : 0);
      s.width = field->Length();
      s.precision = field->Precision();
      s.type = field->DataType();
      if (value.IsNumeric()) s.number = qel::CDbl(value);
      if (value.Is<qel::Date>()) s.y = 2006, s.m = 3, s.d = 15;
      if (value.IsText()) s.text = qel::ToUtf8(value.Get<Text>());
      if (s.type == qel::qelTypeRut) s.text = s.width >= 10 ? "0123456785" : "01234567" "4";
      slots.push_back(s);
    }
  }
  return slots;
}

void HandWrite(const HandSlot& s, char* rec) {
  char buf[64];
  char* out = rec + s.offset;
  switch (s.type) {
    case qel::qelTypeNumeric:
    case qel::qelTypeSigned: {
      const double scaled = std::trunc(std::fabs(s.number) * std::pow(10.0, s.precision));
      std::snprintf(buf, sizeof buf, "%0*.0f", s.width, scaled);
      std::memcpy(out, buf + std::strlen(buf) - s.width, s.width);
      if (s.number < 0) {
        char& last = out[s.width - 1];
        last = last == '0' ? '}' : static_cast<char>(last + 25);
      }
      break;
    }
    case qel::qelTypeDate:
      std::snprintf(buf, sizeof buf, "%04d%02d%02d", s.y, s.m, s.d);
      std::memcpy(out, buf + 8 - s.width, s.width);
      break;
    default:
      std::snprintf(buf, sizeof buf, "%-*.*s", s.width, s.width, s.text.c_str());
      std::memcpy(out, buf, s.width);
  }
}

void HandRead(const HandSlot& s, const char* rec) {
  char buf[64];
  std::memcpy(buf, rec + s.offset, s.width);
  buf[s.width] = 0;
  switch (s.type) {
    case qel::qelTypeNumeric:
    case qel::qelTypeSigned: {
      char& last = buf[s.width - 1];
      bool negative = false;
      if (last == '}') {
        last = '0', negative = true;
      } else if (last >= 'J' && last <= 'R') {
        last = static_cast<char>(last - 25), negative = true;
      }
      double v = std::strtod(buf, nullptr) / std::pow(10.0, s.precision);
      benchmark::DoNotOptimize(negative ? -v : v);
      break;
    }
    case qel::qelTypeDate:
    case qel::qelTypeRut:
      benchmark::DoNotOptimize(std::strtol(buf, nullptr, 10));
      break;
    default: {
      int n = s.width;
      while (n > 0 && buf[n - 1] == ' ') --n;
      benchmark::DoNotOptimize(std::string(buf, n));
    }
  }
}

void BM_HandCycle(benchmark::State& state) {
  const std::vector<HandSlot> slots = HandSlots();
  const size_t length = static_cast<size_t>(F().record->Length());
  std::string record(length, ' ');
  const std::string header = "!9\x1c" "6operador\x1c" "TBENCH\x1d" "       ";
  for (auto _ : state) {
    for (const auto& s : slots) HandWrite(s, record.data());
    size_t n = record.size();
    while (n > 0 && record[n - 1] == ' ') --n;
    std::string message = header;
    message.append(record, 0, n);
    std::string received(message, header.size());
    received.resize(length, ' ');
    for (const auto& s : slots) HandRead(s, received.data());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_HandCycle);

}  // namespace

BENCHMARK_MAIN();
