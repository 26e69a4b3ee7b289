// Layouts the record suites share.
#ifndef QEL_SRC_RECORDS_TEST_LAYOUTS_H_
#define QEL_SRC_RECORDS_TEST_LAYOUTS_H_

#include <memory>

#include "qel/fields/field_types.h"
#include "qel/records/qel_record.h"

namespace qel::testing {

// CLIENT X(10), AMOUNT N(9.2), BALANCE S(7.2), DUE D(8), RUT R(10), then ITEMS: 3 x (CODE X(4),
// QTY N(3)), then NOTE A(6).
inline std::shared_ptr<QelRecord> OrderRecord(const char16_t* name = u"ORDER") {
  auto r = std::make_shared<QelRecord>();
  r->DefLayout(name);
  r->AddField(u"CLIENT", qelTypeText, 10);
  r->AddField(u"AMOUNT", qelTypeNumeric, 9, 2);
  r->AddField(u"BALANCE", qelTypeSigned, 7, 2);
  r->AddField(u"DUE", qelTypeDate, 8);
  r->AddField(u"RUT", qelTypeRut, 10, 1);
  r->AddField(u"ITEMS", qelTypeList, 3);
  r->AddField(u"CODE", qelTypeText, 4);
  r->AddField(u"QTY", qelTypeNumeric, 3);
  r->AddField(u"ITEMS", qelTypeListEnd, 0);
  r->AddField(u"NOTE", qelTypeAlpha, 6);
  r->EndLayout(true);
  return r;
}

}  // namespace qel::testing

#endif  // QEL_SRC_RECORDS_TEST_LAYOUTS_H_
