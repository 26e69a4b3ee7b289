// Property bags: reading and writing the bag text against JSON libraries on the same content,
// and lookups by name.
//
// Workloads:
//   PropsParse/Compact  QelProps::LoadFromText of the compact text of the generated bag
//   PropsParse/Indented the same for the indented text
//   PropsParseBytes     QelProps::LoadFromBytes of the compact text as Windows-1252 bytes
//   PropsWrite/Compact  QelProps::ToText(qelFormatNormal) of the generated bag
//   PropsWrite/Indented QelProps::ToText(qelFormatIndented)
//   RapidJsonParse      rapidjson::Document::Parse of the same content as JSON (DOM)
//   RapidJsonWrite      rapidjson::Writer of that document
//   NlohmannParse       nlohmann::json::parse of the JSON text
//   NlohmannWrite       nlohmann::json::dump
//   PropsItem/N         QelProps::Item by name on a flat bag of N properties (10, 1,000 and
//                       100,000), in random order
//
// The generated bag: 500 bags at the top, each with 10 scalars and 10 bags of 18 scalars, so
// 100,500 properties in three levels. Scalars cycle through Long, String, Double, Date,
// Currency, Boolean, Decimal, Integer and Null. The JSON holds the same names and values (numbers
// as numbers, dates as ISO text, Null as null). Bytes per second count characters of the text
// read or written (the texts are ASCII, so characters and UTF-8 bytes agree).
#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "qel/frame/date.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"
#include "rapidjson/document.h"
#include "rapidjson/stringbuffer.h"
#include "rapidjson/writer.h"

namespace {

using qel::QelProps;
using qel::Text;
using qel::Variant;

constexpr int kTop = 500, kScalars = 10, kNested = 10, kLeaves = 18;

struct Scalar {
  Variant value;
  nlohmann::json json;
};

Scalar MakeScalar(std::mt19937& rng, int i) {
  const int32_t n = static_cast<int32_t>(rng() % 2000000) - 1000000;
  switch (i % 9) {
    case 0:
      return {Variant(n), n};
    case 1: {
      std::string s =
          "value " + std::to_string(n) + " of the record for the customer account, as typed";
      return {Variant(qel::FromUtf8(s)), s};
    }
    case 2: {
      const double d = n / 7.0;
      return {Variant(d), d};
    }
    case 3: {
      const int day = 1 + static_cast<int>(rng() % 28), month = 1 + static_cast<int>(rng() % 12);
      const int year = 1950 + static_cast<int>(rng() % 80);
      char iso[16];
      std::snprintf(iso, sizeof iso, "%04d-%02d-%02d", year, month, day);
      return {Variant(*qel::MakeDate({year, month, day})), std::string(iso)};
    }
    case 4:
      return {Variant(qel::Currency{int64_t{n} * 137}), n * 137 / 10000.0};
    case 5:
      return {Variant(n % 2 == 0), n % 2 == 0};
    case 6:
      return {Variant(qel::Decimal::FromParts(static_cast<uint32_t>(n < 0 ? -n : n), 2, n < 0)),
              n / 100.0};
    case 7:
      return {Variant(static_cast<int16_t>(n % 30000)), n % 30000};
    default:
      return {Variant::Null(), nullptr};
  }
}

struct Workload {
  std::shared_ptr<QelProps> bag = std::make_shared<QelProps>();
  Text compact, indented;
  std::string ansi;
  std::string json;

  Workload() {
    qel::SetThreadLocale("es_CL.UTF-8");
    std::mt19937 rng(42);
    nlohmann::json root = nlohmann::json::object();
    for (int t = 0; t < kTop; ++t) {
      auto record = std::make_shared<QelProps>();
      nlohmann::json jrecord = nlohmann::json::object();
      for (int s = 0; s < kScalars; ++s) {
        const std::string name = "customer_account_field_" + std::to_string(s);
        Scalar v = MakeScalar(rng, s);
        record->SetValue(qel::FromUtf8(name), v.value);
        jrecord[name] = v.json;
      }
      for (int k = 0; k < kNested; ++k) {
        auto line = std::make_shared<QelProps>();
        nlohmann::json jline = nlohmann::json::object();
        for (int s = 0; s < kLeaves; ++s) {
          const std::string name = "order_line_item_detail_field_" + std::to_string(s);
          Scalar v = MakeScalar(rng, s + k);
          line->SetValue(qel::FromUtf8(name), v.value);
          jline[name] = v.json;
        }
        const std::string name = "line" + std::to_string(k);
        record->SetValue(qel::FromUtf8(name), line);
        jrecord[name] = jline;
      }
      const std::string name = "record" + std::to_string(t);
      bag->SetValue(qel::FromUtf8(name), record);
      root[name] = jrecord;
    }
    compact = bag->ToText(qel::qelFormatNormal);
    indented = bag->ToText(qel::qelFormatIndented);
    ansi = qel::ToAnsi(compact);
    json = root.dump();
  }
};

const Workload& Data() {
  static const Workload* w = new Workload();
  return *w;
}

void SetBytes(benchmark::State& state, size_t chars) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * chars));
}

void PropsParse(benchmark::State& state, const Text Workload::*text) {
  const Text& input = Data().*text;
  for (auto _ : state) {
    QelProps bag;
    bag.LoadFromText(input);
    benchmark::DoNotOptimize(bag.Count());
  }
  SetBytes(state, input.size());
}
BENCHMARK_CAPTURE(PropsParse, Compact, &Workload::compact)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PropsParse, Indented, &Workload::indented)->Unit(benchmark::kMillisecond);

void PropsParseBytes(benchmark::State& state) {
  const Workload& w = Data();
  const auto* bytes = reinterpret_cast<const uint8_t*>(w.ansi.data());
  for (auto _ : state) {
    QelProps bag;
    bag.LoadFromBytes(std::span(bytes, w.ansi.size()));
    benchmark::DoNotOptimize(bag.Count());
  }
  SetBytes(state, w.ansi.size());
}
BENCHMARK(PropsParseBytes)->Unit(benchmark::kMillisecond);

void PropsWrite(benchmark::State& state, int32_t format) {
  const Workload& w = Data();
  size_t size = 0;
  for (auto _ : state) {
    Text text = w.bag->ToText(format);
    size = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  SetBytes(state, size);
}
BENCHMARK_CAPTURE(PropsWrite, Compact, qel::qelFormatNormal)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PropsWrite, Indented, qel::qelFormatIndented)->Unit(benchmark::kMillisecond);

void RapidJsonParse(benchmark::State& state) {
  const Workload& w = Data();
  for (auto _ : state) {
    rapidjson::Document doc;
    doc.Parse(w.json.c_str(), w.json.size());
    benchmark::DoNotOptimize(doc.MemberCount());
  }
  SetBytes(state, w.json.size());
}
BENCHMARK(RapidJsonParse)->Unit(benchmark::kMillisecond);

void RapidJsonWrite(benchmark::State& state) {
  const Workload& w = Data();
  rapidjson::Document doc;
  doc.Parse(w.json.c_str(), w.json.size());
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    doc.Accept(writer);
    benchmark::DoNotOptimize(buffer.GetString());
  }
  SetBytes(state, w.json.size());
}
BENCHMARK(RapidJsonWrite)->Unit(benchmark::kMillisecond);

void NlohmannParse(benchmark::State& state) {
  const Workload& w = Data();
  for (auto _ : state) {
    auto j = nlohmann::json::parse(w.json);
    benchmark::DoNotOptimize(j.size());
  }
  SetBytes(state, w.json.size());
}
BENCHMARK(NlohmannParse)->Unit(benchmark::kMillisecond);

void NlohmannWrite(benchmark::State& state) {
  const Workload& w = Data();
  const auto j = nlohmann::json::parse(w.json);
  for (auto _ : state) {
    std::string text = j.dump();
    benchmark::DoNotOptimize(text.data());
  }
  SetBytes(state, w.json.size());
}
BENCHMARK(NlohmannWrite)->Unit(benchmark::kMillisecond);

void PropsItem(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  QelProps bag;
  std::vector<Variant> keys;
  for (int i = 0; i < n; ++i) {
    const Text name = u"Property" + qel::FromUtf8(std::to_string(i));
    bag.SetValue(name, i);
    keys.emplace_back(name);
  }
  std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(bag.Item(keys[i]));
    if (++i == keys.size()) i = 0;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(PropsItem)->Arg(10)->Arg(1000)->Arg(100000);

}  // namespace

int main(int argc, char** argv) {
  const Workload& w = Data();
  std::printf("bag: %d properties; compact %zu chars, indented %zu chars, JSON %zu bytes\n",
              kTop * (1 + kScalars + kNested * (1 + kLeaves)), w.compact.size(), w.indented.size(),
              w.json.size());
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
