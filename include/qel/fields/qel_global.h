// QelGlobal: the library's global object, whose members can be used without creating it.
//
// In C++ every member is also a free function (QelValidateRUT, QelFormatRUT in rut.h; the sign
// default below); a QelGlobal object forwards to them. Each thread has one QelGlobal
// (QelGlobal::Instance, also what CreateObject(u"QelGlobal") returns), made at first use; it
// owns a QelLocale and a QelLanguage read at that moment. The sign default is per thread too.
// Nothing here is shared between threads.
#ifndef QEL_FIELDS_QEL_GLOBAL_H_
#define QEL_FIELDS_QEL_GLOBAL_H_

#include <memory>

#include "qel/fields/rut.h"
#include "qel/frame/object.h"
#include "qel/util/qel_language.h"
#include "qel/util/qel_locale.h"

namespace qel {

// The sign encoding new record data buffers start with on this thread (see
// QelRecordData::SignANSI). Initially false.
bool QelDefaultSignANSI();
void SetQelDefaultSignANSI(bool value);

class QelGlobal final : public Object {
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

  bool QelDefaultSignANSI() const { return qel::QelDefaultSignANSI(); }
  void SetQelDefaultSignANSI(bool value) { qel::SetQelDefaultSignANSI(value); }

  const std::shared_ptr<QelLocale>& Locale() const { return locale_; }
  const std::shared_ptr<QelLanguage>& Sid() const { return sid_; }

 private:
  std::shared_ptr<QelLocale> locale_;
  std::shared_ptr<QelLanguage> sid_;
};

}  // namespace qel

#endif  // QEL_FIELDS_QEL_GLOBAL_H_
