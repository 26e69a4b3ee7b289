// QelTimer: a periodic timer that raises its Execute event on the thread that started it.
//
// Execute(IntervalMS) stops a running timer and, when the interval is positive, starts one
// with that period on the thread's GLib main context (see thread_events.h); it fires from the
// application's loop or inside QelWaiter.WaitForEvent, every period until Cancel, another
// Execute or the object's destruction. An error or exception thrown by a handler is written
// to the error log (LogErrorEvent) and goes no further. A handler may destroy the timer.
//
// Errors: E_FAIL, source "QelTimer.Execute", "No hay Timers disponibles en el sistema" when
// the timer cannot be attached.
//
// Belongs to the thread that created it; the timer is dispatched on the thread that called
// Execute.
#ifndef QEL_WAIT_QEL_TIMER_H_
#define QEL_WAIT_QEL_TIMER_H_

#include <cstdint>
#include <memory>

#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

namespace internal {
class TimerSource;
}  // namespace internal

class QEL_EXPORT QelTimer final : public Object {
 public:
  QelTimer();
  ~QelTimer() override;

  TextView ClassName() const override { return u"QelTimer"; }

  // True while a timer is running.
  bool Enabled() const;
  // Stops the timer; when interval_ms > 0 starts a periodic one with that period.
  void Execute(int32_t interval_ms);
  // Stops the timer; does nothing when none runs.
  void Cancel();
  // Raises ExecuteEvent, logging and swallowing whatever a handler throws.
  void RaiseExecute();

  // The Execute event (late-bound name "Execute"), no arguments.
  Event<> ExecuteEvent;

  uint64_t ConnectEvent(TextView name, GenericHandler handler) override;
  bool DisconnectEvent(uint64_t handle) override;

 private:
  std::unique_ptr<internal::TimerSource> timer_;
};

}  // namespace qel

#endif  // QEL_WAIT_QEL_TIMER_H_
