#include "qel/fields/qel_record_field.h"

#include <gtest/gtest.h>

#include <vector>

#include "fields/qel_record_field_internal.h"
#include "frame/testing.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"

namespace qel {
namespace {

using testing::ErrorOf;

Date Day(int y, int m, int d) { return *MakeDate({y, m, d}); }

// A field on its own buffer, under es_CL.
class FieldTest : public ::testing::Test {
 protected:
  std::shared_ptr<QelRecordField> Field(const char* descriptor) {
    return QelRecordFieldInternal::Make(T(descriptor), data_);
  }
  // A field on a buffer of its own.
  static std::shared_ptr<QelRecordField> Alone(const char* descriptor) {
    return QelRecordFieldInternal::Make(T(descriptor), std::make_shared<QelRecordData>());
  }
  // The data text in UTF-8, with the null filler shown as "~".
  std::string Data() {
    std::string out = ToUtf8(data_->Data());
    for (auto& c : out) {
      if (c == '\x1a') c = '~';
    }
    return out;
  }
  // A value as text, Null shown as "Null".
  static std::string Show(const Variant& v) { return v.IsNull() ? "Null" : ToUtf8(CStr(v)); }
  // Writes then reads back through one field: "slot => value".
  std::string RoundTrip(const char* descriptor, const Variant& value) {
    data_->SetData(Text());
    auto f = Field(descriptor);
    f->SetValue(value);
    return Data() + " => " + Show(f->Value());
  }
  // Reads a raw slot: the value.
  std::string Read(const char* descriptor, const Text& slot) {
    data_->SetData(slot);
    return Show(Field(descriptor)->Value());
  }

  testing::ScopedLocale locale_{"es_CL.UTF-8"};
  std::shared_ptr<QelRecordData> data_ = std::make_shared<QelRecordData>();
};

// ---- Descriptors ----------------------------------------------------------------------------

TEST_F(FieldTest, DescriptorsDefineTheField) {
  auto describe = [&](const char* descriptor) {
    auto f = Field(descriptor);
    return ToUtf8(f->Name()) + "|" + std::to_string(f->DataType()) + "|" +
           std::to_string(f->Length()) + "|" + std::to_string(f->Precision()) + "|" +
           std::to_string(f->Dimensions()) + "|" + ToUtf8(f->Format()) + "|" +
           std::to_string(f->MaxTextLength()) + "|" + Show(f->Default());
  };
  EXPECT_EQ(describe("N:12.2:monto"), "MONTO|3|12|2|0|#,##0.00|16|0");
  EXPECT_EQ(describe("S:5:SALDO"), "SALDO|4|5|0|0|#,##0|7|0");
  EXPECT_EQ(describe("S:7.2:SALDO:-1,5"), "SALDO|4|7|2|0|#,##0.00|10|-1,5");
  EXPECT_EQ(describe("R:10.1:RUT"), "RUT|6|10|1|0|#,##0|13|0-0");
  EXPECT_EQ(describe("D:8:FECHA"), "FECHA|5|8|0|0|dd-mm-yyyy|10|01-01-0100");
  EXPECT_EQ(describe("D:6:FECHA:15-03-2006"), "FECHA|5|6|0|0|dd-mm-yyyy|10|15-03-2006");
  EXPECT_EQ(describe("LB:120.4:ITEMS"), "ITEMS|1|120|0|4||120|Null");
  EXPECT_EQ(describe("LB:4:ITEMS"), "ITEMS|1|0|0|4||0|Null");
  EXPECT_EQ(describe("LE:120:ITEMS"), "ITEMS|8|120|0|0||0|Null");
  EXPECT_EQ(describe("x:10:OBS:a:b"), "OBS|2|10|0|0||10|a:b");
  EXPECT_EQ(describe("A:3:COD"), "COD|7|3|0|0||3|");
  EXPECT_EQ(describe("CS:42:CLIENTE:ABC  "), "CLIENTE|102|42|0|0||0|ABC");
}

TEST_F(FieldTest, BadDescriptorsNameTheFailedCheck) {
  auto error = [&](const char* descriptor) { return ErrorOf([&] { Field(descriptor); }); };
  EXPECT_EQ(error("D:7:FECHA"),
            "-2147024809|QelRecordField.Initialize:DateLength|El descriptor de campo 'D:7:FECHA' "
            "es inválido\r\nEl Largo de una Fecha debe ser 4,6,8");
  EXPECT_EQ(error("Q:10:OBS"),
            "-2147024809|QelRecordField.Initialize:DataType|El descriptor de campo 'Q:10:OBS' es "
            "inválido\r\nEl tipo de campo 'Q' es desconocido");
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"R:10:RUT", "RutPrecision"},  {"R:1.1:RUT", "RutLength"},
      {"X:20.1:NOMBRE", "TextPrecision"}, {"X:0:NOMBRE", "Length"},
      {"X:abc:NOMBRE", "Length"},    {"X", "Length"},
      {"D:8.1:FECHA", "DatePrecision"}, {"N:5.-1:X", "Precision"},
      {"N:5.:X", "Precision"},       {"", "DataType"},
      {"A:3.2:X", "TextPrecision"},  {"LB:0.4:X", "Length"},
  };
  for (const auto& [descriptor, source] : cases) {
    const char* d = descriptor;
    const Error e = testing::Catch([&] { Field(d); });
    EXPECT_EQ(ToUtf8(e.Source()), std::string("QelRecordField.Initialize:") + source)
        << descriptor;
    EXPECT_EQ(e.Number(), E_INVALIDARG) << descriptor;
  }
  // A scale past the 28 places of a Decimal overflows.
  EXPECT_EQ(error("N:40.29:X"),
            "6|QelRecordField.Initialize:QelStd1|El descriptor de campo 'N:40.29:X' es "
            "inválido\r\nDesbordamiento");
  // Refused before anything the size of the precision is built.
  EXPECT_EQ(testing::Catch([&] { Field("N:12.2000000000:X"); }).Number(), kErrOverflow);
}

// ---- Numbers --------------------------------------------------------------------------------

TEST_F(FieldTest, NumbersAreZeroFilledWithTruncatedDecimals) {
  EXPECT_EQ(RoundTrip("N:6.2:N", *Decimal::FromDigits("12345", -1, false)), "123450 => 1234,5");
  EXPECT_EQ(RoundTrip("N:6.2:N", 12.349), "001234 => 12,34");
  EXPECT_EQ(RoundTrip("N:5.2:N", u" 12,3 "), "01230 => 12,3");
  EXPECT_EQ(RoundTrip("N:4:N", int32_t{123456}), "3456 => 3456");  // wider: leftmost digits go
  EXPECT_EQ(RoundTrip("N:5:N", 0.9), "00000 => 0");
  EXPECT_EQ(RoundTrip("N:3:N", Variant::Null()), "    => 0");  // blanks: not informed
  EXPECT_EQ(RoundTrip("N:30.4:N", *Decimal::FromDigits("79228162514264337593543950335", -4,
                                                        false)),
            "079228162514264337593543950335 => 7922816251426433759354395,0335");
  EXPECT_EQ(RoundTrip("N:3.5:N", 0.123456), "345 => 0,00345");
}

TEST_F(FieldTest, NegativeNumbersMarkTheirLastDigitBothWays) {
  EXPECT_EQ(RoundTrip("S:5.2:S", -12.345), "0123\u00b4 => -12,34");  // "4" with bit 7 set
  EXPECT_EQ(RoundTrip("S:3:S", int32_t{-120}), "12\u00b0 => -120");
  data_->SetSignANSI(true);
  EXPECT_EQ(RoundTrip("S:5.2:S", -12.345), "0123M => -12,34");
  EXPECT_EQ(RoundTrip("S:3:S", int32_t{-120}), "12} => -120");
  EXPECT_EQ(RoundTrip("S:3:S", int32_t{-121}), "12J => -121");
  EXPECT_EQ(RoundTrip("S:3:S", int32_t{121}), "121 => 121");
}

TEST_F(FieldTest, ReadingAcceptsEveryMarking) {
  EXPECT_EQ(Read("S:4:S", u"012{"), "120");
  EXPECT_EQ(Read("S:4:S", u"012}"), "-120");
  EXPECT_EQ(Read("S:4:S", u"012A"), "121");
  EXPECT_EQ(Read("S:4:S", u"012I"), "129");
  EXPECT_EQ(Read("S:4:S", u"012J"), "-121");
  EXPECT_EQ(Read("S:4:S", u"012R"), "-129");
  EXPECT_EQ(Read("S:4:S", Text(u"012") + char16_t{176 + 5}), "-125");
  EXPECT_EQ(Read("N:4.2:N", u"123M"), "-12,34") << "a numeric field reads marks too";
  EXPECT_EQ(Read("N:4:N", u"    "), "0");
  EXPECT_EQ(Read("N:4:N", u" 12 "), "12");
  EXPECT_EQ(Read("N:5.1:N", u"1.234"), "123,4") << "non-digits go through the locale";
  EXPECT_EQ(ErrorOf([&] { Read("N:4:N", u"12X4"); }),
            "13|QelRecordField.ValueGet|No se pudo obtener el valor del campo 'N'\r\nNo "
            "coinciden los tipos");
}

TEST_F(FieldTest, StarStandsForTheCurrentTime) {
  auto now = [] {
    const DateParts p = SplitDate(Now());
    return p.hour * 100 + p.minute;
  };
  const int before = now();
  auto f = Field("N:4:HORA");
  f->SetValue(u"*");
  const int after = now();
  const int32_t stored = CLng(f->Value());
  EXPECT_TRUE(stored == before || stored == after) << stored;
  data_->SetData(u"   *");
  const int64_t hhmmss = CLng(f->Value());
  EXPECT_TRUE(hhmmss / 100 == before || hhmmss / 100 == after) << hhmmss;
}

// ---- Dates, RUTs, texts ---------------------------------------------------------------------

TEST_F(FieldTest, DatesIn4_6And8Characters) {
  EXPECT_EQ(RoundTrip("D:4:F", Day(2006, 3, 15)), "0603 => 01-03-2006");
  EXPECT_EQ(RoundTrip("D:6:F", Day(2006, 3, 15)), "060315 => 15-03-2006");
  EXPECT_EQ(RoundTrip("D:8:F", u"15-03-2006"), "20060315 => 15-03-2006");
  EXPECT_EQ(RoundTrip("D:8:F", Variant::Null()), "00000000 => Null");
  EXPECT_EQ(RoundTrip("D:8:F", Day(100, 1, 1)), "00010101 => 01-01-0100");
  EXPECT_EQ(RoundTrip("D:6:F", Day(100, 1, 1)), "010101 => 01-01-0100");
  EXPECT_EQ(RoundTrip("D:4:F", Day(100, 1, 1)), "0101 => 01-01-0100");
  EXPECT_EQ(Read("D:6:F", u"291231"), "31-12-2029");
  EXPECT_EQ(Read("D:6:F", u"300101"), "01-01-1930");
  EXPECT_EQ(Read("D:8:F", u"        "), "Null");
  EXPECT_EQ(ErrorOf([&] { Read("D:8:F", u"20061345"); }),
            "13|QelRecordField.ValueGet|No se pudo obtener el valor del campo 'F'\r\nNo "
            "coinciden los tipos");
  EXPECT_EQ(ErrorOf([&] { Read("D:8:F", u"2006031 "); }).substr(0, 2), "13");
}

TEST_F(FieldTest, RutsInCompactForm) {
  EXPECT_EQ(RoundTrip("R:10.1:RUT", u"12.345.678-5"), "0123456785 => 12345678-5");
  EXPECT_EQ(RoundTrip("R:10.1:RUT", u"6-k"), "000000006K => 6-K");
  EXPECT_EQ(RoundTrip("R:10.1:RUT", u"12345678"), "012345678? => 12345678-?");
  EXPECT_EQ(RoundTrip("R:10.1:RUT", Variant::Null()), "           => 0-0");
  EXPECT_EQ(Read("R:10.1:RUT", u"          "), "0-0");
  EXPECT_EQ(ErrorOf([&] { Field("R:5.1:RUT")->SetValue(u"12345678-5"); }),
            "-2147024809|QelRecordField.ValueLet|No se pudo cambiar el valor del campo "
            "'RUT'\r\nRUT '12345678-5' demasiado largo");
  EXPECT_EQ(ErrorOf([&] { Read("R:10.1:RUT", u"0123456784"); }),
            "-2147024809|QelRecordField.ValueGet|No se pudo obtener el valor del campo "
            "'RUT'\r\nRUT '12345678-4' con dígito verificador incorrecto");
}

TEST_F(FieldTest, TextsAreBlankPaddedAndCut) {
  EXPECT_EQ(RoundTrip("X:5:T", u"abcdefg"), "abcde => abcde");
  EXPECT_EQ(RoundTrip("A:5:T", u" ab"), " ab   =>  ab");
  EXPECT_EQ(RoundTrip("X:5:T", 1.5), "1,5   => 1,5");
  EXPECT_EQ(RoundTrip("X:2:T", Variant::Null()), "   => ");
  EXPECT_EQ(Read("X:2:T", u"\x1a\x1a"), "Null");  // the filler of older writers
}

// Writing into a list end or writing Null into a member must leave the other members' data.
TEST_F(FieldTest, NullAndListEndWritesKeepTheListsData) {
  auto begin = Field("LB:6.2:L");
  auto member = Field("X:3:M");
  auto end = Field("LE:6:L");
  QelRecordFieldInternal::Place(*begin, 1, 3, 2, 3, false);
  QelRecordFieldInternal::Place(*member, 1, 3, 2, 3, true);
  QelRecordFieldInternal::Place(*end, 1, 6, 1, 0, false);
  member->SetValue(u"abc", 1);
  member->SetValue(u"def", 2);
  end->SetValue(u"xyz");
  end->SetValue(Variant::Null());
  EXPECT_EQ(Data(), "abcdef");
  EXPECT_TRUE(end->Value().IsNull());
  member->SetValue(Variant::Null(), 1);
  EXPECT_EQ(Data(), "   def");
  EXPECT_EQ(Show(member->Value(2)), "def");
  // A member's Fill covers every occurrence; the empty text fills blanks.
  member->SetFill(u"zed");
  EXPECT_EQ(Data(), "zzzzzz");
  member->SetFill(u"");
  EXPECT_EQ(Data(), "      ");
}

// FS (28) and GS (29) separate the parts of the link text: no write may put them in a slot.
TEST_F(FieldTest, LinkSeparatorsAreRefusedWhereverTextIsWritten) {
  data_->SetData(u"keep  ");
  auto f = Field("X:6:NOMBRE");
  const Text fs = u"a\x1c", gs = u"\x1d" u"b";
  const std::string refused = "'NOMBRE' contiene el carácter ";
  const struct {
    std::function<void()> write;
    const char* source;
  } cases[] = {
      {[&] { f->SetValue(fs); }, "QelRecordField.ValueLet"},
      {[&] { f->SetValue(gs); }, "QelRecordField.ValueLet"},
      {[&] { f->SetData(gs); }, "QelRecordField.DataLet"},
      {[&] { f->SetMid(2, 2, fs); }, "QelRecordField.MidLet"},
      {[&] { f->SetFill(gs); }, "LinkSeparator"},
      {[&] { Field("LB:6.1:NOMBRE")->SetValue(fs); }, "QelRecordField.ValueLet"},
  };
  for (const auto& c : cases) {
    const Error e = testing::Catch(c.write);
    EXPECT_EQ(e.Number(), E_INVALIDARG);
    EXPECT_EQ(ToUtf8(e.Source()), c.source);
    EXPECT_NE(ToUtf8(e.Description()).find(refused), std::string::npos) << ToUtf8(e.Description());
  }
  EXPECT_EQ(Data(), "keep  ");
  // Past the slot's length the value is cut and nothing of it reaches the data.
  Field("X:1:C")->SetValue(fs);
  EXPECT_EQ(Data(), "aeep  ");
}

// Positions, lengths and indexes at the ends of the 32-bit range fail cleanly (no overflow).
TEST_F(FieldTest, IntegerExtremesAreRefusedCleanly) {
  data_->SetData(u"abcdef");
  auto f = Field("X:6:T");
  constexpr int32_t kMax = 2147483647, kMin = -2147483647 - 1;
  const std::function<void()> refused[] = {
      [&] { f->Mid(kMax, kMax); },           [&] { f->Mid(kMax, 1); },
      [&] { f->Mid(2, kMax); },              [&] { f->Mid(kMin, 1); },
      [&] { f->Mid(1, kMin); },              [&] { f->SetMid(kMax, kMax, u"x"); },
      [&] { f->SetMid(3, kMax, u"x"); },     [&] { f->Value(kMax); },
      [&] { f->Value(kMin); },               [&] { f->SetValue(u"x", kMax); },
      [&] { f->Data(kMin); },                [&] { Field("X:2147483647:T"); },
      [&] { Field("N:2147483647.2147483647:N"); },
      [&] { Field("LB:2147483647.2147483647:L"); },
  };
  for (const auto& r : refused) {
    const Error e = testing::Catch(r);
    EXPECT_TRUE(e.Number() == E_INVALIDARG || e.Number() == kErrOverflow) << e.Number();
  }
  EXPECT_EQ(Data(), "abcdef");
  EXPECT_EQ(Field("R:9.1:R")->MaxTextLength(), 12);
}

TEST_F(FieldTest, FailedWritesLeaveTheDataAlone) {
  data_->SetData(u"12345");
  auto f = Field("N:5:N");
  EXPECT_EQ(ErrorOf([&] { f->SetValue(u"abc"); }),
            "13|QelRecordField.ValueLet|No se pudo cambiar el valor del campo 'N'\r\nNo "
            "coinciden los tipos");
  EXPECT_EQ(ErrorOf([&] { f->SetValue(1, 2); }),
            "-2147024809|QelRecordField.ValueLet|No se pudo cambiar el valor del campo "
            "'N'\r\nIndice '2' fuera de rango");
  EXPECT_EQ(Data(), "12345");
}

// ---- Text, Data, Mid, Fill, IsNull, Validate -------------------------------------------------

TEST_F(FieldTest, TextRendersByFormatAndLocale) {
  auto monto = Field("N:12.2:MONTO");
  monto->SetValue(1234567.8);
  EXPECT_EQ(monto->Text(), u"1.234.567,80");
  auto saldo = Alone("S:5:SALDO");
  saldo->SetValue(int32_t{-1234});
  EXPECT_EQ(saldo->Text(), u"-1.234");
  auto fecha = Alone("D:8:F");
  fecha->SetValue(Day(2006, 3, 15));
  EXPECT_EQ(fecha->Text(), u"15-03-2006");
  fecha->SetFormat(u"YYYY/m/d (yy)");
  EXPECT_EQ(fecha->Text(), u"2006/3/15 (06)");
  fecha->SetValue(Day(100, 1, 1));
  EXPECT_EQ(fecha->Text(), u"");
  auto rut = Alone("R:10.1:RUT");
  rut->SetValue(u"12345678-5");
  EXPECT_EQ(rut->Text(), u"12.345.678-5");
  {
    testing::ScopedLocale en("en_US.UTF-8");
    EXPECT_EQ(rut->Text(), u"12,345,678-5");
    EXPECT_EQ(monto->Text(), u"1,234,567.80");
  }
  rut->SetData(Text(10, kNullFiller));
  EXPECT_EQ(rut->Text(), u"");
}

TEST_F(FieldTest, DataAndMidWorkOnRawText) {
  auto f = Field("X:10:T");
  f->SetData(u"abcdefghij");
  EXPECT_EQ(Show(f->Data()), "abcdefghij");
  EXPECT_EQ(f->Mid(3, 2), u"cd");
  f->SetMid(3, 2, u"XYZ");
  EXPECT_EQ(Data(), "abXYefghij");
  f->SetMid(9, 2, Variant::Null());
  EXPECT_EQ(Data(), "abXYefgh  ");
  f->SetData(u"12");
  EXPECT_EQ(Data(), "12        ");
  f->SetData(Variant::Null());
  EXPECT_EQ(Data(), "          ");
  EXPECT_EQ(ErrorOf([&] { f->SetData(u"12345678901"); }),
            "-2147024809|QelRecordField.DataLet|No se pudo cambiar la data del campo "
            "'T'\r\nEl rango de 11 caracteres desde la posición 1 excede el largo 10 del campo");
  EXPECT_EQ(ErrorOf([&] { f->Mid(10, 2); }),
            "-2147024809|QelRecordField.MidGet|No se pudo obtener el rango del campo 'T'\r\nEl "
            "rango de 2 caracteres desde la posición 10 excede el largo 10 del campo");
}

TEST_F(FieldTest, FillAndIsNull) {
  auto n = Field("N:3:N");
  EXPECT_TRUE(n->IsNull()) << "never written";
  n->SetFill(u"9x");
  EXPECT_EQ(Data(), "999");
  EXPECT_FALSE(n->IsNull());
  n->SetFill(Variant::Null());
  EXPECT_EQ(Data(), "~~~");
  EXPECT_TRUE(n->IsNull());
  EXPECT_TRUE(n->Value().IsNull());
  n->SetFill(u"9");
  n->SetFill(u"");
  EXPECT_EQ(Data(), "   ");
  n->SetValue(0);
  EXPECT_FALSE(n->IsNull()) << "zero is a value";
  auto d = Alone("D:6:D");
  d->SetValue(Variant::Null());
  EXPECT_TRUE(d->IsNull());
  EXPECT_EQ(ErrorOf([&] { n->IsNull(0); }),
            "-2147024809|ObtainSegment|Indice '0' fuera de rango");
}

TEST_F(FieldTest, ValidateAnswersWhetherAWriteWouldKeepTheValue) {
  EXPECT_FALSE(Field("X:5:T")->Validate(u"a\x1d"));
  EXPECT_TRUE(Field("X:5:T")->Validate(u"a\x1a"));
  auto n = Field("N:5.2:N");
  EXPECT_TRUE(n->Validate(123.456));
  EXPECT_FALSE(n->Validate(1000));
  EXPECT_FALSE(n->Validate(-1));
  EXPECT_FALSE(n->Validate(u"abc"));
  EXPECT_FALSE(n->Validate(1, 2));
  EXPECT_TRUE(n->Validate(Variant::Null()));
  EXPECT_TRUE(Field("S:5.2:S")->Validate(-999.99));
  EXPECT_FALSE(Field("N:2.5:N")->Validate(1));
  EXPECT_FALSE(Field("X:3:X")->Validate(u"abcd"));
  EXPECT_TRUE(Field("D:6:D")->Validate(Day(2006, 3, 15)));
  EXPECT_FALSE(Field("D:6:D")->Validate(Day(1850, 3, 15))) << "the century would be lost";
  EXPECT_TRUE(Field("D:8:D")->Validate(Day(1850, 3, 15)));
  EXPECT_FALSE(Field("D:8:D")->Validate(u"31-02-2006"));
  EXPECT_FALSE(Field("R:10.1:R")->Validate(u"12.345.678-4"));
  EXPECT_FALSE(Field("R:5.1:R")->Validate(u"12.345.678-5"));
  EXPECT_FALSE(Field("LE:5:L")->Validate(u"x"));
}

// ---- Events ---------------------------------------------------------------------------------

TEST_F(FieldTest, ChangeIsRaisedAfterEveryWrite) {
  auto f = Field("X:4:T");
  std::vector<int32_t> seen;
  const uint64_t h = f->Change.Connect([&](int32_t i) { seen.push_back(i); });
  f->SetValue(u"a");
  f->SetData(u"b");
  f->SetMid(1, 1, u"c");
  f->SetFill(u"d");
  EXPECT_EQ(seen, (std::vector<int32_t>{1, 1, 1, 1}));
  EXPECT_TRUE(f->Change.Disconnect(h));

  // By name, as late-bound clients connect; an error in the handler reaches the writer's
  // caller after the data was written.
  const uint64_t g = f->ConnectEvent(u"change", [](std::span<Variant> args) {
    RaiseError(E_FAIL, u"Handler", u"rechazado %1", {args[0]});
  });
  EXPECT_EQ(ErrorOf([&] { f->SetValue(u"zz"); }),
            "-2147467259|QelRecordField.ValueLet|No se pudo cambiar el valor del campo "
            "'T'\r\nrechazado 1");
  EXPECT_EQ(Data(), "zz  ");
  EXPECT_TRUE(f->DisconnectEvent(g));
  EXPECT_EQ(ErrorOf([&] { f->ConnectEvent(u"SetFocus", nullptr); }).substr(0, 3), "438");
}

}  // namespace
}  // namespace qel
