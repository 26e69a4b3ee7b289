// The two steps of a wait on the thread's event loop: dispatch what is pending, then sleep in
// the context's poll, together with two more descriptors, for at most one slice.
#ifndef QEL_SRC_WAIT_WAIT_LOOP_H_
#define QEL_SRC_WAIT_WAIT_LOOP_H_

#include <glib.h>

namespace qel::internal {

// Owns a context for the life of the object (recursively: a nested wait of the owning thread
// acquires it again). acquired() is false when another thread owns it.
class ContextOwnership {
 public:
  explicit ContextOwnership(GMainContext* context)
      : context_(context), acquired_(g_main_context_acquire(context)) {}
  ~ContextOwnership() {
    if (acquired_) g_main_context_release(context_);
  }
  ContextOwnership(const ContextOwnership&) = delete;
  ContextOwnership& operator=(const ContextOwnership&) = delete;

  bool acquired() const { return acquired_; }

 private:
  GMainContext* context_;
  bool acquired_;
};

// Dispatches every source of `context` ready now, without blocking. REQUIRES: owned.
void DispatchPending(GMainContext* context);

enum class SliceEnd {
  kFirst,   // the first descriptor is readable (checked before the second)
  kSecond,  // the second descriptor is readable
  kInput,   // a source of the context is ready, or the slice ran out
  kFailed,  // the poll failed
};
// Sleeps until either descriptor is readable, a source of `context` becomes ready or
// `slice_ms` pass. Dispatches nothing. REQUIRES: owned.
SliceEnd SleepSlice(GMainContext* context, int first_fd, int second_fd, int slice_ms);

}  // namespace qel::internal

#endif  // QEL_SRC_WAIT_WAIT_LOOP_H_
