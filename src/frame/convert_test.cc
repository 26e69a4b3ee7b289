#include "qel/frame/convert.h"

#include <gtest/gtest.h>

#include <cmath>

#include "frame/testing.h"
#include "qel/frame/date.h"
#include "qel/frame/error.h"

namespace qel {
namespace {

using testing::Catch;
using testing::ScopedLocale;

Date MakeDay(int y, int m, int d) { return *MakeDate({y, m, d}); }

int ErrNumber(const std::function<void()>& body) { return Catch(body).Number(); }

class ConvertEs : public ::testing::Test {
 protected:
  ScopedLocale locale_{"es_CL.UTF-8"};
};

class ConvertEn : public ::testing::Test {
 protected:
  ScopedLocale locale_{"en_US.UTF-8"};
};

TEST(ConvertInteger, RoundsHalfToEven) {
  EXPECT_EQ(CLng(2.5), 2);
  EXPECT_EQ(CLng(3.5), 4);
  EXPECT_EQ(CLng(-2.5), -2);
  EXPECT_EQ(CInt(Decimal::FromParts(15, 1, false)), 2);
  EXPECT_EQ(CLng(Currency{25000}), 2);
  EXPECT_EQ(CLng(Currency{-35000}), -4);
  EXPECT_EQ(ErrNumber([] { CByte(true); }), kErrOverflow);  // True is -1
}

TEST(ConvertInteger, RangesOverflowWithError6) {
  EXPECT_EQ(CInt(int32_t{32767}), 32767);
  EXPECT_EQ(ErrNumber([] { CInt(int32_t{32768}); }), kErrOverflow);
  EXPECT_EQ(ErrNumber([] { CLng(2147483647.5); }), kErrOverflow);
  EXPECT_EQ(ErrNumber([] { CByte(int32_t{-1}); }), kErrOverflow);
  EXPECT_EQ(ErrNumber([] { CLng(1e300); }), kErrOverflow);
  EXPECT_EQ(ErrNumber([] { CLng(std::nan("")); }), kErrOverflow);
}

TEST(ConvertErrors, MismatchNullAndNothing) {
  const Error e = Catch([] { CLng(u"abc"); });
  EXPECT_EQ(testing::Describe(e), "13|QelStd1|No coinciden los tipos");
  EXPECT_EQ(ErrNumber([] { CDbl(Variant::Null()); }), kErrInvalidNull);
  EXPECT_EQ(ErrNumber([] { CStr(Variant::Null()); }), kErrInvalidNull);
  EXPECT_EQ(ErrNumber([] { CStr(Variant::Nothing()); }), kErrObjectNotSet);
  EXPECT_EQ(ErrNumber([] { CDbl(u""); }), kErrTypeMismatch);
  EXPECT_EQ(ErrNumber([] { CDbl(u"1e"); }), kErrTypeMismatch);
  EXPECT_EQ(ErrNumber([] { CDbl(Variant(ByteArray{1})); }), kErrTypeMismatch);
  EXPECT_EQ(ToLongOr(u"x", -1), -1);
  EXPECT_EQ(ToLongOr(u" 12 ", -1), 12);
}

TEST(ConvertEmpty, BecomesZeroValues) {
  EXPECT_EQ(CStr(Variant()), u"");
  EXPECT_EQ(CLng(Variant()), 0);
  EXPECT_FALSE(CBool(Variant()));
  EXPECT_EQ(CDate(Variant()).serial, 0);
}

TEST_F(ConvertEs, HostStyleNumbers) {
  EXPECT_EQ(CDec(u"1.234,5"), Decimal::FromParts(12345, 1, false));
  EXPECT_EQ(CStr(1234.5), u"1234,5");
  EXPECT_EQ(CStr(CDec(u"1.234,50")), u"1234,5");
  EXPECT_EQ(CDbl(u"1.5"), 15.0);  // "." groups thousands here
  EXPECT_EQ(CDbl(u" -0,25 "), -0.25);
  EXPECT_EQ(CDbl(u"(3)"), -3.0);
  EXPECT_EQ(CLng(u"&HFF"), 255);
  EXPECT_EQ(CInt(u"&HFFFF"), -1);
}

TEST_F(ConvertEs, DecimalOverflowAndExactness) {
  EXPECT_EQ(ErrNumber([] { CDec(u"99999999999999999999999999999"); }), kErrOverflow);
  EXPECT_EQ(CStr(CDec(u"79228162514264337593543950335")), u"79228162514264337593543950335");
  EXPECT_EQ(CStr(CDec(u"0,1") + CDec(u"0,2")), u"0,3");
  EXPECT_EQ(CStr(CDec(0.1)), u"0,1");
  EXPECT_EQ(CStr(CDec(1.0 / 3)), u"0,333333333333333");
}

TEST_F(ConvertEs, DatesDayFirstWithDash) {
  const Date d = CDate(u"15-03-2006");
  EXPECT_EQ(d.serial, MakeDay(2006, 3, 15).serial);
  EXPECT_EQ(CStr(d), u"15-03-2006");
  EXPECT_EQ(CStr(CDate(u"15/03/06 14:05")), u"15-03-2006 14:05:00");
  EXPECT_EQ(CStr(CDate(u"1-1-100")), u"01-01-0100");
  EXPECT_EQ(CStr(CDate(u"2006-03-15")), u"15-03-2006");
  EXPECT_EQ(CStr(CDate(u"10:30")), u"10:30:00");
  EXPECT_EQ(CStr(Date{0}), u"30-12-1899");
}

TEST_F(ConvertEs, BadDatesAreMismatchesAndRangeOverflows) {
  for (const char16_t* bad : {u"31-02-2006", u"2006", u"abc", u"15--03-2006",
                              u"15-03-2006 25:00", u"1-1-99999", u"15-03-2006 10"}) {
    EXPECT_EQ(ErrNumber([&] { CDate(bad); }), kErrTypeMismatch) << ToUtf8(bad);
  }
  EXPECT_EQ(ErrNumber([] { CDate(3e6); }), kErrOverflow);
  EXPECT_EQ(ErrNumber([] { CDate(-700000.0); }), kErrOverflow);
}

TEST_F(ConvertEn, MonthFirstAndTwelveHourClock) {
  EXPECT_EQ(CStr(CDate(u"03/15/2006")), u"03/15/2006");
  EXPECT_EQ(CStr(CDate(u"15/03/2006")), u"03/15/2006");  // no 15th month: read day first
  EXPECT_EQ(CStr(CDate(u"3/15/2006 2:05 PM")), u"03/15/2006 02:05:00 PM");
  EXPECT_EQ(CStr(1234.5), u"1234.5");
  EXPECT_EQ(CDbl(u"1,234.5"), 1234.5);
}

TEST(ConvertDate, NegativeSerialsCountTimeForward) {
  const DateParts p = SplitDate(Date{-1.25});
  EXPECT_EQ(p.year, 1899);
  EXPECT_EQ(p.day, 29);
  EXPECT_EQ(p.hour, 6);
  EXPECT_EQ(MakeDate({1899, 12, 29, 6, 0, 0})->serial, -1.25);
  EXPECT_EQ(MakeDate({100, 1, 1})->serial, kMinDateSerial);
  EXPECT_FALSE(MakeDate({2006, 2, 29}));
  EXPECT_TRUE(MakeDate({2004, 2, 29}));
}

TEST(ConvertDouble, PrintsLikeThePlatform) {
  ScopedLocale c("en_US.UTF-8");
  EXPECT_EQ(CStr(0.1 + 0.2), u"0.3");
  EXPECT_EQ(CStr(123456789012345.0), u"123456789012345");
  EXPECT_EQ(CStr(1e15), u"1E+15");
  EXPECT_EQ(CStr(0.0001), u"0.0001");
  EXPECT_EQ(CStr(0.00001), u"1E-05");
  EXPECT_EQ(CStr(-1.5e-7), u"-1.5E-07");
  EXPECT_EQ(CStr(1.0f / 3), u"0.3333333");
  EXPECT_EQ(CStr(-0.0), u"0");
  EXPECT_EQ(CStr(Currency{15000}), u"1.5");
  EXPECT_EQ(CStr(int16_t{-3}), u"-3");
}

TEST(ConvertOther, BooleansCurrencyAndChangeType) {
  ScopedLocale c("en_US.UTF-8");
  EXPECT_TRUE(CBool(u"true"));
  EXPECT_FALSE(CBool(u"Falso"));
  EXPECT_TRUE(CBool(u"-1"));
  EXPECT_EQ(CLng(true), -1);
  EXPECT_EQ(ErrNumber([] { CBool(u"maybe"); }), kErrTypeMismatch);
  EXPECT_EQ(CCur(u"1.23456").scaled, 12346);
  EXPECT_EQ(CCur(0.00005).scaled, 0);  // half to even
  EXPECT_EQ(ErrNumber([] { CCur(1e16); }), kErrOverflow);
  EXPECT_EQ(ChangeType(u"12", VarType::kInteger), Variant(int16_t{12}));
  EXPECT_EQ(ChangeType(int32_t{1}, VarType::kString), Variant(u"1"));
  EXPECT_EQ(ErrNumber([] { ChangeType(1, VarType::kObject); }), kErrTypeMismatch);
}

}  // namespace
}  // namespace qel
