// Typed strings read from bag text against the general rule they shortcut: the last "," of a
// Single, Double, Currency or Decimal text made the locale's decimal separator, then ChangeType
// under the thread's locale, the String when that raises. Compared exactly (bits of binary
// numbers, scale of Decimals), on hand-picked texts and on random ones, in both locales.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "frame/testing.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace {

using testing::ScopedLocale;

constexpr int32_t kNumberCodes[] = {2, 3, 4, 5, 6, 11, 14, 17};

Variant General(const Text& text, int32_t code) {
  const auto type = static_cast<VarType>(code);
  Text digits = text;
  if (code == 4 || code == 5 || code == 6 || code == 14) {
    const size_t comma = digits.rfind(u',');
    if (comma != Text::npos) digits[comma] = ThreadLocale().decimal;
  }
  try {
    return ChangeType(Variant(digits), type);
  } catch (const Error&) {
    return Variant(text);
  }
}

Variant Read(const Text& text, int32_t code) {
  QelProps bag;
  bag.LoadFromText(u"X:" + FromUtf8(std::to_string(code)) + u"=\"" + text + u"\"");
  return bag.Value(u"X");
}

// Same type and the same representation: Variant equality takes -0.0 for 0.0 and 1.50 for 1.5.
::testing::AssertionResult Identical(const Variant& a, const Variant& b) {
  if (a.type() != b.type()) {
    return ::testing::AssertionFailure()
           << "types " << static_cast<int>(a.type()) << " and " << static_cast<int>(b.type());
  }
  bool same;
  switch (a.type()) {
    case VarType::kDouble:
      same = std::memcmp(&a.Get<double>(), &b.Get<double>(), sizeof(double)) == 0;
      break;
    case VarType::kSingle:
      same = std::memcmp(&a.Get<float>(), &b.Get<float>(), sizeof(float)) == 0;
      break;
    case VarType::kDecimal: {
      const Decimal& x = a.Get<Decimal>();
      const Decimal& y = b.Get<Decimal>();
      same = x.mantissa() == y.mantissa() && x.scale() == y.scale() && x.negative() == y.negative();
      break;
    }
    default:
      same = a == b;
  }
  if (same) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "values " << ToUtf8(CStr(a)) << " and " << ToUtf8(CStr(b));
}

void ExpectAsGeneral(const Text& text) {
  for (int32_t code : kNumberCodes) {
    EXPECT_TRUE(Identical(Read(text, code), General(text, code)))
        << "code " << code << " text '" << ToUtf8(text) << "' under " << ThreadLocale().name;
  }
}

// clang-format off
const char* const kNumberTexts[] = {
    // integers: signs, zeros, the edges of every integer type, too many digits
    "0", "-0", "00", "007", "-007", "1", "-1", "255", "256", "32767", "32768", "-32768", "-32769",
    "2147483647", "2147483648", "-2147483648", "-2147483649", "999999999999999999",
    "-999999999999999999", "1000000000000000000", "9223372036854775807", "9223372036854775808",
    "-9223372036854775809", "123456789012345678901234567890",
    // decimals with the written ","
    "0,0", "-0,0", "-0,00", "0,5", "-0,5", "1,5", "2,5", "-2,5", "1,50", "0,05", "1,2345",
    "1,23456", "-1,23455", "1,00005", "922337203685477,5807", "922337203685477,5808",
    "-922337203685477,5808", "-922337203685477,5809", "79228162514264337593543950335",
    "79228162514264337593543950336", "7,9228162514264337593543950335",
    "0,0000000000000000000000000001", "0,00000000000000000000000000001",
    "0,1000000000000000055511151231257827", "3,4028235677973366e+38", "3,4028236e38",
    "-3,4028235677973366e+38", "1,7976931348623157e308", "1,7976931348623159e308",
    // exponents
    "1e5", "1E5", "-1e-5", "1e+5", "1,5e+300", "1,5e-300", "5e-324", "2e-324", "1e-400", "-1e-400",
    "-1e-330", "1e310", "1e400", "-1e400", "0e999999", "1e0", "1,e5", "1e", "1e+", "1d5", "1D5",
    "12345678901234567890123456789e-28", "1e28", "1e29", "-1,5e-4",
    "123456789012345678901234567890123456789012345678901234567890123456789e-60",
    // shapes the written form never has: the general path decides
    "", " ", " 1", "1 ", "+1", "+1,5", "(1)", "(1,5)", "&H10", "&HFFFF", "&O17", "1,234,5", "1.5",
    "1.234,5", "1,234.5", ",5", "-,5", "5,", "-", "--1", "1-", "e5", "1,5,", "True", "False",
    "Verdadero", "abc", "1a", "١٢", "１２", "1\u00A0000",
};
// clang-format on

class TypedValueLocales : public ::testing::TestWithParam<const char*> {
 protected:
  ScopedLocale locale_{GetParam()};
};

TEST_P(TypedValueLocales, NumberTextsReadAsTheGeneralConversion) {
  for (const char* text : kNumberTexts) ExpectAsGeneral(T(text));
}

TEST_P(TypedValueLocales, RandomNumberTextsReadAsTheGeneralConversion) {
  std::mt19937 rng(7);
  auto digits = [&](int max) {
    std::string s;
    const int n = 1 + static_cast<int>(rng() % max);
    for (int i = 0; i < n; ++i)
      s += static_cast<char>('0' + (i == 0 && rng() % 3 == 0 ? 0 : rng() % 10));
    return s;
  };
  for (int i = 0; i < 1500; ++i) {
    std::string s;
    if (rng() % 2) s += '-';
    s += digits(rng() % 4 == 0 ? 32 : 12);
    if (rng() % 2) s += "," + digits(rng() % 4 == 0 ? 40 : 8);
    if (rng() % 3 == 0) {
      s += rng() % 2 ? 'e' : 'E';
      if (rng() % 2) s += rng() % 2 ? '-' : '+';
      s += digits(3);
    }
    if (rng() % 10 == 0) s.insert(rng() % (s.size() + 1), 1, ".,+ ed"[rng() % 6]);
    ExpectAsGeneral(FromUtf8(s));
  }
}

TEST_P(TypedValueLocales, DateTextsReadAsTheGeneralConversion) {
  const char* const dates[] = {
      "15-03-2006", "15/03/2006", "03/15/2006",  "15.03.2006", "31-12-9999",          "01-01-0100",
      "29-02-2000", "29-02-2001", "29-02-1900",  "31-04-2006", "00-01-2006",          "15-13-2006",
      "2006-03-15", "15-03-06",   "15-3-2006",   "15-03",      "15-03-2006 10:30:00", "10:30",
      "10:30 PM",   "",           "15-03-2006x", "1Ñ-03-2006", "15-03/2006",
  };
  for (const char* text : dates) {
    EXPECT_TRUE(Identical(Read(T(text), 7), General(T(text), 7)))
        << text << " under " << ThreadLocale().name;
  }
}

INSTANTIATE_TEST_SUITE_P(EsAndEn, TypedValueLocales,
                         ::testing::Values("es_CL.UTF-8", "en_US.UTF-8", "C"));

TEST(TypedValueCodes, EmptyBytesAndUnknownCodes) {
  const std::pair<const char*, Variant> cases[] = {
      {"X:0=\"anything\"", Variant()},
      {"X:8209=\"00ff10\"", Variant(ByteArray{0, 0xFF, 0x10})},
      {"X:8209=\"\"", Variant(ByteArray{})},
      {"X:8209=\"0\"", Variant(u"0")},
      {"X:8209=\"zz\"", Variant(u"zz")},
      {"X:8=\"1,5\"", Variant(u"1,5")},
      {"X:12=\"1\"", Variant(u"1")},
      {"X:5=\"1,\" \"5\"", Variant(1.5)},  // strings join before converting
  };
  for (const auto& [text, value] : cases) {
    QelProps bag;
    bag.LoadFromText(T(text));
    EXPECT_TRUE(Identical(bag.Value(u"X"), value)) << text;
  }
}

}  // namespace
}  // namespace qel
