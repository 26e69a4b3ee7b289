#include "wait/timer_source.h"

#include <utility>

#include "wait/thread_loop.h"

namespace qel::internal {
namespace {

gboolean Dispatch(gpointer data) {
  auto* tick = static_cast<TimerSource::Tick*>(data);
  return (*tick)() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void Free(gpointer data) { delete static_cast<TimerSource::Tick*>(data); }

}  // namespace

TimerSource& TimerSource::operator=(TimerSource&& other) noexcept {
  if (this != &other) {
    Stop();
    source_ = other.source_;
    other.source_ = nullptr;
  }
  return *this;
}

bool TimerSource::Start(uint32_t interval_ms, Tick tick) {
  Stop();
  GSource* source = g_timeout_source_new(interval_ms);
  if (source == nullptr) return false;
  g_source_set_callback(source, &Dispatch, new Tick(std::move(tick)), &Free);
  // A handler that waits keeps its own timer ticking inside the nested wait, as timer
  // messages reach a handler that runs a message loop.
  g_source_set_can_recurse(source, TRUE);
  if (g_source_attach(source, ThreadContext()) == 0) {
    g_source_unref(source);
    return false;
  }
  source_ = source;
  return true;
}

void TimerSource::Stop() {
  if (source_ == nullptr) return;
  GSource* source = std::exchange(source_, nullptr);
  if (!g_source_is_destroyed(source)) g_source_destroy(source);
  g_source_unref(source);
}

bool TimerSource::running() const { return source_ != nullptr && !g_source_is_destroyed(source_); }

}  // namespace qel::internal
