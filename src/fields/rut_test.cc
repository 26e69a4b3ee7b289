#include "qel/fields/rut.h"

#include <gtest/gtest.h>

#include "frame/testing.h"
#include "qel/frame/decimal.h"

namespace qel {
namespace {

using testing::ErrorOf;

std::string Validate(const char* rut, int32_t size = 0, bool allow = false, bool compute = false) {
  return ToUtf8(QelValidateRUT(T(rut), size, allow, compute));
}

std::string ValidateError(const char* rut, bool allow = false) {
  return ErrorOf([&] { QelValidateRUT(T(rut), 0, allow); });
}

std::string Crut(const Variant& v, int32_t width) { return ToUtf8(CRut(v, width)); }

TEST(RutCheckChar, ModuloElevenWithCyclicWeights) {
  EXPECT_EQ(RutCheckChar(u"12345678"), u'5');
  EXPECT_EQ(RutCheckChar(u"1"), u'9');
  EXPECT_EQ(RutCheckChar(u"6"), u'K');               // sum 12: remainder 1
  EXPECT_EQ(RutCheckChar(u"0"), u'0');               // sum 0: multiple of 11
  EXPECT_EQ(RutCheckChar(u"00012345678"), u'5');     // leading zeros add nothing
  // Weights 2..7, 2..7, 2, 3 sum to 59; without wrapping after 7 the character would be "2".
  EXPECT_EQ(RutCheckChar(u"11111111111111"), u'7');
}

// The weighted sum of 40 million nines passes 2^31; the check character must still be the
// one the sum modulo 11 gives.
TEST(RutCheckChar, AbsurdlyLongInputsDoNotOverflowTheSum) {
  const size_t n = 40'000'000;
  int64_t sum = 0;
  for (size_t i = 0; i < n; ++i) sum += 9 * static_cast<int64_t>(2 + i % 6);
  const int64_t r = 11 - sum % 11;
  const char16_t expected = r == 11 ? u'0' : r == 10 ? u'K' : static_cast<char16_t>(u'0' + r);
  EXPECT_EQ(RutCheckChar(Text(n, u'9')), expected);
}

TEST(QelValidateRUT, ReturnsTheCompactForm) {
  EXPECT_EQ(Validate("12.345.678-5"), "123456785");
  EXPECT_EQ(Validate("12,345,678-5", 10), "0123456785");
  EXPECT_EQ(Validate("12.345.678-5", 5), "56785");
  EXPECT_EQ(Validate("  1-9 "), "19");
  EXPECT_EQ(Validate("6-k"), "6K");
  EXPECT_EQ(Validate("12345678-?", 0, true), "12345678?");
  EXPECT_EQ(Validate("12345678-?", 0, true, true), "123456785");
}

TEST(QelValidateRUT, RefusesWithChainedSources) {
  const std::string parity = "-2147024809|QelStd1.QelValidateRUT:InvalidParity|RUT '";
  EXPECT_EQ(ValidateError("1-k"), parity + "1-k' con dígito verificador incorrecto");
  EXPECT_EQ(ValidateError(" 12345678 "), parity + "12345678' con dígito verificador incorrecto");
  EXPECT_EQ(ValidateError("12345678-"), parity + "12345678-' con dígito verificador incorrecto");
  EXPECT_EQ(ValidateError("12345678-?"), parity + "12345678-?' con dígito verificador incorrecto");
  const std::string invalid = "-2147024809|QelStd1.QelValidateRUT:InvalidCharacter|RUT '";
  EXPECT_EQ(ValidateError("12345678-5-"), invalid + "12345678-5-' con caracter inválido");
  EXPECT_EQ(ValidateError("12345678-55"), invalid + "12345678-55' con caracter inválido");
  EXPECT_EQ(ValidateError("12A45"), invalid + "12A45' con caracter inválido");
  EXPECT_EQ(ValidateError("12345678-x"), invalid + "12345678-x' con caracter inválido");
  const std::string zero = "-2147024809|QelStd1.QelValidateRUT:ZeroDigits|RUT '";
  EXPECT_EQ(ValidateError("-5"), zero + "-5' no comienza con dígitos");
  EXPECT_EQ(ValidateError("   "), zero + "' no comienza con dígitos");
}

TEST(CRut, DashedAndCompactForms) {
  EXPECT_EQ(Crut("12.345.678", 0), "12345678-?");
  EXPECT_EQ(Crut("0012345678-5", -1), "0012345678-5");
  EXPECT_EQ(Crut("12345678-5", 9), "0123456785");
  EXPECT_EQ(Crut(" 6-k ", 3), "006K");
  EXPECT_EQ(Crut("1.2.3", 0), "123-?");
}

TEST(CRut, ConvertsOtherValuesToTextFirst) {
  EXPECT_EQ(Crut(int32_t{123456785}, 0), "123456785-?");
  EXPECT_EQ(Crut(*Decimal::FromDigits("12345678", 0, false), 9), "012345678?");
  EXPECT_EQ(ErrorOf([] { CRut(Variant::Null(), 0); }),
            "94|QelStd1.CRut:QelStd1|Uso no válido de Null");
}

TEST(CRut, Refuses) {
  const std::string crut = "-2147024809|QelStd1.CRut:";
  EXPECT_EQ(ErrorOf([] { CRut(u"123456789-2", 8); }),
            crut + "TooLong|RUT '123456789-2' demasiado largo");
  for (const char* rut : {"12345678-4", "12345678-"}) {
    EXPECT_EQ(ErrorOf([&] { CRut(T(rut), 0); }),
              crut + "InvalidParity|RUT '" + rut + "' con dígito verificador incorrecto");
  }
  EXPECT_EQ(ErrorOf([] { CRut(u"12345678-?x", 0); }),
            crut + "InvalidCharacter|RUT '12345678-?x' con caracter inválido");
  EXPECT_EQ(ErrorOf([] { CRut(u"", 0); }), crut + "ZeroDigits|RUT '' no comienza con dígitos");
}

TEST(QelFormatRUT, DisplayForm) {
  testing::ScopedLocale es("es_CL.UTF-8");
  EXPECT_EQ(QelFormatRUT(u"0123456785", true), u"12.345.678-5");
  EXPECT_EQ(QelFormatRUT(u"0123456785"), u"12345678-5");
  EXPECT_EQ(QelFormatRUT(u"00K", true), u"-K");
  EXPECT_EQ(QelFormatRUT(u"6K"), u"6-K");
  EXPECT_EQ(ErrorOf([] { QelFormatRUT(u"12A4"); }),
            "13|QelStd1.QelFormatRUT:QelStd1|No coinciden los tipos");
  EXPECT_EQ(ErrorOf([] { QelFormatRUT(u""); }),
            "13|QelStd1.QelFormatRUT:QelStd1|No coinciden los tipos");
  testing::ScopedLocale en("en_US.UTF-8");
  EXPECT_EQ(QelFormatRUT(u"0123456785", true), u"12,345,678-5");
}

}  // namespace
}  // namespace qel
