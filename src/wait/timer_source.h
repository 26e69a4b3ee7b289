// TimerSource: one GLib timeout source on the calling thread's context, owned by a timer
// object.
//
// Move-only; a moved-from or stopped object holds no source. The tick function runs from the
// context's dispatch on the thread that started the source and answers whether the source
// keeps running. The function is owned by the source, not by this object, so a tick may
// destroy the TimerSource (and its owner) and still return safely: GLib keeps the function
// alive until the dispatch ends. When the thread's private context goes away with its
// thread, the source is destroyed with it and this object sees it as stopped. A tick may run
// while an earlier tick of the same source is still in its handler (a handler that waits).
#ifndef QEL_SRC_WAIT_TIMER_SOURCE_H_
#define QEL_SRC_WAIT_TIMER_SOURCE_H_

#include <glib.h>

#include <cstdint>
#include <functional>

namespace qel::internal {

class TimerSource {
 public:
  using Tick = std::function<bool()>;

  TimerSource() = default;
  TimerSource(TimerSource&& other) noexcept : source_(other.source_) { other.source_ = nullptr; }
  TimerSource& operator=(TimerSource&& other) noexcept;
  TimerSource(const TimerSource&) = delete;
  TimerSource& operator=(const TimerSource&) = delete;
  ~TimerSource() { Stop(); }

  // Stops a running source, then starts one that calls `tick` every `interval_ms`
  // (REQUIRES: interval_ms > 0). Answers false when the source could not be attached.
  bool Start(uint32_t interval_ms, Tick tick);
  // Idempotent.
  void Stop();
  bool running() const;

 private:
  GSource* source_ = nullptr;  // one reference held while set
};

}  // namespace qel::internal

#endif  // QEL_SRC_WAIT_TIMER_SOURCE_H_
