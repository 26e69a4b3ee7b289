#include "qel/frame/error.h"

#include <gtest/gtest.h>

#include <vector>

#include "frame/testing.h"
#include "qel/frame/log.h"
#include "qel/frame/template.h"

namespace qel {
namespace {

using testing::Catch;
using testing::ErrorOf;

std::string Fill(const char* tmpl, std::initializer_list<Variant> args) {
  return ToUtf8(FormatTemplate(T(tmpl), args));
}

TEST(FormatTemplate, PlaceholdersAndEscapes) {
  EXPECT_EQ(Fill("Valor '%1'%n%2", {"A", "B"}), "Valor 'A'\r\nB");
  EXPECT_EQ(Fill("100%%", {}), "100%");
  EXPECT_EQ(Fill("%%1", {"x"}), "%1");
  EXPECT_EQ(Fill("a%Nb%Tc%nd%te", {}), "a\r\nb\tc\r\nd\te");
  EXPECT_EQ(Fill("%12", {"x"}), "x2");
}

TEST(FormatTemplate, LeavesWhatItCannotFill) {
  EXPECT_EQ(Fill("%1 y %2", {"uno"}), "uno y %2");
  EXPECT_EQ(Fill("<%1>", {Variant::Null()}), "<%1>");
  EXPECT_EQ(Fill("<%1>", {Variant::Nothing()}), "<%1>");
  EXPECT_EQ(Fill("<%1>", {Variant(VariantArray{1, 2})}), "<%1>");
  EXPECT_EQ(Fill("abc%", {}), "abc%");
  EXPECT_EQ(Fill("%0 %x % ", {"a"}), "%0 %x % ");
}

TEST(FormatTemplate, InsertedTextIsNotScanned) {
  EXPECT_EQ(Fill("%1", {"50%n"}), "50%n");
  EXPECT_EQ(Fill("%1%2", {"%2", "b"}), "%2b");
}

TEST(FormatTemplate, ConvertsArgumentsThroughTheThreadLocale) {
  testing::ScopedLocale es("es_CL.UTF-8");
  EXPECT_EQ(Fill("%1|%2|%3|%4", {int32_t{-7}, 1.5, true, Variant()}), "-7|1,5|True|");
}

TEST(RaisePatterns, ChainThreeLayersKeepsInnermostNumber) {
  const Error e = Catch([] {
    Chaining(u"QelGlobal.QelCompare:", [] {
      Chaining(u"QelGlobal.CmpToRut:", [] {
        Chaining(u"QelStd1.CRut:", [] {
          RaiseError(E_INVALIDARG, u"InvalidParity", u"RUT '%1' con dígito verificador incorrecto",
                     {"1-k"});
        });
      });
    });
  });
  EXPECT_EQ(e.Number(), E_INVALIDARG);
  EXPECT_EQ(ToUtf8(e.Source()), "QelGlobal.QelCompare:QelGlobal.CmpToRut:QelStd1.CRut:InvalidParity");
  EXPECT_EQ(ToUtf8(e.Description()), "RUT '1-k' con dígito verificador incorrecto");
}

TEST(RaisePatterns, ReplacingKeepsNumberAndAppendsInnerText) {
  EXPECT_EQ(ErrorOf([] {
              Replacing(u"QelRecordField.ValueGet", u"No se pudo obtener el valor del campo '%1'%n%2",
                        {"MONTO"}, [] { RaiseRuntime(kErrTypeMismatch); });
            }),
            "13|QelRecordField.ValueGet|No se pudo obtener el valor del campo 'MONTO'\r\n"
            "No coinciden los tipos");
}

TEST(RaisePatterns, ChainingCanRebuildTheDescription) {
  const Error e = Catch([] {
    try {
      RaiseRuntime(kErrTypeMismatch);
    } catch (const Error& inner) {
      RaiseChained(inner, u"QelGlobal.CmpToDate:", u"El valor '%1' no se puede convertir a Fecha%n%2",
                   {"31-02-2006"});
    }
  });
  EXPECT_EQ(testing::Describe(e),
            "13|QelGlobal.CmpToDate:QelStd1|El valor '31-02-2006' no se puede convertir a "
            "Fecha\r\nNo coinciden los tipos");
}

TEST(RaisePatterns, ValuesPassThroughWrappers) {
  EXPECT_EQ(Chaining(u"A:", [] { return 42; }), 42);
}

TEST(RuntimeErrors, SpanishTexts) {
  EXPECT_EQ(ErrorOf([] { RaiseRuntime(kErrOverflow); }), "6|QelStd1|Desbordamiento");
  EXPECT_EQ(ToUtf8(RuntimeErrorText(kErrInvalidNull)), "Uso no válido de Null");
  EXPECT_EQ(ToUtf8(RuntimeErrorText(kErrOutOfStack)), "Espacio de pila insuficiente");
  EXPECT_STREQ(Error(1, u"s", u"año").what(), "año");
}

TEST(LogErrorEvent, EntryTextGoesToTheSink) {
  std::vector<std::string> entries;
  LogSink old = SetLogSink([&](const std::string& e) { entries.push_back(e); });
  LogErrorEvent(E_INVALIDARG, u"QelDde.Callback", u"Falló");
  LogErrorEvent(255, u"S", u"D");
  SetLogSink([](const std::string&) { throw 1; });
  LogErrorEvent(1, u"S", u"D");  // a throwing sink is contained
  SetLogSink(old);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0], "\r\nNumber: 80070057\r\nSource: QelDde.Callback\r\nFalló");
  EXPECT_EQ(entries[1], "\r\nNumber: FF\r\nSource: S\r\nD");
}

}  // namespace
}  // namespace qel
