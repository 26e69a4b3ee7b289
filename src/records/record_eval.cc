// QelRecord.Eval: the formula evaluator reading this record's fields and a bag of formulas.
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_record.h"
#include "records/formula_parser.h"

namespace qel {
namespace {

class RecordContext final : public internal::EvalContext {
 public:
  RecordContext(const QelRecordFields& fields, const QelProps* formulas)
      : fields_(fields), formulas_(formulas) {}

  Variant FieldValue(TextView name, const Variant& index) override {
    auto field = fields_.FindName(name);
    if (!field) field = fields_.Item(Variant(name));  // raises the collection's own error
    return field->Value(index.IsEmpty() ? 1 : CLng(index));
  }
  bool HasFormulas() const override { return formulas_ != nullptr; }
  Variant Formula(const Text& key) override {
    return formulas_->Value(Variant(key), Variant(Text()));
  }

 private:
  const QelRecordFields& fields_;
  const QelProps* formulas_;
};

}  // namespace

Variant QelRecord::Eval(TextView expression, const std::shared_ptr<QelProps>& formulas) {
  try {
    RecordContext context(*fields_, formulas.get());
    return internal::EvalText(context, expression);
  } catch (const Error& e) {
    RaiseChained(e, u"QelRecord.Eval:", u"No se pudo evaluar la fórmula '%1'%n%2",
                 {Variant(expression)});
  }
}

}  // namespace qel
