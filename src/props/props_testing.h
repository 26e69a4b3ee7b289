// Helpers of the property bag tests: a one-line dump of a bag with the type of every value, and
// a structural comparison of two bags.
#ifndef QEL_SRC_PROPS_PROPS_TESTING_H_
#define QEL_SRC_PROPS_PROPS_TESTING_H_

#include <gtest/gtest.h>

#include <string>

#include "qel/frame/convert.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

namespace qel::testing {

// name(type)=value joined by "|"; nested bags in brackets; values written under the neutral
// "C" conventions, so that dumps do not depend on the thread's locale.
inline std::string Dump(const QelProps& bag) {
  static const LocaleInfo neutral;
  std::string out;
  for (const auto& p : bag) {
    if (!out.empty()) out += "|";
    out += ToUtf8(p->Name()) + "(" + std::to_string(p->DataType()) + ")";
    if (auto nested = p->Props()) {
      out += "=[" + Dump(*nested) + "]";
    } else if (!p->IsNull() && !p->IsEmpty()) {
      const Variant& v = p->Value();
      if (v.type() == VarType::kByteArray) {
        out += "=" + std::to_string(v.Get<ByteArray>().size()) + " bytes";
      } else if (v.type() == VarType::kVariantArray) {
        out += "=array";
      } else {
        out += "=" + ToUtf8(NumberToText(v, neutral));
      }
    }
  }
  return out;
}

// Same names, in the same order, with the same types and values (Variant equality), nested
// bags compared the same way.
inline ::testing::AssertionResult SameBag(const QelProps& a, const QelProps& b) {
  if (a.Count() != b.Count()) {
    return ::testing::AssertionFailure() << "counts " << a.Count() << " and " << b.Count();
  }
  for (int32_t i = 1; i <= a.Count(); ++i) {
    const auto pa = a.Item(i);
    const auto pb = b.Item(i);
    const std::string where = "property " + std::to_string(i) + " '" + ToUtf8(pa->Name()) + "'";
    if (pa->Name() != pb->Name()) {
      return ::testing::AssertionFailure() << where << " is named '" << ToUtf8(pb->Name()) << "'";
    }
    if (pa->DataType() != pb->DataType()) {
      return ::testing::AssertionFailure()
             << where << " types " << pa->DataType() << " and " << pb->DataType();
    }
    if (pa->IsProps()) {
      auto r = SameBag(*pa->Props(), *pb->Props());
      if (!r) return r << " in " << where;
    } else if (!(pa->Value() == pb->Value())) {
      return ::testing::AssertionFailure() << where << " values differ";
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace qel::testing

#endif  // QEL_SRC_PROPS_PROPS_TESTING_H_
