// QelTransfer: hands work over to a later moment on the same thread. Throw arms a one-shot
// timer of about 1 ms; when the thread's event loop dispatches it, the Catch event is raised
// once, outside the call stack that threw (a DDE callback, an event handler).
//
// Throw(Hwnd) takes the window handle of a thread (qel::ThreadWindow; 0 is the calling
// thread), which must be the calling thread's. Throwing again before the Catch re-arms the
// one pending hand-over: one Catch follows. An error or exception thrown by a handler is
// written to the error log (LogErrorEvent) and goes no further. A handler may destroy the
// object; destruction disarms it.
//
// Errors: E_FAIL, source "QelTransfer.Throw": "Handle de ventana inválido" (a handle the
// library did not issue, or of a thread that ended), "Handle de ventana no pertenece a la
// hebra" (another thread's handle), "No hay Timers disponibles en el sistema".
//
// Belongs to the thread that created it.
#ifndef QEL_WAIT_QEL_TRANSFER_H_
#define QEL_WAIT_QEL_TRANSFER_H_

#include <cstdint>
#include <memory>

#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

namespace internal {
class TimerSource;
}  // namespace internal

class QEL_EXPORT QelTransfer final : public Object {
 public:
  QelTransfer();
  ~QelTransfer() override;

  TextView ClassName() const override { return u"QelTransfer"; }

  // Arms one Catch about 1 ms from now on the thread's event loop.
  void Throw(int32_t hwnd = 0);
  // Disarms, then raises CatchEvent, logging and swallowing whatever a handler throws.
  void RaiseCatch();

  // The Catch event (late-bound name "Catch"), no arguments.
  Event<> CatchEvent;

  uint64_t ConnectEvent(TextView name, GenericHandler handler) override;
  bool DisconnectEvent(uint64_t handle) override;

 private:
  std::unique_ptr<internal::TimerSource> timer_;
};

}  // namespace qel

#endif  // QEL_WAIT_QEL_TRANSFER_H_
