#include "qel/util/qel_locale.h"

#include "qel/frame/error.h"

namespace qel {
namespace {

LocaleInfo Resolve(TextView locale) {
  if (locale.empty()) return ThreadLocale();
  auto info = LookupLocale(ToUtf8(locale));
  if (!info) {
    RaiseError(E_FAIL, u"QelLocale",
               u"No se pudo obtener la información de configuración regional '%1'",
               {Variant(locale)});
  }
  return *info;
}

}  // namespace

Text QelLocale::sDecimal(TextView locale) const { return Text(1, Resolve(locale).decimal); }
Text QelLocale::sThousand(TextView locale) const { return Text(1, Resolve(locale).thousand); }
Text QelLocale::sDate(TextView locale) const { return Text(1, Resolve(locale).date_sep); }
int32_t QelLocale::iDate(TextView locale) const {
  return static_cast<int32_t>(Resolve(locale).date_order);
}
Text QelLocale::Name() const { return FromUtf8(ThreadLocale().name); }

}  // namespace qel
