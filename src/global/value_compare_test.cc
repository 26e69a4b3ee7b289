#include "qel/global/value_compare.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "fields/qel_record_field_internal.h"
#include "frame/testing.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"

namespace qel {
namespace {

using testing::ErrorOf;

// Conversions and comparisons through a QelGlobal made under es_CL (decimal ",").
class ValueCompare : public ::testing::Test {
 protected:
  // A field with one occurrence on a buffer of its own, holding `value` unless it is Empty.
  static std::shared_ptr<QelRecordField> Field(const char* descriptor,
                                               const Variant& value = Variant()) {
    auto f = QelRecordFieldInternal::Make(T(descriptor), std::make_shared<QelRecordData>());
    if (!value.IsEmpty()) f->SetValue(value);
    return f;
  }
  // A comparable value as text: "Null", or its type code and its text under es_CL.
  static std::string Show(const Variant& v) {
    if (v.IsNull()) return "Null";
    return std::to_string(static_cast<int>(v.type())) + ":" + ToUtf8(CStr(v));
  }
  std::string Convert(const char* descriptor, const Variant& value, bool qel_format = false) {
    return Show(global_.QelConvert(*Field(descriptor), value, qel_format));
  }

  testing::ScopedLocale locale_{"es_CL.UTF-8"};
  QelGlobal global_;
};

// ---- QelConvert ---------------------------------------------------------------------------

// Read once per locale: a locale set for the thread is a new reading.
TEST_F(ValueCompare, ReadsTheDecimalSeparatorAgainAfterANewLocale) {
  EXPECT_EQ(global_.DecimalSeparator(), u',');
  EXPECT_EQ(ToUtf8(CStr(global_.ToDecimal("1.234,5"))), "1234,5");
  {
    testing::ScopedLocale us("en_US.UTF-8");
    EXPECT_EQ(global_.DecimalSeparator(), u'.');
    EXPECT_EQ(ToUtf8(CStr(global_.ToDecimal("1.234,5"))), "1234.5");
    EXPECT_EQ(global_.CobolCompare(1234.5, "1.234,5"), 0);
  }
  EXPECT_EQ(global_.DecimalSeparator(), u',');
  EXPECT_EQ(global_.CobolCompare(1234.5, "1.234,5"), 0);
}

TEST_F(ValueCompare, ConvertsNumbersInTheHostStyleOnlyWhenAsked) {
  EXPECT_EQ(Convert("N:9.2:N", "1.234,5", true), "14:1234,5");
  EXPECT_EQ(Convert("S:9.2:S", " -1.234,5 ", true), "14:-1234,5");
  EXPECT_EQ(Convert("N:9.2:N", 12.5), "14:12,5");
  // Without the host style the text goes to the locale's own conversion as it stands.
  testing::ScopedLocale us("en_US.UTF-8");
  QelGlobal us_global;
  auto n = Field("N:9.2:N");
  EXPECT_EQ(ToUtf8(CStr(us_global.QelConvert(*n, "1,5", true))), "1.5");
  EXPECT_EQ(ToUtf8(CStr(us_global.QelConvert(*n, "1,5", false))), "15");
  EXPECT_EQ(ErrorOf([&] { us_global.QelConvert(*n, "12x"); }),
            "13|QelGlobal.CmpToNumber:QelStd1|El valor '12x' no se puede convertir a "
            "Número\r\nNo coinciden los tipos");
}

TEST_F(ValueCompare, ConvertsTextsByDroppingTrailingBlanksOnly) {
  EXPECT_EQ(Convert("X:10:T", "  ab  "), "8:  ab");
  EXPECT_EQ(Convert("A:10:A", 12), "8:12");
}

TEST_F(ValueCompare, ConvertsDatesAndTheZeroDateToNull) {
  EXPECT_EQ(Show(global_.QelConvert(*Field("D:8:D"), " 12/03/2005 ")),
            Show(Variant(*MakeDate({2005, 3, 12}))));
  EXPECT_EQ(Convert("D:8:D", "00/00/0000"), "Null");
  EXPECT_EQ(Convert("D:8:D", "00-00-0000"), "Null");
  EXPECT_EQ(ErrorOf([&] { Convert("D:8:D", "31/02/2006"); }),
            "13|QelGlobal.CmpToDate:QelStd1|El valor '31/02/2006' no se puede convertir a "
            "Fecha\r\nNo coinciden los tipos");
}

TEST_F(ValueCompare, ConvertsRutsToTheirDigits) {
  EXPECT_EQ(Convert("R:10.1:R", "12.345.678-5"), "14:12345678");
  EXPECT_EQ(Convert("R:10.1:R", "12345678"), "14:12345678");  // unknown check character
  EXPECT_EQ(ErrorOf([&] { Convert("R:10.1:R", "12345678-4"); }),
            "-2147024809|QelGlobal.CmpToRut:QelStd1.CRut:InvalidParity|El valor '12345678-4' "
            "no se puede convertir a RUT\r\nRUT '12345678-4' con dígito verificador incorrecto");
}

// Empty is a value: it converts as the platform converts it, unlike a missing one.
TEST_F(ValueCompare, NullConvertsToNullAndEmptyAsThePlatformConvertsIt) {
  for (const char* d : {"X:4:T", "A:4:A", "N:4:N", "S:4:S", "D:8:D", "R:10.1:R"}) {
    EXPECT_EQ(Convert(d, Variant::Null()), "Null") << d;
  }
  const struct {
    const char* descriptor;
    const char* converted;
  } empty[] = {
      {"X:4:T", "8:"}, {"A:4:A", "8:"}, {"N:4:N", "14:0"}, {"S:4:S", "14:0"},
      {"D:8:D", "7:30-12-1899"},
  };
  for (const auto& c : empty) EXPECT_EQ(Convert(c.descriptor, Variant()), c.converted);
  EXPECT_EQ(global_.QelCompare(*Field("X:4:T", ""), 1, Variant()), 0);
  EXPECT_EQ(global_.QelCompare(*Field("N:4:N", 0), 1, Variant()), 0);
  EXPECT_EQ(global_.QelCompare(*Field("N:4:N", 1), 1, Variant()), 1);
}

TEST_F(ValueCompare, ListFieldsCannotBeConverted) {
  EXPECT_EQ(ErrorOf([&] { Convert("LB:4:ITEMS", "x"); }),
            "-2147024809|QelGlobal.QelConvert|No se puede convertir el campo 'ITEMS'");
  EXPECT_EQ(ErrorOf([&] { Convert("LE:4:FIN", "x"); }),
            "-2147024809|QelGlobal.QelConvert|No se puede convertir el campo 'FIN'");
}

// ---- QelCompare ---------------------------------------------------------------------------

// Texts by character code, numbers in the host style, dates and RUTs by value, Null first.
TEST_F(ValueCompare, ComparesByTheFieldsType) {
  const Variant amount = *ParseDecimal(u"1234,5", ThreadLocale());
  const Variant day = *MakeDate({2005, 3, 12});
  const struct {
    const char* descriptor;
    Variant value, other;
    int32_t expected;
  } cases[] = {
      {"X:5:T", "abc", "ABC", 1},           {"X:5:T", "abc", "abd", -1},
      {"X:5:T", "abc", "abc   ", 0},        {"X:5:T", "abc", " abc", 1},
      {"A:5:A", "ab ", "ab", 0},            {"X:5:T", "\u00e9", "z", 1},  // é after z
      {"N:9.2:N", amount, "1.234,50", 0},   {"N:9.2:N", amount, "1.234,51", -1},
      {"N:9.2:N", amount, " 999 ", 1},      {"N:9.2:N", amount, 1234.5, 0},
      {"S:5:S", -3, "-2", -1},              {"D:8:D", day, "12/03/2005", 0},
      {"D:8:D", day, "13-03-2005", -1},     {"D:8:D", day, *MakeDate({2004, 12, 31}), 1},
      {"R:10.1:R", "12345678-5", "9.999.999-3", 1},  // 9999999 < 12345678 as numbers
      {"R:10.1:R", "12345678-5", "12345678", 0},     // the check character is ignored
      {"D:8:D", Variant::Null(), "5-1-2000", -1},  {"N:4:N", 5, Variant::Null(), 1},
      {"D:8:D", Variant::Null(), Variant::Null(), 0},
      {"D:8:D", Variant::Null(), "00/00/0000", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(global_.QelCompare(*Field(c.descriptor, c.value), 1, c.other), c.expected)
        << c.descriptor << " " << Show(c.value) << " " << Show(c.other);
  }
}

TEST_F(ValueCompare, ComparesAgainstAnotherFieldAtItsIndex) {
  auto data = std::make_shared<QelRecordData>();
  auto list = QelRecordFieldInternal::Make(u"N:3:L", data);
  QelRecordFieldInternal::Place(*list, 1, 3, 3, 3, true);
  list->SetValue(7, 1);
  list->SetValue(1, 2);
  list->SetValue(2, 3);
  // The other field's value is converted by the first field's type: a text field compares
  // "7" and "10" as texts.
  auto text = Field("X:3:T", "10");
  EXPECT_EQ(global_.QelCompare(*text, 1, Variant(list), 1), -1);
  auto number = Field("N:3:N", 2);
  EXPECT_EQ(global_.QelCompare(*number, 1, Variant(list), 2), 1);
  EXPECT_EQ(global_.QelCompare(*number, 1, Variant(list), 3), 0);
  EXPECT_EQ(global_.QelCompare(*list, 2, Variant(number)), -1);
  const Error inner = testing::Catch([&] { list->Value(4); });
  const Error e = testing::Catch([&] { global_.QelCompare(*number, 1, Variant(list), 4); });
  EXPECT_EQ(e.Number(), inner.Number());
  EXPECT_EQ(e.Source(), u"QelGlobal.QelCompare:" + inner.Source());
  EXPECT_EQ(e.Description(), u"No se puede comparar el campo 'N'\r\n" + inner.Description());
}

TEST_F(ValueCompare, ChainsTheSourcesOfAFailedComparison) {
  auto r = Field("R:10.1:R", "12345678-5");
  EXPECT_EQ(ErrorOf([&] { global_.QelCompare(*r, 1, "12345678-4"); }),
            "-2147024809|QelGlobal.QelCompare:QelGlobal.CmpToRut:QelStd1.CRut:InvalidParity|"
            "No se puede comparar el campo 'R'\r\nEl valor '12345678-4' no se puede convertir a "
            "RUT\r\nRUT '12345678-4' con dígito verificador incorrecto");
  // Value2 omitted.
  EXPECT_EQ(ErrorOf([&] { global_.QelCompare(*Field("N:4:N", 1)); }),
            "13|QelGlobal.QelCompare:QelGlobal.CmpToNumber:QelStd1|No se puede comparar el "
            "campo 'N'\r\nEl valor '' no se puede convertir a Número\r\nNo coinciden los tipos");
  EXPECT_EQ(testing::Catch([&] { global_.QelCompare(*Field("LB:4:ITEMS"), 1, "x"); }).Source(),
            u"QelGlobal.QelCompare:QelGlobal.QelConvert");
}

// ---- ToDecimal and CobolCompare -------------------------------------------------------------

TEST_F(ValueCompare, ToDecimalReadsTheHostStyle) {
  EXPECT_EQ(ToUtf8(CStr(global_.ToDecimal(" -1.234,50 "))), "-1234,5");
  EXPECT_EQ(ToUtf8(CStr(global_.ToDecimal(7))), "7");
  EXPECT_EQ(ToUtf8(CStr(global_.ToDecimal("1.234.567"))), "1234567");
  EXPECT_EQ(ErrorOf([&] { global_.ToDecimal(Variant::Null()); }),
            "94|QelGlobal.ToDecimal:QelStd1|El valor '%1' no se puede convertir a "
            "Número\r\nUso no válido de Null");
  EXPECT_EQ(ErrorOf([&] { global_.ToDecimal("uno"); }),
            "13|QelGlobal.ToDecimal:QelStd1|El valor 'uno' no se puede convertir a "
            "Número\r\nNo coinciden los tipos");
}

TEST_F(ValueCompare, CobolCompareIgnoresTrailingBlanksAndComparesNumbersByValue) {
  EXPECT_EQ(global_.CobolCompare("ABC  ", "ABC"), 0);
  EXPECT_EQ(global_.CobolCompare(" ABC", "ABC"), -1);
  EXPECT_EQ(global_.CobolCompare("abc", "ABC"), 1);
  EXPECT_EQ(global_.CobolCompare(10, "9,5"), 1);
  EXPECT_EQ(global_.CobolCompare("10", "9,5"), -1);  // both texts: by character code
  EXPECT_EQ(global_.CobolCompare(1234.5, "1.234,50"), 0);
  EXPECT_EQ(global_.CobolCompare("1.234,49", 1234.5), -1);
  EXPECT_EQ(ErrorOf([&] { global_.CobolCompare(Variant::Null(), 1); }),
            "94|QelGlobal.CobolCompare:QelGlobal.ToDecimal:QelStd1|No se pueden comparar los "
            "valores suministrados\r\nEl valor '%1' no se puede convertir a Número\r\nUso no "
            "válido de Null");
}

TEST(ValueCompareFree, UseTheThreadsGlobalObject) {
  // A thread of its own, so that its QelGlobal is made under es_CL.
  std::string result;
  std::thread([&] {
    testing::ScopedLocale es("es_CL.UTF-8");
    auto f = QelRecordFieldInternal::Make(u"N:9.2:N", std::make_shared<QelRecordData>());
    f->SetValue(*ParseDecimal(u"1234,5", ThreadLocale()));
    result = ToUtf8(CStr(QelConvert(*f, "1.234,5", true))) + "|" +
             std::to_string(QelCompare(*f, 1, "1.234,50")) + "|" +
             ToUtf8(CStr(ToDecimal("2.000,25"))) + "|" +
             std::to_string(CobolCompare("B", "A  ")) + "|" +
             std::to_string(QelGlobal::Instance()->DecimalSeparator() == u',');
  }).join();
  EXPECT_EQ(result, "1234,5|0|2000,25|1|1");
}

// The members forward to the file helpers (tested in util), results unchanged.
TEST(GlobalFiles, ForwardsToTheFileHelpers) {
  testing::TempDir dir;
  const Text sub = FromUtf8(dir.File("sub"));
  QelGlobal& g = *QelGlobal::Instance();
  EXPECT_TRUE(g.MakeDirectory(sub));
  EXPECT_FALSE(g.MakeDirectory(sub));
  EXPECT_FALSE(g.DeleteFile(sub + u"/*.txt"));
  EXPECT_TRUE(g.RemoveDirectory(sub));
  EXPECT_FALSE(g.OpenDocument(u"", 0));
}

}  // namespace
}  // namespace qel
