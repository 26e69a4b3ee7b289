#include "qel/wait/qel_timer.h"

#include "qel/frame/error.h"
#include "wait/timer_events.h"
#include "wait/timer_source.h"

namespace qel {

QelTimer::QelTimer() : timer_(std::make_unique<internal::TimerSource>()) {}

QelTimer::~QelTimer() = default;

bool QelTimer::Enabled() const { return timer_->running(); }

void QelTimer::Execute(int32_t interval_ms) {
  Cancel();
  if (interval_ms <= 0) return;
  if (!timer_->Start(static_cast<uint32_t>(interval_ms),
                     internal::TickOf(*this, &QelTimer::RaiseExecute, true))) {
    RaiseError(E_FAIL, u"QelTimer.Execute", u"No hay Timers disponibles en el sistema");
  }
}

void QelTimer::Cancel() { timer_->Stop(); }

void QelTimer::RaiseExecute() { internal::RaiseSwallowing(ExecuteEvent, u"QelTimer.RaiseExecute"); }

uint64_t QelTimer::ConnectEvent(TextView name, GenericHandler handler) {
  if (!EqualsNoCase(name, u"Execute")) return Object::ConnectEvent(name, std::move(handler));
  return ExecuteEvent.Connect([handler = std::move(handler)] { handler({}); });
}

bool QelTimer::DisconnectEvent(uint64_t handle) { return ExecuteEvent.Disconnect(handle); }

}  // namespace qel
