#include "qel/frame/number_format.h"

#include <gtest/gtest.h>

#include "frame/testing.h"

#include "qel/frame/convert.h"

namespace qel {
namespace {

class FormatNumberTest : public ::testing::Test {
 protected:
  std::string Es(const char* number, const char* pattern) { return Format(number, pattern, es_); }
  std::string En(const char* number, const char* pattern) { return Format(number, pattern, en_); }

 private:
  static std::string Format(const char* number, const char* pattern, const LocaleInfo& loc) {
    const Decimal d = *ParseDecimal(T(number), *LookupLocale("C"));
    return ToUtf8(FormatNumber(d, T(pattern), loc));
  }
  LocaleInfo es_ = *LookupLocale("es_CL.UTF-8");
  LocaleInfo en_ = *LookupLocale("en_US.UTF-8");
};

TEST_F(FormatNumberTest, GroupsWithTheLocaleSeparators) {
  EXPECT_EQ(Es("1234567.891", "#,##0.00"), "1.234.567,89");
  EXPECT_EQ(En("1234567.891", "#,##0.00"), "1,234,567.89");
  EXPECT_EQ(Es("12345678", "#,###"), "12.345.678");
  EXPECT_EQ(Es("123", "#,##0"), "123");
  EXPECT_EQ(Es("1234", "0"), "1234");
}

TEST_F(FormatNumberTest, ZeroAndMandatoryDigits) {
  EXPECT_EQ(Es("0", "#,###"), "");
  EXPECT_EQ(Es("0", "#,##0"), "0");
  EXPECT_EQ(Es("0", "#,##0.00"), "0,00");
  EXPECT_EQ(Es("7", "000"), "007");
  EXPECT_EQ(Es("0.5", "#.##"), ",5");
}

TEST_F(FormatNumberTest, RoundsHalfAwayFromZeroAndDropsOptionalZeros) {
  EXPECT_EQ(Es("2.345", "0.00"), "2,35");
  EXPECT_EQ(Es("-2.345", "0.00"), "-2,35");
  EXPECT_EQ(Es("0.5", "#,##0"), "1");
  EXPECT_EQ(Es("999.996", "#,##0.00"), "1.000,00");
  EXPECT_EQ(Es("1.234", "0.0#"), "1,23");
  EXPECT_EQ(Es("1.2", "0.0#"), "1,2");
  EXPECT_EQ(Es("1.5", "0.###"), "1,5");
}

TEST_F(FormatNumberTest, SignAndLiterals) {
  EXPECT_EQ(Es("-1234.5", "#,##0.00"), "-1.234,50");
  EXPECT_EQ(Es("-0.001", "#,##0.00"), "0,00");
  EXPECT_EQ(Es("-5", "$ #,##0 CLP"), "-$ 5 CLP");
  EXPECT_EQ(Es("1.5", "General"), "1,5");
  EXPECT_EQ(Es("1.5", ""), "1,5");
}

TEST_F(FormatNumberTest, WidestDecimals) {
  EXPECT_EQ(Es("79228162514264337593543950335", "#,##0"),
            "79.228.162.514.264.337.593.543.950.335");
  EXPECT_EQ(Es("0.0000000000000000000000000001", "0.0000"), "0,0000");
  EXPECT_EQ(Es("0.0000000000000000000000000001", "0.0000000000000000000000000000"),
            "0,0000000000000000000000000001");
}

}  // namespace
}  // namespace qel
