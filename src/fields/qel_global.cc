#include "qel/fields/qel_global.h"

namespace qel {
namespace {

thread_local bool t_default_sign_ansi = false;

}  // namespace

bool QelDefaultSignANSI() { return t_default_sign_ansi; }
void SetQelDefaultSignANSI(bool value) { t_default_sign_ansi = value; }

std::shared_ptr<QelGlobal> QelGlobal::Instance() {
  thread_local std::shared_ptr<QelGlobal> instance = std::make_shared<QelGlobal>();
  return instance;
}

QelGlobal::QelGlobal()
    : locale_(std::make_shared<QelLocale>()),
      sid_(std::make_shared<QelLanguage>()),
      decimal_(locale_->sDecimal().front()) {}

}  // namespace qel
