// QelLocale: the regional conventions the library formats and parses with.
//
// Each member answers for the calling thread's locale (qel::ThreadLocale) or, given a locale
// name such as "en_US.UTF-8", for that locale; an unknown name raises E_FAIL with source
// "QelLocale". Stateless; safe to share on its thread.
#ifndef QEL_UTIL_QEL_LOCALE_H_
#define QEL_UTIL_QEL_LOCALE_H_

#include "qel/frame/export.h"
#include "qel/frame/locale.h"
#include "qel/frame/object.h"

namespace qel {

class QEL_EXPORT QelLocale final : public Object {
 public:
  TextView ClassName() const override { return u"QelLocale"; }

  // Decimal separator, e.g. ",".
  Text sDecimal(TextView locale = {}) const;
  // Thousands separator, e.g. ".".
  Text sThousand(TextView locale = {}) const;
  // Date separator, e.g. "-".
  Text sDate(TextView locale = {}) const;
  // Order of a short date: 0 month/day/year, 1 day/month/year, 2 year/month/day.
  int32_t iDate(TextView locale = {}) const;
  // Name of the thread's locale ("C" when the environment names none that is installed).
  Text Name() const;
};

}  // namespace qel

#endif  // QEL_UTIL_QEL_LOCALE_H_
