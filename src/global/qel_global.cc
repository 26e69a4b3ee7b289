#include "qel/global/qel_global.h"

#include "frame/locale_internal.h"

namespace qel {

std::shared_ptr<QelGlobal> QelGlobal::Instance() {
  thread_local std::shared_ptr<QelGlobal> t_instance = std::make_shared<QelGlobal>();
  return t_instance;
}

QelGlobal::QelGlobal()
    : locale_(std::make_shared<QelLocale>()),
      sid_(std::make_shared<QelLanguage>()),
      decimal_(locale_->sDecimal().front()),
      locale_serial_(internal::ThreadLocaleSerial()) {}

// Read once per reading of the locale: a new locale set for the thread is a new reading, so
// the separator follows SetThreadLocale while repeated conversions do not consult the locale.
char16_t QelGlobal::DecimalSeparator() const {
  const uint64_t serial = internal::ThreadLocaleSerial();
  if (serial != locale_serial_) {
    decimal_ = locale_->sDecimal().front();
    locale_serial_ = serial;
  }
  return decimal_;
}

}  // namespace qel
