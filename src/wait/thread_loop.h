// The calling thread's event loop: which GLib main context stands for its message queue, and
// the window handles the library issues for threads.
//
// A thread's context is, in this order: the thread-default context the application pushed
// (g_main_context_push_thread_default, as GTK, Qt's GLib dispatcher and PyGObject do for
// threads that run a loop), the global default context on the process's main thread, or a
// private context made on first use and released when the thread ends. Sources attached to a
// private context are dispatched only while the thread waits in QelWaiter.
//
// Window handles: each thread that asks gets one 32-bit handle, never 0 and never reused; the
// handle becomes unknown when its thread ends. The registry is process-wide and guarded by a
// mutex; everything else here is per thread.
#ifndef QEL_SRC_WAIT_THREAD_LOOP_H_
#define QEL_SRC_WAIT_THREAD_LOOP_H_

#include <glib.h>

#include <cstdint>

#include "qel/frame/text.h"

namespace qel::internal {

// Borrowed; valid while the thread runs (and, for an application's context, while it lives).
GMainContext* ThreadContext();

// The Linux thread id (gettid) of the calling thread.
uint32_t CurrentThreadId();

// "QELTHREADSTOP" + the thread id in upper-case hexadecimal without padding.
Text ThreadStopEventName(uint32_t thread_id);

// The calling thread's window handle, issued on first use.
int32_t CurrentThreadWindow();

enum class WindowOwner { kCallingThread, kOtherThread, kUnknown };
// Who owns `hwnd`; 0 stands for the calling thread.
WindowOwner OwnerOfWindow(int32_t hwnd);

// Milliseconds of a monotonic clock, truncated to 32 bits (it wraps after 49.7 days, as the
// tick count the time-out arithmetic is written for).
uint32_t TickCount();

}  // namespace qel::internal

#endif  // QEL_SRC_WAIT_THREAD_LOOP_H_
