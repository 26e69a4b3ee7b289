// What QelTimer and QelTransfer share: the tick that raises an object's event from a timer
// source, and raising an event whose handlers' errors stop at the raiser.
#ifndef QEL_SRC_WAIT_TIMER_EVENTS_H_
#define QEL_SRC_WAIT_TIMER_EVENTS_H_

#include <memory>

#include "qel/frame/object.h"
#include "wait/timer_source.h"

namespace qel::internal {

// A tick calling (object.*raise)() and answering `repeat`. An object shared by a shared_ptr
// is held for the length of the call, so a handler may drop the last reference; once it is
// gone, the tick stops its source.
template <class T>
TimerSource::Tick TickOf(T& object, void (T::*raise)(), bool repeat) {
  std::weak_ptr<Object> weak = object.weak_from_this();
  const bool shared = !weak.expired();
  return [weak = std::move(weak), target = &object, shared, raise, repeat]() {
    ObjectPtr keep_alive;
    if (shared) {
      keep_alive = weak.lock();
      if (!keep_alive) return false;
    }
    (target->*raise)();
    return repeat;
  };
}

// Raises `event`; an error or exception a handler throws is written to the error log with
// `source` + ":" before its own source, and goes no further.
void RaiseSwallowing(Event<>& event, TextView source) noexcept;

}  // namespace qel::internal

#endif  // QEL_SRC_WAIT_TIMER_EVENTS_H_
