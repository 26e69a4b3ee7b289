// A slice is one round of GLib's own iteration (prepare, query, poll, check) with two
// descriptors appended to the poll set; the dispatch is left to DispatchPending at the top of
// the caller's loop, so a cancel seen in the same round as a timer wins, as the lower-numbered
// handle of a multiple-object wait does. Sleeping in the context's poll is what makes a
// timer, a descriptor the application watches or a g_main_context_wakeup end the slice at
// once.
#include "wait/wait_loop.h"

#include <errno.h>
#include <poll.h>

#include <vector>

namespace qel::internal {

void DispatchPending(GMainContext* context) { g_main_context_iteration(context, FALSE); }

SliceEnd SleepSlice(GMainContext* context, int first_fd, int second_fd, int slice_ms) {
  // Grows to the largest poll set the context asked for; one per thread.
  thread_local std::vector<GPollFD> t_fds(16);
  gint max_priority = 0;
  g_main_context_prepare(context, &max_priority);
  gint timeout = -1;
  gint n = 0;
  for (;;) {
    n = g_main_context_query(context, max_priority, &timeout, t_fds.data(),
                             static_cast<gint>(t_fds.size() - 2));
    if (static_cast<size_t>(n) + 2 <= t_fds.size()) break;
    t_fds.resize(static_cast<size_t>(n) + 2);
  }
  t_fds[n] = GPollFD{first_fd, G_IO_IN, 0};
  t_fds[n + 1] = GPollFD{second_fd, G_IO_IN, 0};
  const gint wait = (timeout < 0 || timeout > slice_ms) ? slice_ms : timeout;
  const gint r = g_poll(t_fds.data(), static_cast<guint>(n + 2), wait);
  const int poll_errno = errno;
  g_main_context_check(context, max_priority, t_fds.data(), n);
  if (r < 0) return poll_errno == EINTR ? SliceEnd::kInput : SliceEnd::kFailed;
  if (t_fds[n].revents & (G_IO_IN | G_IO_ERR | G_IO_HUP | G_IO_NVAL)) return SliceEnd::kFirst;
  if (t_fds[n + 1].revents & (G_IO_IN | G_IO_ERR | G_IO_HUP | G_IO_NVAL)) {
    return SliceEnd::kSecond;
  }
  return SliceEnd::kInput;
}

}  // namespace qel::internal
