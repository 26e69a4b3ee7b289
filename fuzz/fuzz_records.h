// A record with every field type and a repeated group, for the record fuzz targets.
#ifndef QEL_FUZZ_FUZZ_RECORDS_H_
#define QEL_FUZZ_FUZZ_RECORDS_H_

#include <memory>

#include "qel/fields/field_types.h"
#include "qel/records/qel_record.h"

namespace qel::fuzzing {

inline std::shared_ptr<QelRecord> SampleRecord() {
  auto r = std::make_shared<QelRecord>();
  r->DefLayout(u"FUZZ");
  r->AddField(u"NAME", qelTypeText, 8);
  r->AddField(u"AMOUNT", qelTypeNumeric, 7, 2);
  r->AddField(u"BALANCE", qelTypeSigned, 6, 1);
  r->AddField(u"DUE", qelTypeDate, 8);
  r->AddField(u"RUT", qelTypeRut, 9, 1);
  r->AddField(u"ITEMS", qelTypeList, 3);
  r->AddField(u"CODE", qelTypeAlpha, 3);
  r->AddField(u"QTY", qelTypeNumeric, 2);
  r->AddField(u"ITEMS", qelTypeListEnd, 0);
  r->EndLayout(true);
  return r;
}

}  // namespace qel::fuzzing

#endif  // QEL_FUZZ_FUZZ_RECORDS_H_
