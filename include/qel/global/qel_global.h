// QelGlobal: the library's global object, whose members can be used without creating it.
//
// It sits above fields and util and gathers what they offer: the RUT routines (fields/rut.h),
// the conversions and comparisons of field values (global/value_compare.h), the file helpers
// (util/file_utils.h), the locale objects (util/qel_locale.h, util/qel_language.h) and the
// sign default of new record data (fields/qel_record_data.h). In C++ every member is also a
// free function of those headers. Each thread has one QelGlobal (QelGlobal::Instance, also what
// CreateObject(u"QelGlobal") returns), made at first use; it owns a QelLocale, a QelLanguage
// and the user's decimal separator, all read at that moment. The free conversion functions use
// the thread's instance. The sign default is per thread too. Nothing here is shared between
// threads.
#ifndef QEL_GLOBAL_QEL_GLOBAL_H_
#define QEL_GLOBAL_QEL_GLOBAL_H_

#include <cstdint>
#include <memory>
#include <optional>

#include "qel/fields/qel_record_data.h"
#include "qel/fields/rut.h"
#include "qel/frame/decimal.h"
#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/util/file_utils.h"
#include "qel/util/qel_language.h"
#include "qel/util/qel_locale.h"

namespace qel {

class QelRecordField;

class QEL_EXPORT QelGlobal final : public Object {
 public:
  // The calling thread's global object.
  static std::shared_ptr<QelGlobal> Instance();

  QelGlobal();
  TextView ClassName() const override { return u"QelGlobal"; }

  // The object itself (the global object's Self).
  ObjectPtr GlobalSelf() { return Self(); }

  Text QelValidateRUT(TextView rut_text, int32_t return_size = 0, bool allow_unknown = false,
                      bool compute_unknown = false) const {
    return qel::QelValidateRUT(rut_text, return_size, allow_unknown, compute_unknown);
  }
  Text QelFormatRUT(TextView rut_value, bool thousand_sep = false) const {
    return qel::QelFormatRUT(rut_value, thousand_sep);
  }

  // ---- Conversion and comparison of field values (see value_compare.h) ----------------------

  // The value made comparable by the field's type: Null, a Decimal, a Date or a text without
  // trailing blanks. With `with_qel_format`, number texts are read in the host style ("."
  // groups thousands, "," marks decimals).
  Variant QelConvert(const QelRecordField& field, const Variant& value,
                     bool with_qel_format = false) const;
  // -1, 0 or 1: the field's value at `index1` against `value2` (or, when `value2` holds a
  // QelRecordField, that field's value at `index2`), both converted by this field's type in
  // the host number style. Null sorts first. An omitted `value2` (nullopt) fails to convert
  // (13); Empty converts as any value does.
  int32_t QelCompare(const QelRecordField& field, int32_t index1 = 1,
                     const std::optional<Variant>& value2 = std::nullopt,
                     int32_t index2 = 1) const;
  // A host-style number text ("1.234,50") or any numeric value as a Decimal.
  Decimal ToDecimal(const Variant& value) const;
  // -1, 0 or 1: two texts by character code with trailing blanks ignored; otherwise both
  // values as numbers by ToDecimal.
  int32_t CobolCompare(const Variant& value1, const Variant& value2) const;

  // The decimal separator of the thread's locale, read when this object was made and read
  // again only after SetThreadLocale gave the thread a new locale.
  char16_t DecimalSeparator() const;

  // ---- Files and documents (see util/file_utils.h): true on success, never raise -----------

  bool DeleteFile(TextView file_name) const { return qel::DeleteFile(file_name); }
  bool MakeDirectory(TextView directory_path) const { return qel::MakeDirectory(directory_path); }
  bool RemoveDirectory(TextView directory_path) const {
    return qel::RemoveDirectory(directory_path);
  }
  bool OpenDocument(TextView document_path, int32_t hwnd = 0) const {
    return qel::OpenDocument(document_path, hwnd);
  }

  bool QelDefaultSignANSI() const { return qel::QelDefaultSignANSI(); }
  void SetQelDefaultSignANSI(bool value) { qel::SetQelDefaultSignANSI(value); }

  const std::shared_ptr<QelLocale>& Locale() const { return locale_; }
  const std::shared_ptr<QelLanguage>& Sid() const { return sid_; }

 private:
  // One conversion per family of field types; Null gives Null, a missing value (null pointer)
  // fails with 13.
  Variant CmpToText(const Variant* value, bool with_qel_format) const;
  Variant CmpToNumber(const Variant* value, bool with_qel_format) const;
  Variant CmpToDate(const Variant* value, bool with_qel_format) const;
  Variant CmpToRut(const Variant* value, bool with_qel_format) const;
  // QelConvert of a value that may be missing.
  Variant Convert(const QelRecordField& field, const Variant* value, bool with_qel_format) const;

  std::shared_ptr<QelLocale> locale_;
  std::shared_ptr<QelLanguage> sid_;
  mutable char16_t decimal_;
  mutable uint64_t locale_serial_;  // the thread locale's reading decimal_ comes from
};

}  // namespace qel

#endif  // QEL_GLOBAL_QEL_GLOBAL_H_
