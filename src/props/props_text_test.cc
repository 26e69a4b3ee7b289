// The bag text: reading (table of inputs and their dumps, inputs that must fail, hostile
// inputs), writing (exact texts of each form) and a randomized round trip.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "frame/testing.h"
#include "props/props_testing.h"
#include "qel/frame/date.h"
#include "qel/frame/error.h"
#include "qel/frame/url_encode.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace {

using testing::Dump;
using testing::ErrorOf;
using testing::SameBag;
using testing::ScopedLocale;

std::string Read(TextView text) {
  QelProps bag;
  bag.LoadFromText(text);
  return Dump(bag);
}

std::string ReadUtf8(const std::string& text) { return Read(FromUtf8(text)); }

std::string ReadError(const std::string& text) {
  return ErrorOf([&] { Read(FromUtf8(text)); });
}

std::string Syntax(const std::string& found, const std::string& expected) {
  return "-2147024809|QelProps.ToText|Se encontró '" + found + "' cuando se esperaba " + expected;
}

class PropsTextEs : public ::testing::Test {
 protected:
  ScopedLocale locale_{"es_CL.UTF-8"};
};

class PropsTextEn : public ::testing::Test {
 protected:
  ScopedLocale locale_{"en_US.UTF-8"};
};

TEST_F(PropsTextEs, ReadsEntriesValuesAndTypeCodes) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {";;;", ""},
      {"  \r\n\t ", ""},
      {"A=1;A=2", "A(3)=2"},
      {"A=1;b=2;a=3", "A(3)=3|b(3)=2"},
      {"X", "X(1)"},
      {"X;Y:7;Z", "X(1)|Y(1)|Z(1)"},
      {"X=abc", "X(8)=abc"},
      {"X:3=abc", "X(8)=abc"},
      {"X:5=1", "X(3)=1"},
      {"X=-5", "X(3)=-5"},
      {"X=007", "X(3)=7"},
      {"X=-2147483648", "X(3)=-2147483648"},
      {"X=\"ab\" \"cd\" 'ef'", "X(8)=abcdef"},
      {"X='it''s'", "X(8)=it's"},
      {"X='say \"hi\"'", "X(8)=say \"hi\""},
      {"X=\"a\"\"b\"", "X(8)=a\"b"},
      {"X=\"\"", "X(8)="},
      {"\" spaced name \"=1", "spaced name(3)=1"},
      {"'it''s'", "it's(1)"},
      {"ñandú=1", "ñandú(3)=1"},
      {"_a1=1", "_a1(3)=1"},
      {"X:2=\"12\"", "X(2)=12"},
      {"X:3=\"1.234\"", "X(3)=1234"},
      {"X:17=\"255\"", "X(17)=255"},
      {"X:17=\"256\"", "X(8)=256"},
      {"X:11=\"-1\";Y:11=\"0\";Z:11=\"True\"", "X(11)=True|Y(11)=False|Z(11)=True"},
      {"X:4=\"0,5\"", "X(4)=0.5"},
      {"X:5=\"1,5\"", "X(5)=1.5"},
      {"X:5=\"1,5e+300\"", "X(5)=1.5E+300"},
      {"X:6=\"1,2345\"", "X(6)=1.2345"},
      {"X:14=\"1,50\"", "X(14)=1.5"},
      {"X:7=\"15-03-2006\"", "X(7)=03/15/2006"},
      {"X:7=\"15/03/2006\"", "X(7)=03/15/2006"},
      {"X:5=\"abc\";Y:7=\"99-99-9999\"", "X(8)=abc|Y(8)=99-99-9999"},
      {"X:0=\"\"", "X(0)"},
      {"X:8209=\"00ff\"", "X(8209)=2 bytes"},
      {"X:8209=\"0G\"", "X(8)=0G"},
      {"X:99=\"a\"", "X(8)=a"},
      {"Q=[]", "Q(9)=[]"},
      {"Q=[X=1;R=[Y=\"a\"]];Z", "Q(9)=[X(3)=1|R(9)=[Y(8)=a]]|Z(1)"},
      {"Q=[;X=1;];", "Q(9)=[X(3)=1]"},
      {"// header\nA=1 // one\n;B=2//two", "A(3)=1|B(3)=2"},
      {"A=1;\n// last line without end", "A(3)=1"},
      {"A=\"x // not a comment\"", "A(8)=x // not a comment"},
      {"X=\"open", "X(8)=open"},
      {"X='a''", "X(8)=a'"},
      {"X=\"a\r\nb;[]\"", "X(8)=a\r\nb;[]"},
      {"X:7=\"15-03-2006\" // typed strings join first\n \"\"", "X(7)=03/15/2006"},
      {"X // a\n : // b\n 5 // c\n = // d\n \"1,5\" ; Y\t:\t3\t=\t'7'", "X(5)=1.5|Y(3)=7"},
      {"X:5=\"1\"\"5\"", "X(8)=1\"5"},
      {"\"a\"\"b\":5=\"1,\" '5'", "a\"b(5)=1.5"},
  };
  for (const auto& [text, dump] : cases) EXPECT_EQ(ReadUtf8(text), dump) << text;
}

TEST_F(PropsTextEn, DecimalCommaIsFixedInAnyLocale) {
  EXPECT_EQ(Read(u"X:5=\"1,5\""), "X(5)=1.5");
  EXPECT_EQ(Read(u"X:14=\"-1234,5\""), "X(14)=-1234.5");
  EXPECT_EQ(Read(u"X:6=\"-0,0001\""), "X(6)=-0.0001");
  EXPECT_EQ(Read(u"X:5=1"), "X(3)=1");
}

TEST(PropsTextErrors, SyntaxErrorsNameTheTokenAndWhatWasExpected) {
  const std::pair<const char*, std::string> cases[] = {
      {"X=[", Syntax("[EOS]", "el símbolo ']'")},
      {"X=[1]", Syntax("1", "el símbolo ']'")},
      {"X=;", Syntax(";", "un valor después del símbolo '='")},
      {"X=", Syntax("[EOS]", "un valor después del símbolo '='")},
      {"X=-", Syntax("-", "un valor después del símbolo '='")},
      {"X=]", Syntax("]", "un valor después del símbolo '='")},
      {"X:=1", Syntax("=", "un número después del símbolo ':'")},
      {"X:\"a\"=1", Syntax("a", "un número después del símbolo ':'")},
      {"X:", Syntax("[EOS]", "un número después del símbolo ':'")},
      {"X=1 Y=2", Syntax("Y", "el final del texto")},
      {"]", Syntax("]", "el final del texto")},
      {"1=2", Syntax("1", "el final del texto")},
      {"/", Syntax("/", "el final del texto")},
      {"X=1,Y=2", Syntax(",", "el final del texto")},
      {"X:5 \"1\"", Syntax("1", "el final del texto")},
      {"X : // c\n : 5", Syntax(":", "un número después del símbolo ':'")},
      {"X:5 = ", Syntax("[EOS]", "un valor después del símbolo '='")},
      {"X Y", Syntax("Y", "el final del texto")},
      {"X=99999999999", "6|QelStd1|Desbordamiento"},
      {"X=2147483648", "6|QelStd1|Desbordamiento"},
      {"X:-99999999999=\"1\"", "6|QelStd1|Desbordamiento"},
  };
  for (const auto& [text, error] : cases) EXPECT_EQ(ReadError(text), error) << text;
}

// The name characters as the grammar atop props_parser.cc spells them out.
bool GrammarNameStart(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_' ||
         (c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7);
}
bool GrammarNameChar(char16_t c) { return GrammarNameStart(c) || (c >= u'0' && c <= u'9'); }

TEST(PropsTextRead, NamesEndWhereTheGrammarSays) {
  // Mostly name characters, and the units on either side of each range, at every offset of
  // the eight-unit steps the reader takes.
  const char16_t common[] = {u'a', u'z', u'A', u'Z', u'_', u'0', u'9', 0xE9};
  const char16_t edges[] = {u'@', u'[', u'`', u'{', u'/', u'/', u':',  u'^',  u'=',  u';',  0x7F,
                            0xBF, 0xC0, 0xD7, 0xDF, 0xF7, 0xFF, 0x100, 0x24F, 0x250, 0x4E2D};
  std::mt19937 rng(3);
  for (int i = 0; i < 4000; ++i) {
    Text name;
    const int n = 1 + static_cast<int>(rng() % 26);
    for (int k = 0; k < n; ++k) {
      name += rng() % 6 ? common[rng() % std::size(common)] : edges[rng() % std::size(edges)];
    }
    size_t prefix = GrammarNameStart(name[0]) ? 1 : 0;
    while (prefix > 0 && prefix < name.size() && GrammarNameChar(name[prefix])) ++prefix;
    ASSERT_EQ(QelProp::Create(name)->name_is_token(), prefix == name.size()) << ToUtf8(name);
    if (prefix == 0) continue;
    QelProps bag;
    try {
      bag.LoadFromText(name + u"=1");
    } catch (const Error&) {
    }
    // What the reader stored first, if anything, is named by the longest name token in front.
    if (bag.Count() > 0) ASSERT_EQ(bag.Item(1)->Name(), name.substr(0, prefix)) << ToUtf8(name);
    if (prefix == name.size()) ASSERT_EQ(bag.Value(name), Variant(1)) << ToUtf8(name);
  }
}

TEST(PropsTextRead, TextMayBeOneOfTheBagsOwnValues) {
  QelProps bag;
  bag.LoadFromText(u"t=\"a=1;b='x'\"");
  bag.LoadFromText(bag.Item(1)->Value().Get<Text>());
  EXPECT_EQ(Dump(bag), "a(3)=1|b(8)=x");
}

TEST(PropsTextErrors, PropertiesReadBeforeAnErrorStay) {
  QelProps bag;
  bag.SetValue(u"old", 1);
  EXPECT_EQ(ErrorOf([&] { bag.LoadFromText(u"A=1;B=[C=2;D=;E=3"); }),
            Syntax(";", "un valor después del símbolo '='"));
  EXPECT_EQ(Dump(bag), "A(3)=1");
}

TEST(PropsTextHostile, DeepNestingRaises28AtTheLimit) {
  auto nested = [](int levels) {
    Text text;
    for (int i = 0; i < levels; ++i) text += u"a=[";
    for (int i = 0; i < levels; ++i) text += u"]";
    return text;
  };
  QelProps bag;
  bag.LoadFromText(nested(1000));
  int depth = 0;
  for (auto p = bag.Item(1); p && p->IsProps(); p = p->Props()->Item(1)) ++depth;
  EXPECT_EQ(depth, 1000);
  EXPECT_EQ(bag.ToText(), nested(1000));
  QelProps back;
  back.LoadFromText(bag.ToText(qelFormatIndented));
  EXPECT_TRUE(SameBag(bag, back));
  EXPECT_EQ(ErrorOf([&] { bag.LoadFromText(nested(1001)); }),
            "28|QelStd1|Espacio de pila insuficiente");
  Text million;
  for (int i = 0; i < 1000000; ++i) million += u"a=[";
  EXPECT_EQ(ErrorOf([&] { bag.LoadFromText(million); }), "28|QelStd1|Espacio de pila insuficiente");
}

TEST(PropsTextHostile, LongRunsEndCleanly) {
  EXPECT_EQ(ReadError(std::string(1000000, '[')), Syntax("[", "el final del texto"));
  EXPECT_EQ(ReadError(std::string(1000000, '-')), Syntax("-", "el final del texto"));
  EXPECT_EQ(ReadError("X=" + std::string(1000000, '7')), "6|QelStd1|Desbordamiento");
  EXPECT_EQ(ReadUtf8("X=" + std::string(1000001, '"')).size(), 1000000 / 2 + 5);
  EXPECT_EQ(ReadUtf8(std::string(100000, ';')), "");
  EXPECT_EQ(ReadUtf8("//" + std::string(100000, '/')), "");
}

// ---- Writing --------------------------------------------------------------------------

std::shared_ptr<QelProps> EveryType() {
  auto bag = std::make_shared<QelProps>();
  // clang-format off
  const std::pair<const char16_t*, Variant> values[] = {
      {u"L", int32_t{-5}}, {u"I", int16_t{-7}}, {u"Y", uint8_t{255}}, {u"S", 1.5f},
      {u"D", 0.1}, {u"C", Currency{12345}}, {u"B", true}, {u"F", false},
      {u"M", Decimal::FromParts(150, 2, true)}, {u"E", Variant()}, {u"N", Variant::Null()},
      {u"T", *MakeDate({2006, 3, 5})}, {u"X", ByteArray{0, 0xAB}}, {u"a b", T("say \"sí\"")}};
  // clang-format on
  for (const auto& [name, value] : values) bag->SetValue(name, value);
  auto q = std::make_shared<QelProps>();
  q->SetValue(u"x", 1);
  q->SetValue(u"r", std::make_shared<QelProps>());
  bag->SetValue(u"Q", q);
  return bag;
}

TEST_F(PropsTextEs, CompactAndPostDataFormsWriteEveryType) {
  const auto bag = EveryType();
  EXPECT_EQ(ToUtf8(bag->ToText()),
            "L=-5;I:2=\"-7\";Y:17=\"255\";S:4=\"1,5\";D:5=\"0,1\";C:6=\"1,2345\";B:11=\"-1\";"
            "F:11=\"0\";M:14=\"-1,50\";E:0=\"\";N;T:7=\"05-03-2006\";X:8209=\"00AB\";"
            "\"a b\"=\"say \"\"sí\"\"\";Q=[x=1;r=[]]");
  EXPECT_EQ(ToUtf8(bag->ToText(qelFormatPostData)),
            "L=-5&I=-7&Y=255&S=1%2C5&D=0%2C1&C=1%2C2345&B=-1&F=0&M=-1%2C50&E=&N&T=05-03-2006&"
            "X=00AB&a+b=say+%22s%ED%22&Q=x%3D1%3Br%3D%5B%5D");
}

TEST_F(PropsTextEs, IndentedFormLayout) {
  QelProps bag;
  bag.LoadFromText(u"L=-5;T:7=\"05-03-2006\";N;\"a b\"=\"x\";Q=[x=1;r=[]]");
  EXPECT_EQ(ToUtf8(bag.ToText(qelFormatIndented)),
            "L = -5;\r\nT:7 = \"05-03-2006\";\r\nN;\r\n\"a b\" = \"x\";\r\n"
            "Q =\r\n[\r\n\tx = 1;\r\n\tr =\r\n\t[\r\n\t]\r\n]\r\n");
  EXPECT_EQ(QelProps().ToText(qelFormatIndented), u"");
}

TEST_F(PropsTextEn, DatesKeepDayFirstWithTheLocaleSeparator) {
  QelProps bag;
  bag.LoadFromText(u"N=5;D=0;Q=[X=1]");
  bag.SetValue(u"D", Date{MakeDate({2006, 3, 15})->serial + 0.75});  // the time is dropped
  EXPECT_EQ(bag.ToText(qelFormatNormal), u"N=5;D:7=\"15/03/2006\";Q=[X=1]");
}

// Singles and Doubles are written as CStr writes them (15 significant digits for a Double, 7
// for a Single), with "," before the fraction whatever the locale's separator.
void CheckBinaryTexts() {
  const std::pair<Variant, const char*> values[] = {
      {100000.0, "100000"}, {0.0001, "0,0001"},
      {0.1 + 0.2, "0,3"},   {1.0 / 3, "0,333333333333333"},
      {-2.5, "-2,5"},       {-0.0, "0"},
      {1e300, "1E+300"},    {-2.2250738585072014e-308, "-2,2250738585072E-308"},
      {1.1f, "1,1"},        {16777216.0f, "1,677722E+07"},
  };
  for (const auto& [value, text] : values) {
    QelProps bag;
    bag.SetValue(u"d", value);
    const std::string code = value.type() == VarType::kSingle ? "4" : "5";
    EXPECT_EQ(ToUtf8(bag.ToText()), "d:" + code + "=\"" + text + "\"");
    EXPECT_EQ(ToUtf8(bag.ToText(qelFormatPostData)), "d=" + ToUtf8(UrlEncode(T(text))));
    // What is written reads back as the value rounded to those digits.
    QelProps back;
    back.LoadFromText(bag.ToText());
    std::string c_text = text;
    std::replace(c_text.begin(), c_text.end(), ',', '.');
    const double rounded = std::strtod(c_text.c_str(), nullptr);
    EXPECT_EQ(back.Value(u"d"), value.type() == VarType::kSingle
                                    ? Variant(static_cast<float>(rounded))
                                    : Variant(rounded))
        << text;
  }
}

TEST_F(PropsTextEs, BinaryNumbersAreWrittenAsCStrWritesThem) { CheckBinaryTexts(); }
TEST_F(PropsTextEn, BinaryNumbersTakeTheDecimalCommaInAnyLocale) { CheckBinaryTexts(); }

TEST(PropsTextWriteErrors, ValuesWithoutATextForm) {
  QelProps bag;
  bag.SetValue(u"a", VariantArray{Variant(1)});
  EXPECT_EQ(ErrorOf([&] { bag.ToText(); }), "13|QelStd1|No coinciden los tipos");
  bag.SetValue(u"a", std::nan(""));
  EXPECT_EQ(ErrorOf([&] { bag.ToText(); }), "6|QelStd1|Desbordamiento");
  bag.SetValue(u"a", Date{1e9});
  EXPECT_EQ(ErrorOf([&] { bag.ToText(); }), "6|QelStd1|Desbordamiento");
  EXPECT_EQ(ErrorOf([&] { bag.ToText(3); }),
            "-2147024809|QelProps.ToText|El formato de texto 3 no es válido");
}

// ---- Randomized round trip -------------------------------------------------------------

class RandomBags {
 public:
  explicit RandomBags(uint32_t seed, bool dates) : rng_(seed), dates_(dates) {}

  std::shared_ptr<QelProps> Make(int depth) {
    auto bag = std::make_shared<QelProps>();
    const int count = static_cast<int>(rng_() % (depth == 0 ? 40 : 8));
    for (int i = 0; i < count; ++i) {
      const Text name = Name();
      if (bag->Exists(name)) continue;
      if (depth < 4 && rng_() % 8 == 0) {
        bag->SetValue(name, Make(depth + 1));
      } else {
        bag->SetValue(name, Value());
      }
    }
    return bag;
  }

 private:
  static constexpr const char* kPieces[] = {"a", "Z", "_", "9",  " ", "\"", "'",    "''",
                                            ";", "[", "]", "=",  ":", "//", "\r\n", "\t",
                                            "ñ", "É", "€", "中", "😀", "-",  ",",    "[EOS]"};

  Text Piece() { return T(kPieces[rng_() % std::size(kPieces)]); }

  Text Name() {
    Text name;
    if (rng_() % 2) {  // a name token
      name = u"n" + FromUtf8(std::to_string(rng_() % 100000));
    } else {
      const int n = static_cast<int>(rng_() % 6);
      for (int i = 0; i < n; ++i) name += Piece();
    }
    return Text(Trim(name));
  }

  // Doubles of 15 significant digits, which the text carries exactly.
  double Double() {
    for (;;) {
      const uint64_t bits = (uint64_t{rng_()} << 32) | rng_();
      double d;
      std::memcpy(&d, &bits, sizeof d);
      if (!std::isfinite(d)) continue;
      if (rng_() % 2 == 0 && std::fabs(d) < 1e300) d = std::round(d * 1e6) / 1e6;
      char digits[32];
      std::snprintf(digits, sizeof digits, "%.14e", d);
      return std::strtod(digits, nullptr);
    }
  }

  Variant Value() {
    switch (rng_() % 14) {
      case 0:
        return static_cast<int32_t>(rng_());
      case 1:
        return static_cast<int16_t>(rng_());
      case 2:  // Singles of at most 7 significant digits, which the text carries exactly
        return static_cast<float>(static_cast<int32_t>(rng_() % 2000000) - 1000000) / 2;
      case 3:
        return Double();
      case 4:
        return Currency{static_cast<int64_t>((uint64_t{rng_()} << 32) | rng_())};
      case 5: {
        const uint128 m = (uint128{rng_()} << 64) | (uint64_t{rng_()} << 32) | rng_();
        return Decimal::FromParts(m, static_cast<int>(rng_() % 29), rng_() % 2);
      }
      case 6:
        if (!dates_) return Variant::Null();
        return Date{static_cast<double>(static_cast<int64_t>(rng_() % 3615900) - 657434)};
      case 7:
        return rng_() % 2 == 0;
      case 8:
        return static_cast<uint8_t>(rng_());
      case 9:
      case 10: {
        Text s;
        const int n = static_cast<int>(rng_() % 8);
        for (int i = 0; i < n; ++i) s += Piece();
        return s;
      }
      case 11:
        return Variant::Null();
      case 12:
        return Variant();
      default:
        return ByteArray{static_cast<uint8_t>(rng_()), 0, 0xFF};
    }
  }

  std::mt19937 rng_;
  bool dates_;
};

void CheckRoundTrips(bool dates, uint32_t seed) {
  RandomBags gen(seed, dates);
  for (int i = 0; i < 200; ++i) {
    const auto bag = gen.Make(0);
    for (int32_t format : {qelFormatNormal, qelFormatIndented}) {
      const Text text = bag->ToText(format);
      QelProps back;
      back.LoadFromText(text);
      ASSERT_TRUE(SameBag(*bag, back)) << "format " << format << ": " << ToUtf8(text);
      ASSERT_EQ(back.ToText(format), text);
    }
  }
}

TEST_F(PropsTextEs, RandomBagsRoundTripInBothForms) { CheckRoundTrips(true, 1); }

TEST_F(PropsTextEn, RandomBagsWithoutDatesRoundTripInBothForms) { CheckRoundTrips(false, 2); }

}  // namespace
}  // namespace qel
