#include "qel/wait/qel_transfer.h"

#include "qel/frame/error.h"
#include "wait/thread_loop.h"
#include "wait/timer_events.h"
#include "wait/timer_source.h"

namespace qel {
namespace {

constexpr char16_t kThrowSource[] = u"QelTransfer.Throw";
// The delay of a hand-over: the next turn of the loop after the current call returns.
constexpr uint32_t kHandOverMs = 1;

}  // namespace

QelTransfer::QelTransfer() : timer_(std::make_unique<internal::TimerSource>()) {}

QelTransfer::~QelTransfer() = default;

void QelTransfer::Throw(int32_t hwnd) {
  switch (internal::OwnerOfWindow(hwnd)) {
    case internal::WindowOwner::kUnknown:
      RaiseError(E_FAIL, kThrowSource, u"Handle de ventana inválido");
    case internal::WindowOwner::kOtherThread:
      RaiseError(E_FAIL, kThrowSource, u"Handle de ventana no pertenece a la hebra");
    case internal::WindowOwner::kCallingThread:
      break;
  }
  if (!timer_->Start(kHandOverMs, internal::TickOf(*this, &QelTransfer::RaiseCatch, false))) {
    RaiseError(E_FAIL, kThrowSource, u"No hay Timers disponibles en el sistema");
  }
}

void QelTransfer::RaiseCatch() {
  timer_->Stop();
  internal::RaiseSwallowing(CatchEvent, u"QelTransfer.RaiseCatch");
}

uint64_t QelTransfer::ConnectEvent(TextView name, GenericHandler handler) {
  if (!EqualsNoCase(name, u"Catch")) return Object::ConnectEvent(name, std::move(handler));
  return CatchEvent.Connect([handler = std::move(handler)] { handler({}); });
}

bool QelTransfer::DisconnectEvent(uint64_t handle) { return CatchEvent.Disconnect(handle); }

}  // namespace qel
