// A record with every field type and a repeated group, for the record fuzz targets.
#ifndef QEL_FUZZ_FUZZ_RECORDS_H_
#define QEL_FUZZ_FUZZ_RECORDS_H_

#include <cstdlib>
#include <memory>

#include "qel/fields/field_types.h"
#include "qel/frame/error.h"
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

// Whether the link text can carry the record as it is: the grammar reads up to the first FS,
// so a label value holding FS or GS, or data holding FS, comes back cut elsewhere.
inline bool LinkTextCarries(const QelRecord& record) {
  for (const auto& label : *record.Labels()) {
    if (label->Value().find_first_of(u"\x1C\x1D") != Text::npos) return false;
  }
  return record.Data().find(u'\x1C') == Text::npos;
}

// Loads `text` into `record` and answers whether it loaded; aborts when a failed load left
// data behind, or when a loaded text that the link form can carry does not serialise to a text
// that loads into `again` to the same header, labels and data.
inline bool LoadsAndRoundTrips(QelRecord& record, QelRecord& again, TextView text) {
  try {
    record.UnSerialize(text);
  } catch (const Error&) {
    if (!record.Data().empty()) std::abort();
    return false;
  }
  if (!LinkTextCarries(record)) return true;
  const Text out = record.Serialize();
  try {
    again.UnSerialize(out);
  } catch (const Error&) {
    std::abort();  // what we wrote must load
  }
  if (again.Serialize() != out || again.Text() != record.Text()) std::abort();
  return true;
}

}  // namespace qel::fuzzing

#endif  // QEL_FUZZ_FUZZ_RECORDS_H_
