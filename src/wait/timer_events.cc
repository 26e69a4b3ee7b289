#include "wait/timer_events.h"

#include <exception>

#include "qel/frame/error.h"
#include "qel/frame/log.h"

namespace qel::internal {

void RaiseSwallowing(Event<>& event, TextView source) noexcept {
  try {
    event.Raise();
  } catch (const Error& e) {
    LogErrorEvent(e.Number(), Text(source) + u":" + e.Source(), e.Description());
  } catch (const std::exception& e) {
    LogErrorEvent(E_FAIL, source, FromUtf8(e.what()));
  } catch (...) {
    LogErrorEvent(E_FAIL, source, {});
  }
}

}  // namespace qel::internal
