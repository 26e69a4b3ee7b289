// Conversions against the standard library's nearest routines, same inputs, same run.
//
// Workloads (each over a fixed set of 1024 generated values):
//   TextToDecimal      qel::ParseDecimal of "1.234.567,89"-style text   vs std::from_chars(double)
//   DecimalToText      qel::Decimal::ToText                            vs std::to_chars(double)
//   TextToDate         qel::ParseDate of "dd-mm-yyyy"                  vs three std::from_chars(int)
//   DoubleToText       qel::CStr(double), 15 significant digits         vs std::to_chars(double)
#include <benchmark/benchmark.h>

#include <charconv>
#include <random>
#include <string>
#include <vector>

#include "qel/frame/convert.h"

namespace {

constexpr int kValues = 1024;

struct Inputs {
  std::vector<qel::Text> number_texts;      // es_CL style, with grouping
  std::vector<std::string> number_ascii;    // the same numbers for from_chars
  std::vector<qel::Decimal> decimals;
  std::vector<double> doubles;
  std::vector<qel::Text> date_texts;
  std::vector<std::string> date_ascii;
  qel::LocaleInfo es;

  Inputs() {
    es = *qel::LookupLocale("es_CL.UTF-8");
    qel::SetThreadLocale("es_CL.UTF-8");
    std::mt19937_64 rng(42);
    for (int i = 0; i < kValues; ++i) {
      const int64_t cents = static_cast<int64_t>(rng() % 100000000000ULL) - 50000000000LL;
      const double d = static_cast<double>(cents) / 100;
      char buf[64];
      std::snprintf(buf, sizeof buf, "%.2f", d);
      number_ascii.emplace_back(buf);
      std::string es_text(buf);
      es_text[es_text.find('.')] = ',';
      number_texts.push_back(qel::FromUtf8(es_text));
      decimals.push_back(*qel::ParseDecimal(number_texts.back(), es));
      doubles.push_back(d * 1.000001);
      std::snprintf(buf, sizeof buf, "%02d-%02d-%04d", 1 + static_cast<int>(rng() % 28),
                    1 + static_cast<int>(rng() % 12), 1900 + static_cast<int>(rng() % 200));
      date_ascii.emplace_back(buf);
      date_texts.push_back(qel::FromUtf8(buf));
    }
  }
};

const Inputs& In() {
  static const Inputs in;
  return in;
}

void BM_TextToDecimal_qel(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(qel::ParseDecimal(in.number_texts[i++ % kValues], in.es));
  }
}
BENCHMARK(BM_TextToDecimal_qel);

void BM_TextToDecimal_CDec(benchmark::State& state) {
  const auto& in = In();
  std::vector<qel::Variant> values(in.number_texts.begin(), in.number_texts.end());
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(qel::CDec(values[i++ % kValues]));
}
BENCHMARK(BM_TextToDecimal_CDec);

void BM_TextToDecimal_from_chars(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) {
    const std::string& s = in.number_ascii[i++ % kValues];
    double d;
    benchmark::DoNotOptimize(std::from_chars(s.data(), s.data() + s.size(), d));
    benchmark::DoNotOptimize(d);
  }
}
BENCHMARK(BM_TextToDecimal_from_chars);

void BM_DecimalToText_qel(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(in.decimals[i++ % kValues].ToText(u','));
}
BENCHMARK(BM_DecimalToText_qel);

void BM_DecimalToText_to_chars(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) {
    char buf[64];
    auto r = std::to_chars(buf, buf + sizeof buf, in.doubles[i++ % kValues]);
    benchmark::DoNotOptimize(std::string(buf, r.ptr));
  }
}
BENCHMARK(BM_DecimalToText_to_chars);

void BM_TextToDate_qel(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(qel::ParseDate(in.date_texts[i++ % kValues], in.es));
}
BENCHMARK(BM_TextToDate_qel);

void BM_TextToDate_from_chars(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) {
    const std::string& s = in.date_ascii[i++ % kValues];
    int d, m, y;
    std::from_chars(s.data(), s.data() + 2, d);
    std::from_chars(s.data() + 3, s.data() + 5, m);
    std::from_chars(s.data() + 6, s.data() + 10, y);
    benchmark::DoNotOptimize(d + m + y);
  }
}
BENCHMARK(BM_TextToDate_from_chars);

void BM_DoubleToText_qel(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(qel::NumberToText(in.doubles[i++ % kValues], in.es));
}
BENCHMARK(BM_DoubleToText_qel);

void BM_DoubleToText_to_chars(benchmark::State& state) {
  const auto& in = In();
  size_t i = 0;
  for (auto _ : state) {
    char buf[64];
    auto r = std::to_chars(buf, buf + sizeof buf, in.doubles[i++ % kValues]);
    benchmark::DoNotOptimize(std::string(buf, r.ptr));
  }
}
BENCHMARK(BM_DoubleToText_to_chars);

}  // namespace

BENCHMARK_MAIN();
