// The wait follows the tick-count arithmetic it was written with: the time-out is counted down
// by the 32-bit millisecond ticks seen at the top of each round, a backwards step of the
// counter (its wrap) counts as 25 ms, and the slice starts at 50 ms and only ever shrinks to
// what remains. The cancel event is auto-reset (consumed by the wait that sees it); the stop
// event is the thread's named manual-reset event.
#include "qel/wait/qel_waiter.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "qel/frame/error.h"
#include "qel/frame/template.h"
#include "wait/event_fd.h"
#include "wait/named_event.h"
#include "wait/thread_loop.h"
#include "wait/thread_loop_testing.h"
#include "wait/wait_loop.h"

namespace qel {
namespace {

constexpr char16_t kWaitSource[] = u"QelWaiter.WaitForEvent";
constexpr int32_t kSliceMs = 50;
constexpr int64_t kWrappedElapsedMs = 25;

}  // namespace

class QelWaiter::Impl {
 public:
  Impl() {
    if (internal::EventCreationFailsForTesting()) return;
    cancel_ = internal::EventFd::Create();
    stop_ = internal::OpenNamedEvent(internal::ThreadStopEventName(internal::CurrentThreadId()));
  }

  bool events_ready() const { return cancel_.valid() && stop_ != nullptr; }
  int cancel_fd() const { return cancel_.fd(); }
  int stop_fd() const { return stop_->fd(); }
  bool SignalCancel() { return cancel_.Signal(); }
  // True when a cancel was pending.
  bool ConsumeCancel() { return cancel_.Consume(); }
  bool ResetCancel() {
    ConsumeCancel();
    return cancel_.valid();
  }

  std::atomic<bool> waiting{false};

  // Replaces the data; the old value is released outside the lock, since releasing an object
  // may run code that calls back into this waiter.
  void SetData(Variant value) {
    {
      std::lock_guard lock(mu_);
      std::swap(data_, value);
    }
  }
  Variant TakeResult() {
    std::lock_guard lock(mu_);
    return data_;
  }
  void ClearError() {
    std::lock_guard lock(mu_);
    error_number_ = 0;
  }
  void SetError(int32_t number, Text source, Text description) {
    std::lock_guard lock(mu_);
    error_number_ = number;
    error_source_ = std::move(source);
    error_description_ = std::move(description);
  }
  // The stored error, or number 0 when there is none.
  Error StoredError() {
    std::lock_guard lock(mu_);
    return Error(error_number_, error_source_, error_description_);
  }

 private:
  internal::EventFd cancel_;
  std::shared_ptr<internal::NamedEvent> stop_;
  std::mutex mu_;
  Variant data_ = Variant::Null();  // guarded by mu_
  int32_t error_number_ = 0;        // guarded by mu_
  Text error_source_;               // guarded by mu_
  Text error_description_;          // guarded by mu_
};

QelWaiter::QelWaiter() : impl_(std::make_unique<Impl>()) {}

QelWaiter::~QelWaiter() = default;

bool QelWaiter::IsWaiting() const { return impl_->waiting.load(); }

Variant QelWaiter::WaitForEvent(TextView caller_name, int32_t timeout_ms, TextView timeout_error) {
  // A handler may release the last reference to this waiter while it waits.
  const ObjectPtr keep_alive = weak_from_this().lock();
  Impl& impl = *impl_;

  // Stores the failure as the error to deliver, leaves the waiting state and raises it.
  auto fail = [&impl](TextView inner_source, TextView description) {
    Text source = Text(kWaitSource) + u":" + Text(inner_source);
    Text text = FormatTemplate(description, {});
    impl.SetError(E_FAIL, source, text);
    impl.SetData(Variant::Null());
    impl.waiting = false;
    throw Error(E_FAIL, std::move(source), std::move(text));
  };

  if (impl.waiting) fail(u"AlreadyWaiting", u"La operación de espera ya está activa");
  if (!impl.events_ready()) fail(u"CreateEvent", u"No se pudo crear objetos de evento");

  impl.SetData(Variant::Null());
  impl.ClearError();
  impl.waiting = true;
  int32_t slice = kSliceMs;
  uint32_t last = internal::TickCount();
  int64_t remaining = timeout_ms;

  GMainContext* context = internal::ThreadContext();
  internal::ContextOwnership ownership(context);
  if (!ownership.acquired()) {
    fail(u"MsgWaitForMultipleObjects", u"No se pudo esperar por activación de evento");
  }

  Variant result;
  for (;;) {
    internal::DispatchPending(context);
    if (timeout_ms > 0) {
      const uint32_t now = internal::TickCount();
      int64_t elapsed = static_cast<int64_t>(now) - static_cast<int64_t>(last);
      last = now;
      if (elapsed < 0) elapsed = kWrappedElapsedMs;
      remaining -= elapsed;
      if (remaining < 1) {
        fail(u"TimeoutExpired",
             timeout_error.empty() ? TextView(u"Tiempo de espera ha expirado") : timeout_error);
      }
      if (remaining < slice) slice = static_cast<int32_t>(remaining);
    }
    const internal::SliceEnd end =
        internal::SleepSlice(context, impl.cancel_fd(), impl.stop_fd(), slice);
    if (end == internal::SliceEnd::kInput) continue;
    if (end == internal::SliceEnd::kFirst) {
      // A ResumeWait from another thread may have taken the cancel since the poll saw it.
      if (!impl.ConsumeCancel()) continue;
      result = impl.TakeResult();
      break;
    }
    if (end == internal::SliceEnd::kSecond) {
      fail(u"ThreadTerminate", u"Se canceló la espera por término de sesión");
    }
    fail(u"MsgWaitForMultipleObjects", u"No se pudo esperar por activación de evento");
  }

  impl.SetData(Variant::Null());
  impl.waiting = false;
  Error stored = impl.StoredError();
  if (stored.Number() != 0) throw stored;
  return result;
}

void QelWaiter::CancelWait(Variant data) {
  impl_->SetData(std::move(data));
  if (!impl_->SignalCancel()) {
    impl_->SetData(Variant::Null());
    RaiseError(E_FAIL, u"QelWaiter.CancelWait", u"No se pudo cancelar la espera");
  }
}

void QelWaiter::CancelWithError(int32_t number, TextView source, TextView description) {
  Text error_source(Trim(source));
  Text error_description(Trim(description));
  if (number == 0) number = E_FAIL;
  if (error_source.empty()) error_source = kWaitSource;
  // Unreachable since the line above fills the source; kept so that an empty description is
  // delivered empty and this default never is.
  if (error_source.empty()) error_description = u"Espera cancelada con error";
  impl_->SetError(number, std::move(error_source), std::move(error_description));
  if (!impl_->SignalCancel()) {
    RaiseError(E_FAIL, u"QelWaiter.CancelWithError", u"No se pudo cancelar la espera");
  }
}

void QelWaiter::ResumeWait() {
  if (!impl_->ResetCancel()) {
    RaiseError(E_FAIL, u"QelWaiter.ResumeWait", u"No se pudo reactivar la espera");
  }
}

}  // namespace qel
