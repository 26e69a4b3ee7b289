// What the wait layer offers besides its classes: the calling thread's window handle and the
// process-wide named events.
//
// A thread's event loop is its thread-default GLib main context (the global default context
// on the main thread); timers and hand-overs are dispatched there, by the application's own
// loop (GTK, Qt on GLib, GLib.MainLoop) or inside QelWaiter.WaitForEvent. Every thread has a
// manual-reset stop event named "QELTHREADSTOP" + its Linux thread id in upper-case
// hexadecimal; setting it ends every wait on that thread until it is reset. All functions
// here may be called from any thread.
#ifndef QEL_WAIT_THREAD_EVENTS_H_
#define QEL_WAIT_THREAD_EVENTS_H_

#include <cstdint>

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

// The calling thread's window handle for QelTransfer.Throw: never 0, the same for the life of
// the thread, unknown once the thread ends.
QEL_EXPORT int32_t ThreadWindow();

// Signals the named event; it stays signalled until reset. Answers false when no event of that
// name exists (an event exists while a waiter or other holder has it open).
QEL_EXPORT bool SetNamedEvent(TextView name);
// Clears the named event; answers false when no event of that name exists.
QEL_EXPORT bool ResetNamedEvent(TextView name);

}  // namespace qel

#endif  // QEL_WAIT_THREAD_EVENTS_H_
