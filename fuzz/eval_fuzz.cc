// Eval of an expression and named formulas taken from the input: the first line is the
// expression, every further line "NAME=formula". Besides not crashing or running away (the
// step budget bounds every evaluation):
//  - evaluating twice gives the same outcome;
//  - when the expression gives a boolean, "NOT (expression)" gives its negation.
#include <string_view>

#include "fuzz_helpers.h"
#include "fuzz_records.h"
#include "qel/frame/convert.h"
#include "qel/props/qel_props.h"

using qel::fuzz::Check;

namespace {

// The result as text, or "!" and the error number.
qel::Text Outcome(qel::QelRecord& record, const qel::Text& expression,
                  const std::shared_ptr<qel::QelProps>& formulas, qel::Variant* value) {
  try {
    *value = record.Eval(expression, formulas);
    if (value->IsNull()) return u"<Null>";
    return value->IsObject() ? qel::Text(u"<Object>") : qel::CStr(*value);
  } catch (const qel::Error& e) {
    return u"!" + qel::CStr(qel::Variant(e.Number()));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto record = [] {
    auto r = qel::fuzzing::SampleRecord();
    r->UnSerialize(u"!9\x1D       ANA     0012345001234200603150123456785ABC01DEF02");
    return r;
  }();
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  size_t end = input.find('\n');
  const qel::Text expression = qel::FromUtf8(input.substr(0, end));
  auto formulas = std::make_shared<qel::QelProps>();
  while (end != std::string_view::npos) {
    const size_t begin = end + 1;
    end = input.find('\n', begin);
    const std::string_view line = input.substr(begin, end == std::string_view::npos
                                                          ? std::string_view::npos
                                                          : end - begin);
    const size_t eq = line.find('=');
    if (eq == std::string_view::npos || eq == 0) continue;
    qel::fuzz::Try([&] {
      formulas->SetValue(qel::Variant(qel::FromUtf8(line.substr(0, eq))),
                         qel::Variant(qel::FromUtf8(line.substr(eq + 1))));
    });
  }
  qel::Variant first, second, negated;
  const qel::Text outcome = Outcome(*record, expression, formulas, &first);
  Check(Outcome(*record, expression, formulas, &second) == outcome);
  if (outcome[0] != u'!' && first.Is<bool>()) {
    const qel::Text flipped =
        Outcome(*record, u"NOT (" + expression + u")", formulas, &negated);
    if (flipped[0] != u'!') Check(negated == qel::Variant(!first.Get<bool>()));
  }
  return 0;
}
