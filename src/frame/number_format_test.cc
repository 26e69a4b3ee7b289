#include "qel/frame/number_format.h"

#include <gtest/gtest.h>

#include "frame/testing.h"

#include "qel/frame/convert.h"

namespace qel {
namespace {

// Each row: a number in C notation, the pattern, its text under es_CL and, where given, under
// en_US.
TEST(FormatNumber, PatternsUnderTheLocaleSeparators) {
  const LocaleInfo es = *LookupLocale("es_CL.UTF-8");
  const LocaleInfo en = *LookupLocale("en_US.UTF-8");
  const struct {
    const char* number;
    const char* pattern;
    const char* es;
    const char* en;
  } cases[] = {
      // Grouping with the locale's separators.
      {"1234567.891", "#,##0.00", "1.234.567,89", "1,234,567.89"},
      {"12345678", "#,###", "12.345.678", nullptr},
      {"123", "#,##0", "123", nullptr},
      {"1234", "0", "1234", nullptr},
      // Zero and mandatory digits.
      {"0", "#,###", "", nullptr},      {"0", "#,##0", "0", nullptr},
      {"0", "#,##0.00", "0,00", nullptr}, {"7", "000", "007", nullptr},
      {"0.5", "#.##", ",5", nullptr},
      // Half away from zero; optional zeros dropped.
      {"2.345", "0.00", "2,35", nullptr},    {"-2.345", "0.00", "-2,35", nullptr},
      {"0.5", "#,##0", "1", nullptr},        {"999.996", "#,##0.00", "1.000,00", nullptr},
      {"1.234", "0.0#", "1,23", nullptr},    {"1.2", "0.0#", "1,2", nullptr},
      {"1.5", "0.###", "1,5", nullptr},
      // Sign and literals; a negative that rounds to zero loses its sign.
      {"-1234.5", "#,##0.00", "-1.234,50", nullptr},
      {"-0.001", "#,##0.00", "0,00", nullptr},
      {"-5", "$ #,##0 CLP", "-$ 5 CLP", nullptr},
      {"1.5", "General", "1,5", nullptr},    {"1.5", "", "1,5", nullptr},
      // The widest decimals.
      {"79228162514264337593543950335", "#,##0", "79.228.162.514.264.337.593.543.950.335",
       nullptr},
      {"0.0000000000000000000000000001", "0.0000", "0,0000", nullptr},
      {"0.0000000000000000000000000001", "0.0000000000000000000000000000",
       "0,0000000000000000000000000001", nullptr},
  };
  for (const auto& c : cases) {
    const Decimal d = *ParseDecimal(T(c.number), *LookupLocale("C"));
    EXPECT_EQ(ToUtf8(FormatNumber(d, T(c.pattern), es)), c.es) << c.number << " " << c.pattern;
    if (c.en != nullptr) EXPECT_EQ(ToUtf8(FormatNumber(d, T(c.pattern), en)), c.en);
  }
}

}  // namespace
}  // namespace qel
