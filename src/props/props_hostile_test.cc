// Bags from outside text, and bags built to be expensive: the cost must stay linear in what was
// given and memory bounded, whatever names, sharing or nesting the input chooses.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <random>
#include <string>

#include "frame/testing.h"
#include "props/props_testing.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace {

using testing::Dump;
using testing::ErrorOf;

// The fastest of a few runs, in seconds: the least disturbed by other work on the machine.
double FastestSeconds(const std::function<void()>& body) {
  double best = 1e9;
  for (int run = 0; run < 3; ++run) {
    const auto start = std::chrono::steady_clock::now();
    body();
    best = std::min(
        best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

// Bag text of `count` properties whose quoted names have `width` units, each unit either of
// the two given; names that differ only in bit 5 of some of their units.
Text TwoUnitNames(char16_t a, char16_t b, int width, int count) {
  Text text;
  for (int i = 0; i < count; ++i) {
    text += u'"';
    for (int bit = 0; bit < width; ++bit) text += ((i >> bit) & 1) ? b : a;
    text += u"\"=1;";
  }
  return text;
}

Text RandomNames(int width, int count) {
  std::mt19937 rng(3);
  Text text;
  for (int i = 0; i < count; ++i) {
    text += u"\"";
    for (int k = 0; k < width; ++k) text += static_cast<char16_t>(u'a' + rng() % 26);
    text += u"\"=1;";
  }
  return text;
}

TEST(PropsHostileNames, NamesDifferingOnlyInCaseBitsLoadAsFastAsRandomNames) {
  constexpr int kCount = 16384, kWidth = 14;
  // '@'/'`' and '['/'{' differ in bit 5 only and are not letters: every name is distinct.
  for (const auto& [a, b] : {std::pair{u'@', u'`'}, std::pair{u'[', u'{'}}) {
    const Text adversarial = TwoUnitNames(a, b, kWidth, kCount);
    QelProps bag;
    const double hostile = FastestSeconds([&] { bag.LoadFromText(adversarial); });
    ASSERT_EQ(bag.Count(), kCount);
    const Text random = RandomNames(kWidth, kCount);
    const double plain = FastestSeconds([&] { QelProps().LoadFromText(random); });
    // Colliding names made loading quadratic: hundreds of times slower than random names.
    EXPECT_LT(hostile, 8 * plain + 0.05) << "hostile " << hostile << " s, random " << plain;
  }
}

TEST(PropsHostileNames, LookupFoldsCaseExactlyAsNamesCompare) {
  // Pairs equal ignoring case, and pairs that differ in bit 5 only but are not case pairs.
  const std::pair<const char*, const char*> same[] = {
      {"árbol", "ÁRBOL"}, {"Ñandú", "ñANDÚ"}, {"x_1", "X_1"}, {"þ", "Þ"}};
  const std::pair<const char*, const char*> different[] = {
      {"@", "`"}, {"[", "{"}, {"×", "÷"}, {"ß", "ÿ"}};
  for (int size : {0, 40}) {  // searched one by one, and through the index
    QelProps bag;
    for (int i = 0; i < size; ++i) bag.SetValue(u"pad" + FromUtf8(std::to_string(i)), i);
    for (const auto& [stored, key] : same) {
      bag.SetValue(T(stored), 1);
      EXPECT_TRUE(bag.Exists(T(key))) << stored << " / " << key;
    }
    for (const auto& [stored, key] : different) {
      bag.SetValue(T(stored), 1);
      EXPECT_FALSE(bag.Exists(T(key))) << stored << " / " << key;
    }
  }
}

TEST(PropsHostileShape, DeepBagsBuiltThroughTheApiAreFreed) {
  // Far deeper than an 8 MB stack could follow if freeing recursed (a few frames a level).
  constexpr int kDepth = 200000;
  auto top = std::make_shared<QelProps>();
  auto* bottom = top.get();
  std::shared_ptr<QelProps> keep;
  for (int i = 0; i < kDepth; ++i) {
    auto next = std::make_shared<QelProps>();
    bottom->SetValue(u"n", next);
    bottom->SetValue(u"i", i);
    bottom = next.get();
    if (i == kDepth / 2) keep = next;  // a nested bag still in use elsewhere survives
  }
  EXPECT_EQ(ErrorOf([&] { top->ToText(); }), "28|QelStd1|Espacio de pila insuficiente");
  top.reset();
  ASSERT_EQ(keep->Count(), 2);
  EXPECT_EQ(keep->Value(u"i"), Variant(kDepth / 2 + 1));
  keep.reset();
}

// Level i holds a and b, both the bag of level i + 1: 2^40 paths to the bottom bag.
std::shared_ptr<QelProps> SharedLevels(int levels, int32_t leaf) {
  auto bag = std::make_shared<QelProps>();
  bag->SetValue(u"leaf", leaf);
  for (int i = 0; i < levels; ++i) {
    auto up = std::make_shared<QelProps>();
    up->SetValue(u"a", bag);
    up->SetValue(u"b", bag);
    bag = up;
  }
  return bag;
}

TEST(PropsHostileShape, SharedBagsStopWritingAtTheTextLimit) {
  const auto bag = SharedLevels(40, 1);
  const std::string limit = std::to_string(QelProps::kMaxTextUnits);
  for (int32_t format : {qelFormatNormal, qelFormatIndented, qelFormatPostData}) {
    EXPECT_EQ(ErrorOf([&] { bag->ToText(format); }),
              "-2147024809|QelProps.ToText|El texto de la bolsa supera el máximo de " + limit +
                  " caracteres")
        << format;
  }
  EXPECT_EQ(ErrorOf([&] { bag->Clone(); }).substr(0, 28), "-2147024809|QelProps.ToText|");
  // A few levels write in full.
  EXPECT_EQ(SharedLevels(2, 7)->ToText(), u"a=[a=[leaf=7];b=[leaf=7]];b=[a=[leaf=7];b=[leaf=7]]");
}

TEST(PropsHostileShape, MergingSharedBagsVisitsEachPairOnce) {
  const auto target = SharedLevels(40, 1);
  const auto source = SharedLevels(40, 2);
  source->SetValue(u"top", 3);
  target->Merge(source);  // 2^40 paths: this returns only if shared pairs are merged once
  auto bottom = target;
  for (int i = 0; i < 40; ++i) bottom = bottom->Item(i % 2 ? u"a" : u"b")->Props();
  EXPECT_EQ(Dump(*bottom), "leaf(3)=2");
  EXPECT_EQ(target->Value(u"top"), Variant(3));
}

// ---- HTTP header blocks -------------------------------------------------------------------

std::string HeaderLines(int count, bool repeated, bool folded) {
  const std::string value(400, 'v');
  std::string block = "HTTP/1.1 200 OK\r\n";
  for (int i = 0; i < count; ++i) {
    if (folded && i > 0) {
      block += "\t" + value + "\r\n";
    } else {
      const std::string name = repeated || folded ? "X" : "X" + std::to_string(i);
      block += name + ": " + value + "\r\n";
    }
  }
  return block;
}

TEST(PropsHostileHttp, RepeatedAndFoldedHeadersCostTheirLength) {
  constexpr int kLines = 9000;
  const Text distinct = FromAnsi(HeaderLines(kLines, false, false));
  QelProps bag;
  const double plain = FastestSeconds([&] { bag.LoadFromHttp(distinct); });
  EXPECT_EQ(bag.Count(), kLines + 4);
  for (bool folded : {false, true}) {
    const Text block = FromAnsi(HeaderLines(kLines, !folded, folded));
    const double joined = FastestSeconds([&] { bag.LoadFromHttp(block); });
    ASSERT_EQ(bag.Count(), 5);
    // 400 units a line, joined by ", " or " ".
    EXPECT_EQ(bag.Value(u"X").Get<Text>().size(), kLines * 402 - 2 + (folded ? -kLines + 1 : 0));
    // Copying the whole value at each line made this hundreds of times slower.
    EXPECT_LT(joined, 8 * plain + 0.05) << "folded " << folded;
  }
}

TEST(PropsHostileHttp, BlocksOfTooManyLinesAreRefusedWhole) {
  QelProps bag;
  bag.SetValue(u"kept", 1);
  const std::string lines(QelProps::kMaxHttpLines + 1, '\n');
  EXPECT_EQ(ErrorOf([&] { bag.LoadFromHttp(FromAnsi("HTTP/1.1 200 OK" + lines)); }),
            "-2147024809|QelProps.LoadFromHttp|El bloque de encabezados tiene más de " +
                std::to_string(QelProps::kMaxHttpLines) + " líneas");
  EXPECT_EQ(Dump(bag), "kept(3)=1");
  bag.LoadFromHttp(FromAnsi("HTTP/1.1 200 OK" + lines.substr(1)));  // at the limit
  EXPECT_EQ(bag.Value(u"HTTP_STATUS"), Variant(200));
}

}  // namespace
}  // namespace qel
