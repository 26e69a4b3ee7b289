// QelWaiter: blocks its thread until another party delivers a result, while the thread's event
// loop keeps dispatching (timers, hand-overs, the application's sources).
//
// WaitForEvent returns when someone calls CancelWait (returning its data: an object as the same
// object, anything else as a copy) or CancelWithError (raising that error), when the time-out
// runs out, or when the thread's stop event is set. It sleeps in the poll of the thread's GLib
// main context for at most 50 ms at a time and wakes at once on a cancel, on the stop event or
// on any source of the context; handlers run re-entrantly below the waiting call.
//
// A cancel given while nobody waits stays pending: the next wait returns Null at once, unless
// ResumeWait discarded it. A failure of the wait (AlreadyWaiting, a time-out) is stored like a
// cancel with that error: a nested wait that fails with AlreadyWaiting also leaves IsWaiting
// false and makes the outer wait raise the same error when it ends.
//
// Errors (number E_FAIL; source "QelWaiter.WaitForEvent:" + the inner source):
//   AlreadyWaiting     "La operación de espera ya está activa"
//   CreateEvent        "No se pudo crear objetos de evento"
//   TimeoutExpired     the TimeoutError given, or "Tiempo de espera ha expirado"
//   ThreadTerminate    "Se canceló la espera por término de sesión"
//   MsgWaitForMultipleObjects  "No se pudo esperar por activación de evento" (the poll failed,
//                      or another thread owns the context)
//
// Belongs to the thread that created it, which is the only one that may wait on it; CancelWait,
// CancelWithError, ResumeWait and IsWaiting may be called from any thread.
#ifndef QEL_WAIT_QEL_WAITER_H_
#define QEL_WAIT_QEL_WAITER_H_

#include <cstdint>
#include <memory>

#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

class QEL_EXPORT QelWaiter final : public Object {
 public:
  QelWaiter();
  ~QelWaiter() override;

  TextView ClassName() const override { return u"QelWaiter"; }

  bool IsWaiting() const;

  // CallerName is accepted and not used. TimeoutMS <= 0 waits without a time-out.
  Variant WaitForEvent(TextView caller_name, int32_t timeout_ms = 0, TextView timeout_error = {});
  // Ends the wait, which returns `data` (Null when omitted).
  void CancelWait(Variant data = Variant::Null());
  // Ends the wait, which raises (number, source, description): blanks trimmed, 0 becomes
  // E_FAIL, an empty source becomes "QelWaiter.WaitForEvent"; the description stays as given,
  // even empty.
  void CancelWithError(int32_t number = 0, TextView source = {}, TextView description = {});
  // Discards a cancel that arrived while nobody waited.
  void ResumeWait();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace qel

#endif  // QEL_WAIT_QEL_WAITER_H_
