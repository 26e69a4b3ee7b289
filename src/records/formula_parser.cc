#include "records/formula_parser.h"

#include <cmath>

#include "frame/locale_internal.h"
#include "frame/char_class.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel::internal {
namespace {

enum class TokenKind { kName = 1, kNumber = 2, kText = 3, kSymbol = 4, kEnd = 5 };


// The value of a number token: an optional "-" and decimal digits. Raises 6 beyond the range
// of a Decimal, as the text conversion would.
Decimal NumberOf(TextView token) {
  const bool negative = token[0] == u'-';
  token.remove_prefix(negative ? 1 : 0);
  char small[32];
  std::string large;
  char* digits = small;
  if (token.size() > sizeof small) {
    large.resize(token.size());
    digits = large.data();
  }
  for (size_t i = 0; i < token.size(); ++i) digits[i] = static_cast<char>(token[i]);
  const auto d = Decimal::FromDigits(std::string_view(digits, token.size()), 0, negative);
  if (!d) RaiseRuntime(kErrOverflow);
  return *d;
}

// What one evaluation has spent, shared by the parsers of the formulas it expands.
struct Budget {
  int depth = 0;      // nesting levels open now
  int64_t steps = 0;  // tokens read and formula characters expanded so far

  void Spend(int64_t units) {
    steps += units;
    if (steps > kMaxEvalSteps) RaiseRuntime(kErrOutOfStack);
  }
};

class Parser {
 public:
  Parser(EvalContext& context, TextView text, Budget& budget)
      : context_(context), text_(text), budget_(budget) {}

  Variant Evaluate() {
    Next();
    Variant v = Logical();
    if (kind_ != TokenKind::kEnd) Expected(u"EvalText", u"el fin del texto");
    return v;
  }

 private:
  // ---- Tokens ----------------------------------------------------------------------------

  void Next() {
    budget_.Spend(1);
    while (pos_ < text_.size() &&
           (text_[pos_] == u' ' || text_[pos_] == u'\t' || text_[pos_] == u'\r' ||
            text_[pos_] == u'\n')) {
      ++pos_;
    }
    if (pos_ >= text_.size()) {
      kind_ = TokenKind::kEnd;
      token_ = u"[EOS]";
      return;
    }
    const size_t start = pos_;
    const char16_t c = text_[pos_];
    if (IsLetter(c) || c == u'_' || c == u'$') {
      while (pos_ < text_.size() && (IsLetter(text_[pos_]) || IsDigit(text_[pos_]) ||
                                     text_[pos_] == u'_' || text_[pos_] == u'$')) {
        ++pos_;
      }
      kind_ = TokenKind::kName;
      token_ = text_.substr(start, pos_ - start);
    } else if (IsDigit(c) || c == u'-') {
      ++pos_;
      while (pos_ < text_.size() && IsDigit(text_[pos_])) ++pos_;
      token_ = text_.substr(start, pos_ - start);
      if (token_ == u"-") {
        kind_ = TokenKind::kSymbol;
      } else {
        kind_ = TokenKind::kNumber;
        number_ = NumberOf(token_);
      }
    } else if (c == u'"' || c == u'\'') {
      // A text without doubled quotes is a view of the expression; one with them is unfolded
      // into a buffer of the parser's own.
      ++pos_;
      const size_t first = pos_;
      bool doubled = false;
      size_t end = text_.size();
      while (pos_ < text_.size()) {
        if (text_[pos_] == c) {
          if (pos_ + 1 < text_.size() && text_[pos_ + 1] == c) {
            doubled = true;
            pos_ += 2;
            continue;
          }
          end = pos_++;
          break;
        }
        ++pos_;
      }
      token_ = text_.substr(first, end - first);
      if (doubled) {
        unfolded_.clear();
        for (size_t i = 0; i < token_.size(); ++i) {
          unfolded_.push_back(token_[i]);
          if (token_[i] == c) ++i;
        }
        token_ = unfolded_;
      }
      kind_ = TokenKind::kText;
    } else {
      ++pos_;
      if ((c == u'<' || c == u'>') && pos_ < text_.size() &&
          (text_[pos_] == u'=' || (c == u'<' && text_[pos_] == u'>'))) {
        ++pos_;
      }
      kind_ = TokenKind::kSymbol;
      token_ = text_.substr(start, pos_ - start);
    }
  }

  Variant TokenValue() const {
    return kind_ == TokenKind::kNumber ? Variant(number_) : Variant(token_);
  }
  // The token as error messages show it: as written, so "-05" stays "-05".
  qel::Text TokenText() const { return qel::Text(token_); }
  bool IsSymbol(TextView s) const { return kind_ == TokenKind::kSymbol && token_ == s; }
  bool IsKeyword(TextView s) const {
    return kind_ == TokenKind::kName && EqualsNoCase(token_, s);
  }

  [[noreturn]] void Expected(TextView procedure, TextView what) const {
    Text source = u"QelRecord.";
    source += procedure;
    RaiseError(E_INVALIDARG, source, u"Se encontró '%1' cuando se esperaba %2",
               {Variant(TokenText()), Variant(what)});
  }

  // Counts one level of nesting for the life of the object.
  class Nest {
   public:
    explicit Nest(Budget& budget) : depth_(budget.depth) {
      if (++depth_ > kMaxEvalDepth) {
        --depth_;
        RaiseRuntime(kErrOutOfStack);
      }
    }
    ~Nest() { --depth_; }
    Nest(const Nest&) = delete;
    Nest& operator=(const Nest&) = delete;

   private:
    int& depth_;
  };

  // ---- Grammar -----------------------------------------------------------------------------

  Variant Logical() {
    Nest nest(budget_);
    Variant v = Comparison();
    for (;;) {
      bool is_or;
      if (IsKeyword(u"OR") || IsSymbol(u"|")) {
        is_or = true;
      } else if (IsKeyword(u"AND") || IsSymbol(u"&")) {
        is_or = false;
      } else {
        return v;
      }
      Next();
      const Variant r = Comparison();
      const bool a = CBool(v);
      const bool b = CBool(r);
      v = is_or ? (a || b) : (a && b);
    }
  }

  Variant Comparison() {
    Variant v = Unary();
    if (kind_ != TokenKind::kSymbol) return v;
    static constexpr TextView kOps[] = {u"=", u"<>", u"<", u"<=", u">", u">="};
    int op = -1;
    for (int i = 0; i < 6; ++i) {
      if (token_ == kOps[i]) op = i;
    }
    if (op < 0) return v;
    Next();
    return Compare(std::move(v), Unary(), op);
  }

  Variant Unary() {
    if (IsKeyword(u"NOT") || IsSymbol(u"!")) {
      Nest nest(budget_);
      Next();
      return !CBool(Unary());
    }
    if (IsSymbol(u"@")) {
      Next();
      return Formula();
    }
    return Term();
  }

  Variant Term() {
    switch (kind_) {
      case TokenKind::kName:
        return NameRef();
      case TokenKind::kNumber:
      case TokenKind::kText: {
        Variant v = TokenValue();
        Next();
        return v;
      }
      default:
        break;
    }
    if (!IsSymbol(u"(")) Expected(u"EvalTerm", u"un Nombre o un Valor");
    Next();
    Variant v = Logical();
    if (!IsSymbol(u")")) Expected(u"EvalTerm", u"el símbolo ')'");
    Next();
    return v;
  }

  Variant NameRef() {
    const TextView name = token_;  // a view of the expression, which outlives the call
    Next();
    Variant args[3];
    int count = 0;
    if (IsSymbol(u"(")) {
      do {
        Next();
        Variant a = Logical();
        if (count == 3) RaiseRuntime(kErrSubscript);
        args[count++] = std::move(a);
      } while (IsSymbol(u","));
      if (!IsSymbol(u")")) Expected(u"EvalName", u"el símbolo ')'");
      Next();
    }
    if (!name.empty() && name[0] == u'$') {
      if (auto v = BuiltIn(name, args)) return std::move(*v);
    }
    return context_.FieldValue(name, args[0]);
  }

  Variant Formula() {
    if (!context_.HasFormulas()) {
      RaiseError(E_INVALIDARG, u"QelRecord.EvalFormula",
                 u"No se suministraron fórmulas para el operador '@'");
    }
    Variant key;
    if (IsSymbol(u"(")) {
      Next();
      key = Logical();
      if (!IsSymbol(u")")) Expected(u"EvalFormula", u"el símbolo ')'");
    } else {
      key = TokenValue();
    }
    Next();
    qel::Text name;
    try {
      name = CStr(key);
    } catch (const Error& e) {
      RaiseChained(e, u"QelRecord.EvalFormula:",
                   u"Parámetro del operador '@' no se puede convertir a texto%n%1", {});
    }
    // Charged as stored: trimming a long text costs its whole length.
    qel::Text formula = CStr(context_.Formula(name));
    budget_.Spend(static_cast<int64_t>(formula.size()));
    formula = qel::Text(Trim(formula));
    if (formula.empty()) {
      RaiseError(E_INVALIDARG, u"QelRecord.EvalFormula", u"Fórmula '%1' no está definida",
                 {Variant(name)});
    }
    try {
      Nest nest(budget_);
      return Parser(context_, formula, budget_).Evaluate();
    } catch (const Error& e) {
      RaiseChained(e, u"QelRecord.EvalFormula:", u"No se pudo evaluar la fórmula '%1'%n%2",
                   {Variant(name)});
    }
  }

  // ---- Built-in functions and comparison ------------------------------------------------------

  static std::optional<Variant> BuiltIn(TextView name, const Variant (&a)[3]) {
    if (EqualsNoCase(name, u"$False")) return Variant(false);
    if (EqualsNoCase(name, u"$True")) return Variant(true);
    if (EqualsNoCase(name, u"$IsNull")) return Variant(a[0].IsNull());
    if (EqualsNoCase(name, u"$IIf")) return CBool(a[0]) ? a[1] : a[2];
    const bool len = EqualsNoCase(name, u"$Len"), trim = EqualsNoCase(name, u"$Trim"),
               left = EqualsNoCase(name, u"$Left"), right = EqualsNoCase(name, u"$Right"),
               mid = EqualsNoCase(name, u"$Mid");
    if (!(len || trim || left || right || mid)) return std::nullopt;
    if (a[0].IsNull()) return Variant::Null();  // text functions pass Null through
    qel::Text converted;
    const qel::Text& s = a[0].IsText() ? a[0].Get<qel::Text>() : (converted = CStr(a[0]));
    if (len) return Variant(static_cast<int32_t>(s.size()));
    if (trim) return Variant(Trim(s));
    if (mid) {
      const int32_t start = CLng(a[1]);
      const int32_t n = CLng(a[2]);
      if (start < 1 || n < 0) RaiseRuntime(kErrInvalidCall);
      if (static_cast<size_t>(start) > s.size()) return Variant(qel::Text());
      return Variant(s.substr(static_cast<size_t>(start - 1), static_cast<size_t>(n)));
    }
    const int32_t n = CLng(a[1]);
    if (n < 0) RaiseRuntime(kErrInvalidCall);
    const size_t k = std::min(s.size(), static_cast<size_t>(n));
    return Variant(left ? s.substr(0, k) : s.substr(s.size() - k));
  }

  // True when a text operand can take the other operand's type: a number, a date or a boolean.
  static bool Convertible(const Variant& v) {
    return v.IsNumeric() || v.Is<Date>() || v.Is<bool>();
  }

  static int Sign(double d) { return d < 0 ? -1 : (d > 0 ? 1 : 0); }

  // -1, 0 or 1; Null operands are handled by the caller. Texts by the locale's collation
  // without regard to case ("Ángel" < "B", "ñ" < "o" under es_CL).
  static int Order(const Variant& a, const Variant& b) {
    if (a.IsText() && b.IsText()) {
      return CollateNoCase(a.Get<qel::Text>(), b.Get<qel::Text>());
    }
    if ((a.IsText() || a.IsEmpty()) && (b.IsText() || b.IsEmpty())) {
      return Order(Variant(CStr(a)), Variant(CStr(b)));
    }
    const bool binary = a.Is<double>() || a.Is<float>() || b.Is<double>() || b.Is<float>() ||
                        a.Is<Date>() || b.Is<Date>();
    if (binary) return Sign(CDbl(a) - CDbl(b));
    const auto c = CDec(a) <=> CDec(b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
  }

  static Variant Compare(Variant a, Variant b, int op) {
    if (a.IsObject()) a = Unwrap(a);
    if (b.IsObject()) b = Unwrap(b);
    if (a.IsNull() || b.IsNull()) return Variant::Null();
    if (a.IsText() && Convertible(b)) a = ChangeType(a, b.type());
    if (b.IsText() && Convertible(a)) b = ChangeType(b, a.type());
    const int o = Order(a, b);
    switch (op) {
      case 0:
        return o == 0;
      case 1:
        return o != 0;
      case 2:
        return o < 0;
      case 3:
        return o <= 0;
      case 4:
        return o > 0;
      default:
        return o >= 0;
    }
  }

  EvalContext& context_;
  TextView text_;
  size_t pos_ = 0;
  TokenKind kind_ = TokenKind::kEnd;
  TextView token_;        // a view of the expression, of unfolded_, or of a literal
  qel::Text unfolded_;    // a quoted text whose doubled quotes were made single
  Decimal number_;
  Budget& budget_;
};

}  // namespace

Variant EvalText(EvalContext& context, TextView text) {
  Budget budget;
  return Parser(context, text, budget).Evaluate();
}

}  // namespace qel::internal
