#include "records/formula_parser.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>

#include "frame/testing.h"
#include "qel/frame/convert.h"

namespace qel::internal {
namespace {

using qel::testing::ErrorOf;

// Fields as lists of occurrences; formulas by upper-case name.
class FakeRecord : public EvalContext {
 public:
  std::map<Text, std::vector<Variant>> fields;
  std::map<Text, Text> formulas;
  bool has_formulas = true;

  Variant FieldValue(TextView name, const Variant& index) override {
    auto it = fields.find(UCase(name));
    if (it == fields.end()) {
      RaiseError(E_INVALIDARG, u"QelRecordFields.Item",
                 u"El campo '%1' no existe en el registro '%2'", {Variant(name), u"TEST"});
    }
    const int32_t i = index.IsEmpty() ? 1 : CLng(index);
    return it->second.at(static_cast<size_t>(i - 1));
  }
  bool HasFormulas() const override { return has_formulas; }
  Variant Formula(const Text& key) override {
    auto it = formulas.find(UCase(key));
    return it == formulas.end() ? Variant(Text()) : Variant(it->second);
  }
};

class FormulaTest : public ::testing::Test {
 protected:
  FormulaTest() {
    rec_.fields[u"AMOUNT"] = {Decimal::FromInt64(150)};
    rec_.fields[u"NAME"] = {u"  Ana  "};
    rec_.fields[u"CODE"] = {u"A"};
    rec_.fields[u"ITEM"] = {u"uno", u"dos", u""};
    rec_.fields[u"DATE"] = {Variant::Null()};
    rec_.fields[u"T"] = {true};
    rec_.fields[u"F"] = {false};
    rec_.fields[u"A"] = {1};
    rec_.fields[u"B"] = {2};
    rec_.fields[u"C"] = {3};
  }
  Variant Eval(const char* expr) { return EvalText(rec_, FromUtf8(expr)); }
  std::string Str(const char* expr) { return ToUtf8(CStr(Eval(expr))); }

  qel::testing::ScopedLocale locale_{"es_CL.UTF-8"};
  FakeRecord rec_;
};

TEST_F(FormulaTest, ComparisonsAndConversions) {
  EXPECT_EQ(Eval("1 = 1"), Variant(true));
  EXPECT_EQ(Eval("'abc' = 'ABC'"), Variant(true));
  EXPECT_EQ(Eval("AMOUNT > '100'"), Variant(true));   // the text takes the number's type
  EXPECT_EQ(Eval("AMOUNT > '1000'"), Variant(false));
  EXPECT_EQ(Eval("AMOUNT > 0 AND $Trim(NAME) <> ''"), Variant(true));
  EXPECT_EQ(Eval("'b' >= 'A'"), Variant(true));
  EXPECT_EQ(Eval("-5 < 3"), Variant(true));
  EXPECT_TRUE(Eval("DATE = 1").IsNull());             // Null compares to Null
  EXPECT_EQ(Str("'abc"), "abc");                       // unclosed text ends at the end
  EXPECT_EQ(Str("\"it\"\"s\""), "it\"s");
}

TEST_F(FormulaTest, LogicIsLeftToRightWithoutShortCut) {
  EXPECT_EQ(Eval("T & F | T"), Variant(true));   // (T AND F) OR T
  EXPECT_EQ(Eval("T OR F AND F"), Variant(false));  // (T OR F) AND F
  EXPECT_EQ(Eval("NOT $IsNull(DATE)"), Eval("! $IsNull(DATE)"));
  EXPECT_EQ(Eval("not not T"), Variant(true));
  // Both sides are evaluated: the right side's error surfaces even when the left decides.
  EXPECT_EQ(qel::testing::Catch([&] { Eval("T OR NOPE"); }).Number(), E_INVALIDARG);
  EXPECT_EQ(qel::testing::Catch([&] { Eval("T AND 'x'"); }).Number(), kErrTypeMismatch);
}

TEST_F(FormulaTest, BuiltInsAndOccurrences) {
  EXPECT_EQ(Str("$IIf(CODE = 'A', 'Alta', 'Baja')"), "Alta");
  EXPECT_EQ(Str("$IIf(CODE = 'B', 'Alta', 'Baja')"), "Baja");
  EXPECT_EQ(Eval("ITEM(3) <> ''"), Variant(false));
  EXPECT_EQ(Str("ITEM"), "uno");
  EXPECT_EQ(Str("ITEM(2)"), "dos");
  EXPECT_EQ(Str("$Len(NAME)"), "7");
  // "&" is AND, not concatenation: the text "ab" is no boolean.
  EXPECT_EQ(qel::testing::Catch([&] { Eval("$Left('abcdef', 2) & 'x' = 'ab'"); }).Number(),
            kErrTypeMismatch);
  EXPECT_EQ(Str("$Left('abcdef', 2)"), "ab");
  EXPECT_EQ(Str("$Right('abcdef', 10)"), "abcdef");
  EXPECT_EQ(Str("$Mid('abcdef', 2, 3)"), "bcd");
  EXPECT_EQ(Str("$mid('abcdef', 9, 3)"), "");
  EXPECT_EQ(Eval("$Trim(DATE)"), Variant::Null());
  EXPECT_EQ(Eval("$True(1, 2, 3)"), Variant(true));
  EXPECT_EQ(ErrorOf([&] { Eval("$IIf(1, 2, 3, 4)"); }), "9|QelStd1|El subíndice está fuera del intervalo");
  EXPECT_EQ(qel::testing::Catch([&] { Eval("$Left('a', -1)"); }).Number(), kErrInvalidCall);
}

TEST_F(FormulaTest, SyntaxErrors) {
  const std::pair<const char*, const char*> cases[] = {
      {"A < B < C", "EvalText|Se encontró '<' cuando se esperaba el fin del texto"},
      {"(1 = 1", "EvalTerm|Se encontró '[EOS]' cuando se esperaba el símbolo ')'"},
      {"5-3", "EvalText|Se encontró '-3' cuando se esperaba el fin del texto"},
      {"1 -05", "EvalText|Se encontró '-05' cuando se esperaba el fin del texto"},  // as written
      {"1 007", "EvalText|Se encontró '007' cuando se esperaba el fin del texto"},
      {"ITEM()", "EvalTerm|Se encontró ')' cuando se esperaba un Nombre o un Valor"},
      {"ITEM(1", "EvalName|Se encontró '[EOS]' cuando se esperaba el símbolo ')'"},
      {"", "EvalTerm|Se encontró '[EOS]' cuando se esperaba un Nombre o un Valor"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ErrorOf([&] { Eval(c.first); }), std::string("-2147024809|QelRecord.") + c.second)
        << c.first;
  }
  EXPECT_EQ(ErrorOf([&] { Eval("NOPE = 1"); }),
            "-2147024809|QelRecordFields.Item|El campo 'NOPE' no existe en el registro 'TEST'");
}

TEST_F(FormulaTest, NamedFormulas) {
  rec_.formulas[u"TOTAL_OK"] = u"AMOUNT > 0";
  rec_.formulas[u"TOTAL"] = u"  @TOTAL_OK AND T  ";
  rec_.formulas[u"BAD"] = u"AMOUNT >";
  rec_.formulas[u"SELF"] = u"@SELF";
  EXPECT_EQ(Eval("@TOTAL_OK"), Variant(true));
  EXPECT_EQ(Eval("@('TOTAL' )"), Variant(true));
  EXPECT_EQ(Eval("@'TOTAL'"), Variant(true));
  EXPECT_EQ(ErrorOf([&] { Eval("@MISSING"); }),
            "-2147024809|QelRecord.EvalFormula|Fórmula 'MISSING' no está definida");
  EXPECT_EQ(ErrorOf([&] { Eval("@BAD"); }),
            "-2147024809|QelRecord.EvalFormula:QelRecord.EvalTerm|No se pudo evaluar la fórmula "
            "'BAD'\r\nSe encontró '[EOS]' cuando se esperaba un Nombre o un Valor");
  // The key expression is evaluated before the formula is looked up.
  EXPECT_EQ(ToUtf8(qel::testing::Catch([&] { Eval("@(NOPE2)"); }).Source()),
            "QelRecordFields.Item");
  const Error self = qel::testing::Catch([&] { Eval("@SELF"); });
  EXPECT_EQ(self.Number(), kErrOutOfStack);
  rec_.has_formulas = false;
  EXPECT_EQ(ErrorOf([&] { Eval("@TOTAL_OK"); }),
            "-2147024809|QelRecord.EvalFormula|No se suministraron fórmulas para el operador '@'");
}

// Texts compare without regard to case in the order of the locale's collation.
TEST_F(FormulaTest, TextsCompareByTheLocalesCollation) {
  const char* const true_under_es_cl[] = {
      "'Ángel' < 'B'", "'ángel' < 'b'", "'ñ' < 'o'",     "'ñ' > 'n'",   "'Ñandú' > 'Nube'",
      "'abc' = 'ABC'", "'Éxito' = 'éxito'", "'a' < 'B'", "'zeta' > 'Árbol'", "'ab' < 'abc'",
  };
  for (const char* e : true_under_es_cl) EXPECT_EQ(Eval(e), Variant(true)) << e;
  EXPECT_EQ(Eval("'Ángel' = 'Angel'"), Variant(false)) << "accents still tell texts apart";
}

// Formulas that each refer twice to the next expand 2^n times within a small depth; the
// step budget stops them with 28 and the evaluator's chain of formula names.
TEST_F(FormulaTest, FormulaBlowUpIsStoppedByTheStepBudget) {
  for (int i = 0; i < 40; ++i) {
    const Text next = u"F" + FromUtf8(std::to_string(i + 1));
    rec_.formulas[u"F" + FromUtf8(std::to_string(i))] = u"@" + next + u"&@" + next;
  }
  rec_.formulas[u"F40"] = u"T";
  const auto start = std::chrono::steady_clock::now();
  const Error e = qel::testing::Catch([&] { Eval("@F0"); });
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_EQ(e.Number(), kErrOutOfStack);
  EXPECT_EQ(ToUtf8(e.Source()).rfind("QelRecord.EvalFormula:QelRecord.EvalFormula:", 0), 0u);
  EXPECT_EQ(ToUtf8(e.Description()).rfind("No se pudo evaluar la fórmula 'F0'\r\n", 0), 0u);
  EXPECT_NE(ToUtf8(e.Description()).find("Espacio de pila insuficiente"), std::string::npos);
  EXPECT_LT(seconds, 5.0);
  // Long formula texts count by their length: a large text referred to many times stops too.
  rec_.formulas[u"BIG"] = Text(200000, u' ') + u"T";
  std::string many = "@BIG";
  for (int i = 0; i < 10; ++i) many += " & @BIG";
  EXPECT_EQ(qel::testing::Catch([&] { Eval(many.c_str()); }).Number(), kErrOutOfStack);
  // Within the budget the same shape evaluates: 2^10 expansions.
  rec_.formulas[u"F30"] = u"T";
  EXPECT_EQ(Eval("@F20"), Variant(true));
}

TEST_F(FormulaTest, DeepNestingFailsCleanly) {
  const std::string deep(100000, '(');
  EXPECT_EQ(qel::testing::Catch([&] { Eval(deep.c_str()); }).Number(), kErrOutOfStack);
  std::string nots;
  for (int i = 0; i < 10000; ++i) nots += "NOT ";
  EXPECT_EQ(qel::testing::Catch([&] { Eval((nots + "T").c_str()); }).Number(), kErrOutOfStack);
  EXPECT_EQ(Eval("((((T))))"), Variant(true));
}

}  // namespace
}  // namespace qel::internal
