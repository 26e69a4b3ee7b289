#include "qel/frame/decimal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <string>

#include "qel/frame/error.h"

namespace qel {
namespace {

constexpr char kMax[] = "79228162514264337593543950335";  // 2^96 - 1

Decimal Parse(std::string_view digits, int64_t exponent = 0, bool negative = false) {
  std::optional<Decimal> d = Decimal::FromDigits(digits, exponent, negative);
  EXPECT_TRUE(d.has_value()) << digits << "e" << exponent;
  return d.value_or(Decimal());
}

// Parses "[-]int[.frac]".
Decimal Dec(std::string_view text) {
  const bool negative = !text.empty() && text[0] == '-';
  if (negative) text.remove_prefix(1);
  const size_t dot = text.find('.');
  if (dot == std::string_view::npos) return Parse(text, 0, negative);
  std::string digits(text.substr(0, dot));
  digits += text.substr(dot + 1);
  return Parse(digits, -static_cast<int64_t>(text.size() - dot - 1), negative);
}

int32_t ErrorOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const Error& e) {
    return e.Number();
  }
  return 0;
}

TEST(DecimalParse, KeepsScaleAndValue) {
  Decimal d = Parse("0012345", -2);
  EXPECT_EQ(d.mantissa(), 12345u);
  EXPECT_EQ(d.scale(), 2);
  EXPECT_EQ(Parse("150", -2).scale(), 2);
  EXPECT_EQ(Parse("", 0), Decimal());
  EXPECT_EQ(Parse("000", -5).scale(), 5);
  EXPECT_FALSE(Parse("0", 0, true).negative());
  EXPECT_EQ(Parse("12", 3).mantissa(), 12000u);
  EXPECT_EQ(Parse("12", 3).scale(), 0);
}

TEST(DecimalParse, IntegerPartLimit) {
  EXPECT_EQ(Parse(kMax).mantissa(), Decimal::kMaxMantissa);
  EXPECT_FALSE(Decimal::FromDigits("79228162514264337593543950336", 0, false));
  EXPECT_FALSE(Decimal::FromDigits(std::string(29, '9'), 0, true));
  EXPECT_TRUE(Decimal::FromDigits("7922816251426433759354395033", 1, false));
  EXPECT_FALSE(Decimal::FromDigits("7922816251426433759354395034", 1, false));
  EXPECT_TRUE(Decimal::FromDigits("1", 28, false));
  EXPECT_FALSE(Decimal::FromDigits("1", 29, false));
  EXPECT_FALSE(Decimal::FromDigits("1", std::numeric_limits<int64_t>::max(), false));
  EXPECT_EQ(Parse("0", std::numeric_limits<int64_t>::max()), Decimal());
  // 2^96 - 0.5 is a tie that rounds to the even 2^96, which does not fit.
  EXPECT_FALSE(Decimal::FromDigits(std::string(kMax) + "5", -1, false));
  EXPECT_EQ(Parse(std::string(kMax) + "4999", -4).mantissa(), Decimal::kMaxMantissa);
}

TEST(DecimalParse, RoundsHalfToEvenBeyondScale28) {
  EXPECT_EQ(Parse("15", -29).mantissa(), 2u);  // 1.5e-28
  EXPECT_EQ(Parse("25", -29).mantissa(), 2u);
  EXPECT_EQ(Parse("251", -30).mantissa(), 3u);
  EXPECT_EQ(Parse("5", -29), Decimal());
  EXPECT_EQ(Parse("5", -29).scale(), 28);
  EXPECT_EQ(Parse("9", std::numeric_limits<int64_t>::min()), Decimal());
  // More than 19 significant digits take the wide path.
  const std::string head = "12345678901234567890123456789";
  EXPECT_EQ(Parse(head + "05", -30).ToAscii(), "1.2345678901234567890123456789");
  EXPECT_EQ(Parse(head + "50", -30).ToAscii(), "1.234567890123456789012345679");
  const std::string even = "12345678901234567890123456788";
  EXPECT_EQ(Parse(even + "50", -30).ToAscii(), "1.2345678901234567890123456788");
  EXPECT_EQ(Parse(even + "5" + std::string(200, '0') + "1", -230).ToAscii(),
            "1.2345678901234567890123456789");
  // 999.99...9 with 28 nines after the point only fits at scale 25, rounded up to 1000.
  Decimal d = Parse(std::string(31, '9'), -28);
  EXPECT_EQ(d, Dec("1000"));
  EXPECT_EQ(d.scale(), 25);
  // Hundreds of digits.
  EXPECT_EQ(Parse("1" + std::string(300, '0'), -300), Dec("1"));
  EXPECT_EQ(Parse(std::string(300, '0') + "7", -1), Dec("0.7"));
}

TEST(DecimalParse, RoundTripsThroughText) {
  for (const char* text : {"0", "1", "-1", "0.25", "-0.001", "123456789.987654321", kMax,
                           "-7.9228162514264337593543950335", "0.0000000000000000000000000001",
                           "18446744073709551616", "10000000000000000000.5"}) {
    EXPECT_EQ(Dec(text).ToAscii(), text);
  }
}

TEST(DecimalParse, FromInt64AndDouble) {
  EXPECT_EQ(Decimal::FromInt64(INT64_MIN).ToAscii(), "-9223372036854775808");
  EXPECT_EQ(Decimal::FromInt64(INT64_MAX).ToInt64(), INT64_MAX);
  EXPECT_EQ(Decimal::FromInt64(INT64_MIN).ToInt64(), INT64_MIN);

  Decimal tenth = *Decimal::FromDouble(0.1);
  EXPECT_EQ(tenth.mantissa(), 1u);
  EXPECT_EQ(tenth.scale(), 1);
  EXPECT_EQ(Decimal::FromDouble(-123.456)->ToAscii(), "-123.456");
  EXPECT_EQ(Decimal::FromDouble(1.0 / 3)->ToAscii(), "0.333333333333333");
  EXPECT_EQ(Decimal::FromDouble(1e20)->scale(), 0);
  Decimal tiny = *Decimal::FromDouble(1e-30);
  EXPECT_TRUE(tiny.IsZero());
  EXPECT_EQ(tiny.scale(), 28);
  EXPECT_EQ(Decimal::FromDouble(7.9e28)->ToAscii(), "79000000000000000000000000000");
  EXPECT_FALSE(Decimal::FromDouble(std::nan("")));
  EXPECT_FALSE(Decimal::FromDouble(-INFINITY));
  EXPECT_FALSE(Decimal::FromDouble(0x1p96));
  EXPECT_FALSE(Decimal::FromDouble(-1e29));

  EXPECT_EQ(Dec("0.1").ToDouble(), 0.1);
  EXPECT_EQ(Dec("-2.5").ToDouble(), -2.5);
  EXPECT_EQ((Dec("1") / Dec("3")).ToDouble(), 1.0 / 3);
  EXPECT_EQ(Dec(kMax).ToDouble(), 0x1p96);
  EXPECT_EQ(Decimal().ToDouble(), 0.0);
}

TEST(DecimalArith, ExactResultsKeepScale) {
  Decimal sum = Dec("1.50") + Dec("1");
  EXPECT_EQ(sum.ToAscii(), "2.5");
  EXPECT_EQ(sum.scale(), 2);
  EXPECT_EQ(Dec("0.1") + Dec("0.2"), Dec("0.3"));
  EXPECT_EQ(Dec("1") - Dec("0.0000000000000000000000000001"),
            Dec("0.9999999999999999999999999999"));
  EXPECT_EQ(Dec(kMax) - Dec(kMax), Decimal());
  EXPECT_FALSE((Dec("1.5") - Dec("1.5")).negative());
  EXPECT_FALSE((Dec("-1.5") * Dec("0")).negative());
  EXPECT_EQ(Dec("-1.25") * Dec("4"), Dec("-5"));
  EXPECT_EQ((Dec("18446744073709551616") * Dec("2")).ToAscii(), "36893488147419103232");
}

TEST(DecimalArith, RoundsToLargestFittingScale) {
  EXPECT_EQ(Dec(kMax) + Dec("0.4"), Dec(kMax));
  EXPECT_EQ((Dec(kMax) - Dec("0.5")).ToAscii(), "79228162514264337593543950334");
  EXPECT_EQ(Dec("0.0000000000000000000000000001") * Dec("0.5"), Decimal());
  EXPECT_EQ(Dec("0.0000000000000000000000000001") * Dec("1.5"),
            Dec("0.0000000000000000000000000002"));
  // 0.5000...01 units: the digits far below the tie still round up.
  EXPECT_EQ(Dec("0.0000000000000000000000000001") * Dec("0.5000000000000000000000000001"),
            Dec("0.0000000000000000000000000001"));
  Decimal ten = Dec("3.3333333333333333333333333333") * Dec("3");
  EXPECT_EQ(ten, Dec("10"));
  EXPECT_EQ(ten.scale(), 27);
  const Decimal near_one = Dec("1.0000000000000000000000000001");
  EXPECT_EQ((near_one * near_one).ToAscii(), "1.0000000000000000000000000002");
  const Decimal ulp = Dec("0.0000000000000000000000000001");
  EXPECT_EQ((Dec("7.9228162514264337593543950335") + ulp).ToAscii(),
            "7.922816251426433759354395034");
}

TEST(DecimalArith, Division) {
  Decimal quarter = Dec("1") / Dec("4");
  EXPECT_EQ(quarter.mantissa(), 25u);
  EXPECT_EQ(quarter.scale(), 2);
  EXPECT_EQ((Dec("10") / Dec("4")).ToAscii(), "2.5");
  EXPECT_EQ((Dec("1") / Dec("3")).ToAscii(), "0." + std::string(28, '3'));
  EXPECT_EQ((Dec("2") / Dec("3")).ToAscii(), "0." + std::string(27, '6') + "7");
  EXPECT_EQ((Dec("-1") / Dec("3")).ToAscii(), "-0." + std::string(28, '3'));
  EXPECT_EQ((Dec("100") / Dec("3")).ToAscii(), "33." + std::string(27, '3'));
  EXPECT_FALSE((Dec("0") / Dec("-5")).negative());
  EXPECT_EQ(Dec(kMax) / Dec("1"), Dec(kMax));
  EXPECT_EQ(Dec(kMax) / Dec(kMax), Dec("1"));
  EXPECT_EQ(Dec("1") / Dec("0.0000000000000000000000000001"), Dec("10000000000000000000000000000"));
  EXPECT_TRUE((Dec("1") / Dec(kMax)).IsZero());
  EXPECT_EQ((Dec("2") / Dec("7922816251426433759354395033.5")).ToAscii(),
            "0.0000000000000000000000000003");
  EXPECT_EQ((Dec("12345678901234567890") / Dec("98765432109876543210.5")).ToAscii(),
            "0.1249999988609375000136054688");
  // Wide divisors whose first quotient-digit estimate is one too large.
  EXPECT_EQ((Dec("39614081266355540831479267327") / Dec("39614081266355540833546711900")).ToAscii(),
            "0.9999999999999999999478103617");
  EXPECT_EQ((Dec("79228162514264337589248983041") / Dec("36893488147419103231")).ToAscii(),
            "2147483647.9999999999417923391");
}

TEST(DecimalArith, ErrorsRaiseOverflowAndDivisionByZero) {
  EXPECT_EQ(ErrorOf([] { Dec(kMax) + Dec("1"); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { Dec(kMax) + Dec("0.5"); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { Dec("-1") - Dec(kMax); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { Dec(kMax) * Dec("1.1"); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { Dec(kMax) / Dec("0.5"); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { Dec("1") / Dec("0.00"); }), kErrDivisionByZero);
  EXPECT_EQ(ErrorOf([] { Dec(kMax) * Dec("1"); }), 0);
}

TEST(DecimalArith, MatchesIntegerModelOnRandomValues) {
  std::mt19937_64 rng(20240611);
  __extension__ typedef __int128 Int;
  auto random = [&](uint128* m, int* scale, bool* negative) {
    *m = rng() % 1000000000000u >> (rng() % 40);
    *scale = static_cast<int>(rng() % 7);
    *negative = rng() % 2 == 1;
    return Decimal::FromParts(*m, *scale, *negative);
  };
  auto pow10 = [](int k) {
    Int p = 1;
    while (k-- > 0) p *= 10;
    return p;
  };
  auto model = [](Int v, int scale) {
    return Decimal::FromParts(static_cast<uint128>(v < 0 ? -v : v), scale, v < 0);
  };
  for (int i = 0; i < 20000; ++i) {
    uint128 ma, mb;
    int sa, sb;
    bool na, nb;
    Decimal a = random(&ma, &sa, &na), b = random(&mb, &sb, &nb);
    const int s = std::max(sa, sb);
    const Int va = static_cast<Int>(ma) * pow10(s - sa) * (na ? -1 : 1);
    const Int vb = static_cast<Int>(mb) * pow10(s - sb) * (nb ? -1 : 1);
    for (auto [got, want] :
         {std::pair{a + b, model(va + vb, s)}, std::pair{a - b, model(va - vb, s)}}) {
      ASSERT_EQ(got.mantissa(), want.mantissa()) << a.ToAscii() << " " << b.ToAscii();
      ASSERT_EQ(got.scale(), s);
      ASSERT_EQ(got.negative(), want.negative());
    }
    Decimal product = a * b;
    ASSERT_EQ(product.mantissa(), ma * mb) << a.ToAscii() << " * " << b.ToAscii();
    ASSERT_EQ(product.scale(), sa + sb);
    ASSERT_EQ(product.negative(), na != nb && ma * mb != 0);
    ASSERT_EQ(a <=> b, va <=> vb);
    if (mb != 0) {
      ASSERT_EQ(product / b, a) << a.ToAscii() << " " << b.ToAscii();
    }
  }
}

TEST(DecimalArith, ComparesNumerically) {
  EXPECT_EQ(Dec("1.50"), Dec("1.5"));
  EXPECT_EQ(-Dec("0"), Dec("0.000"));
  EXPECT_LT(Dec("-2"), Dec("-1.9999"));
  EXPECT_LT(Dec("-0.1"), Decimal());
  EXPECT_GT(Dec("0.0000000000000000000000000001"), Decimal());
  EXPECT_LT(Dec("7922816251426433759354395033.4"), Dec("7922816251426433759354395033.5"));
  EXPECT_GT(Dec(kMax), Dec("7.9228162514264337593543950335"));
}

TEST(DecimalRound, RoundHalfToEven) {
  EXPECT_EQ(Dec("2.25").Round(1).ToAscii(), "2.2");
  EXPECT_EQ(Dec("2.35").Round(1).ToAscii(), "2.4");
  EXPECT_EQ(Dec("-2.251").Round(1).ToAscii(), "-2.3");
  EXPECT_EQ(Dec("1.005").Round(5).scale(), 3);
  EXPECT_FALSE(Dec("-0.5").Round(0).negative());
  EXPECT_EQ(Dec(kMax).Round(0), Dec(kMax));
  EXPECT_EQ(Dec("7.9228162514264337593543950335").Round(0), Dec("8"));
}

TEST(DecimalRound, FixFloorNormalized) {
  EXPECT_EQ(Dec("1.5").Fix(), Dec("1"));
  EXPECT_EQ(Dec("-1.5").Fix(), Dec("-1"));
  EXPECT_EQ(Dec("-1.5").Floor(), Dec("-2"));
  EXPECT_EQ(Dec("-2.00").Floor(), Dec("-2"));
  EXPECT_EQ(Dec("1.9").Floor(), Dec("1"));
  EXPECT_FALSE(Dec("-0.3").Fix().negative());
  EXPECT_EQ(Dec("-0.3").Floor(), Dec("-1"));
  EXPECT_EQ(Dec("1.500").Normalized().scale(), 1);
  EXPECT_EQ(Dec("100").Normalized().mantissa(), 100u);
  EXPECT_EQ(Dec("0.000").Normalized().scale(), 0);
  EXPECT_EQ(Dec("79228162514264337593543950.000").Normalized().scale(), 0);
}

TEST(DecimalRound, ToInt64) {
  EXPECT_EQ(Dec("2.5").ToInt64(), 2);
  EXPECT_EQ(Dec("3.5").ToInt64(), 4);
  EXPECT_EQ(Dec("-2.5").ToInt64(), -2);
  EXPECT_EQ(Dec("9223372036854775807.4").ToInt64(), INT64_MAX);
  EXPECT_FALSE(Dec("9223372036854775807.5").ToInt64());
  EXPECT_EQ(Dec("-9223372036854775808.5").ToInt64(), INT64_MIN);
  EXPECT_FALSE(Dec("-9223372036854775809").ToInt64());
}

TEST(DecimalText, Formats) {
  EXPECT_EQ(Dec("1.50").ToAscii(), "1.5");
  EXPECT_EQ(Dec("2.00").ToAscii(), "2");
  EXPECT_EQ(Dec("0.00").ToAscii(), "0");
  EXPECT_EQ(Dec("100").ToAscii(), "100");
  EXPECT_EQ(Dec(".25").ToAscii(), "0.25");
  EXPECT_EQ(Decimal::FromParts(Decimal::kMaxMantissa, 28, true).ToAscii(),
            "-7.9228162514264337593543950335");
  EXPECT_EQ(Decimal::FromParts(uint128{1} << 64, 19, false).ToAscii(), "1.8446744073709551616");
  EXPECT_EQ(Decimal::FromParts(uint128{10000000000000000000u} * 10, 20, false).ToAscii(), "1");
  EXPECT_EQ(Dec("-1.5").ToText(u','), u"-1,5");
  EXPECT_EQ(Dec("12").ToText(u','), u"12");
}

}  // namespace
}  // namespace qel
