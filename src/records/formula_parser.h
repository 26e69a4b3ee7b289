// The formula evaluator behind QelRecord.Eval (private).
//
// Expressions are evaluated while they are parsed; there is no syntax tree. Grammar, highest
// level first (keywords and symbols compare ignoring case):
//   text        := logical END
//   logical     := comparison { ("OR" | "|" | "AND" | "&") comparison }   left to right, both
//                                                                       sides always evaluated
//   comparison  := unary [ ("=" | "<>" | "<" | "<=" | ">" | ">=") unary ]
//   unary       := ("NOT" | "!") unary | "@" formula | term
//   term        := name-ref | NUMBER | TEXT | "(" logical ")"
//   name-ref    := NAME [ "(" logical { "," logical } ")" ]              at most three arguments
//   formula     := (NAME | NUMBER | TEXT | "(" logical ")")               key of a named formula
// Tokens: NAME starts with a letter, "_" or "$" and goes on with letters, digits, "_", "$";
// NUMBER is a digit or "-" followed by digits (a lone "-" is a symbol); TEXT is quoted with " or
// ' (the quote doubled inside; an unclosed text ends at the end); "<=", "<>", ">=" are one
// symbol; blanks, tabs, CR and LF separate tokens.
//
// Nesting (parentheses, NOT chains, "@" formulas that refer to each other or to themselves) is
// bounded: past kMaxEvalDepth levels evaluation raises error 28 ("Espacio de pila
// insuficiente"). Unbounded recursion would end the whole process on a stack overflow for one
// bad formula; a fixed bound fails the same way whatever the thread's stack size.
//
// The work of one evaluation is bounded too: it may read at most kMaxEvalSteps tokens and
// characters of named formulas together, past which it raises error 28 as well. Depth alone
// does not bound the work: formulas that each refer twice to the next ("@F1&@F1", "@F2&@F2",
// ...) expand 2^n times within a small depth. Real conditions read a few hundred tokens; the
// bound keeps the worst case to a fraction of a second.
//
// Texts compare without regard to case in the order of the thread locale's collation.
#ifndef QEL_SRC_RECORDS_FORMULA_PARSER_H_
#define QEL_SRC_RECORDS_FORMULA_PARSER_H_

#include <cstdint>

#include "qel/frame/variant.h"

namespace qel::internal {

inline constexpr int kMaxEvalDepth = 200;
inline constexpr int64_t kMaxEvalSteps = 1000000;

// What an expression reads.
class EvalContext {
 public:
  virtual ~EvalContext() = default;
  // The value of the field `name` at occurrence `index` (Empty: the first). Raises as the
  // record's field collection does for an unknown name.
  virtual Variant FieldValue(TextView name, const Variant& index) = 0;
  // Whether named formulas were supplied for "@".
  virtual bool HasFormulas() const = 0;
  // The formula stored under `key`, or an empty text when there is none.
  virtual Variant Formula(const Text& key) = 0;
};

// Evaluates `text` (the "text" rule above). Raises the evaluator's errors with sources
// "QelRecord.EvalText", "QelRecord.EvalTerm", "QelRecord.EvalName" and "QelRecord.EvalFormula".
Variant EvalText(EvalContext& context, TextView text);

}  // namespace qel::internal

#endif  // QEL_SRC_RECORDS_FORMULA_PARSER_H_
