// Fields: layout assignment and per-type slot reads and writes, beside hand-written code.
//
// The layout has 40 descriptor lines of every type, with a repeated group of 10 occurrences
// (8 member fields between its list begin and list end), 804 characters in all.
//
// Workloads:
//   AssignLayout/first      QelRecordFields.Layout let of a text the thread has not verified
//                           (parse, place, digest, build fields)
//   AssignLayout/verified   the same text again (recognised: only the fields are built)
//   BuildFields             making the 40 fields from their descriptor lines, nothing else
//   LayoutDigest            the MD5 digest of the layout alone
//   ValueLet/<type>         QelRecordField::SetValue with a typical value
//   ValueGet/<type>         QelRecordField::Value of that slot
//   HandLet/<type>          the same slot written by snprintf into a char buffer
//   HandGet/<type>          the same slot read back by strtod/strtol
// Types: text (X:20), numeric (N:12.2), signed (S:9.2, a negative value), date (D:8),
// rut (R:10.1), list (N:6 inside the group, occurrence 7).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fields/qel_record_field_internal.h"
#include "bench_layout.h"
#include "fields/qel_record_fields_internal.h"
#include "qel/fields/layout_digest.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/fields/rut.h"
#include "qel/frame/date.h"
#include "qel/frame/locale.h"

namespace {

using qel::Text;
using qel::TextView;
using qel::Variant;

const qel::bench::Layout& L() { return qel::bench::BenchLayout(); }

void Setup() {
  static const bool once = (qel::SetThreadLocale("es_CL.UTF-8"), true);
  (void)once;
}

void BM_AssignLayout_first(benchmark::State& state) {
  Setup();
  qel::QelRecordFields fields;
  for (auto _ : state) {
    qel::internal::ForgetVerifiedLayoutsForTesting();
    fields.SetLayout(L().text);
  }
}
BENCHMARK(BM_AssignLayout_first);

void BM_AssignLayout_verified(benchmark::State& state) {
  Setup();
  qel::QelRecordFields fields;
  fields.SetLayout(L().text);
  for (auto _ : state) fields.SetLayout(L().text);
}
BENCHMARK(BM_AssignLayout_verified);

void BM_BuildFields(benchmark::State& state) {
  Setup();
  auto data = std::make_shared<qel::QelRecordData>();
  std::vector<std::shared_ptr<qel::QelRecordField>> fields;
  for (auto _ : state) {
    fields.clear();
    for (const auto& l : L().lines) fields.push_back(qel::QelRecordFieldInternal::Make(l, data));
    benchmark::DoNotOptimize(fields.data());
  }
}
BENCHMARK(BM_BuildFields);

void BM_LayoutDigest(benchmark::State& state) {
  std::vector<TextView> views(L().lines.begin(), L().lines.end());
  for (auto _ : state) benchmark::DoNotOptimize(qel::LayoutDigest(u"BENCH", views, L().total));
}
BENCHMARK(BM_LayoutDigest);

// ---- Per-type slots -----------------------------------------------------------------------

enum Kind { kText, kNumeric, kSigned, kDate, kRut, kList };
const char* kKindNames[] = {"text", "numeric", "signed", "date", "rut", "list"};

struct Slots {
  qel::QelRecordFields fields;
  std::shared_ptr<qel::QelRecordField> field[6];
  int32_t index[6] = {1, 1, 1, 1, 1, 7};
  Variant value[6];

  Slots() {
    Setup();
    fields.SetLayout(L().text);
    const char16_t* names[] = {u"F0", u"F2", u"F3", u"F4", u"F5", u"I1"};
    for (int k = 0; k < 6; ++k) field[k] = fields.Item(names[k]);
    value[kText] = Variant(u"CLIENTE DE PRUEBA");
    value[kNumeric] = Variant(*qel::Decimal::FromDigits("123456789", -2, false));
    value[kSigned] = Variant(*qel::Decimal::FromDigits("1234567", -2, true));
    value[kDate] = Variant(*qel::MakeDate({2006, 3, 15}));
    value[kRut] = Variant(u"12.345.678-5");
    value[kList] = Variant(int32_t{4321});
    for (int k = 0; k < 6; ++k) field[k]->SetValue(value[k], index[k]);
  }
};

Slots& S() {
  static Slots slots;
  return slots;
}

void BM_ValueLet(benchmark::State& state) {
  const auto k = static_cast<Kind>(state.range(0));
  auto& s = S();
  state.SetLabel(kKindNames[k]);
  for (auto _ : state) s.field[k]->SetValue(s.value[k], s.index[k]);
}
BENCHMARK(BM_ValueLet)->DenseRange(0, 5);

void BM_ValueGet(benchmark::State& state) {
  const auto k = static_cast<Kind>(state.range(0));
  auto& s = S();
  state.SetLabel(kKindNames[k]);
  for (auto _ : state) benchmark::DoNotOptimize(s.field[k]->Value(s.index[k]));
}
BENCHMARK(BM_ValueGet)->DenseRange(0, 5);

// Hand-written: the same slots in a char record, by snprintf and strtod/strtol.
struct Hand {
  char record[512];
  const char* text = "CLIENTE DE PRUEBA";
  double numeric = 1234567.89;
  double negative = -12345.67;
  int year = 2006, month = 3, day = 15;
  const char* rut = "12.345.678-5";
  long list = 4321;

  Hand() { std::memset(record, ' ', sizeof record); }

  void Let(Kind k) {
    char buf[64];
    switch (k) {
      case kText: {
        const size_t n = std::min<size_t>(std::strlen(text), 20);
        std::memcpy(record, text, n);
        std::memset(record + n, ' ', 20 - n);
        break;
      }
      case kNumeric:
        std::snprintf(buf, sizeof buf, "%012lld", static_cast<long long>(numeric * 100));
        std::memcpy(record + 28, buf, 12);
        break;
      case kSigned: {
        std::snprintf(buf, sizeof buf, "%09lld", static_cast<long long>(-negative * 100));
        buf[8] = static_cast<char>(buf[8] | 0x80);
        std::memcpy(record + 40, buf, 9);
        break;
      }
      case kDate:
        std::snprintf(buf, sizeof buf, "%04d%02d%02d", year, month, day);
        std::memcpy(record + 49, buf, 8);
        break;
      case kRut: {
        long long digits = 0;
        const char* p = rut;
        for (; *p && *p != '-'; ++p) {
          if (*p >= '0' && *p <= '9') digits = digits * 10 + (*p - '0');
        }
        std::snprintf(buf, sizeof buf, "%09lld%c", digits, *p ? p[1] : '?');
        std::memcpy(record + 57, buf, 10);
        break;
      }
      case kList:
        std::snprintf(buf, sizeof buf, "%06ld", list);
        std::memcpy(record + 300, buf, 6);
        break;
    }
  }

  void Get(Kind k, benchmark::State&) {
    char buf[64];
    switch (k) {
      case kText: {
        size_t n = 20;
        while (n > 0 && record[n - 1] == ' ') --n;
        std::string s(record, n);
        benchmark::DoNotOptimize(s);
        break;
      }
      case kNumeric:
        std::memcpy(buf, record + 28, 12);
        buf[12] = 0;
        benchmark::DoNotOptimize(std::strtod(buf, nullptr) / 100);
        break;
      case kSigned: {
        std::memcpy(buf, record + 40, 9);
        buf[9] = 0;
        const bool neg = (buf[8] & 0x80) != 0;
        buf[8] = static_cast<char>(buf[8] & 0x7F);
        const double v = std::strtod(buf, nullptr) / 100;
        benchmark::DoNotOptimize(neg ? -v : v);
        break;
      }
      case kDate: {
        std::memcpy(buf, record + 49, 8);
        buf[8] = 0;
        const long ymd = std::strtol(buf, nullptr, 10);
        benchmark::DoNotOptimize(ymd / 10000 + ymd / 100 % 100 + ymd % 100);
        break;
      }
      case kRut: {
        std::memcpy(buf, record + 57, 9);
        buf[9] = 0;
        char out[32];
        std::snprintf(out, sizeof out, "%lld-%c", std::strtoll(buf, nullptr, 10), record[66]);
        benchmark::DoNotOptimize(out);
        break;
      }
      case kList:
        std::memcpy(buf, record + 300, 6);
        buf[6] = 0;
        benchmark::DoNotOptimize(std::strtol(buf, nullptr, 10));
        break;
    }
  }
};

void BM_HandLet(benchmark::State& state) {
  const auto k = static_cast<Kind>(state.range(0));
  Hand h;
  state.SetLabel(kKindNames[k]);
  for (auto _ : state) {
    h.Let(k);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_HandLet)->DenseRange(0, 5);

void BM_HandGet(benchmark::State& state) {
  const auto k = static_cast<Kind>(state.range(0));
  Hand h;
  for (int i = 0; i < 6; ++i) h.Let(static_cast<Kind>(i));
  state.SetLabel(kKindNames[k]);
  for (auto _ : state) h.Get(k, state);
}
BENCHMARK(BM_HandGet)->DenseRange(0, 5);

}  // namespace

BENCHMARK_MAIN();
