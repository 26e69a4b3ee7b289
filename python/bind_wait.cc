// Waiting and timing: QelWaiter, QelTimer, QelTransfer, the thread's window handle and the
// named events. A wait releases the GIL while it sleeps; handlers that run inside it take the
// GIL back through the generic event wrapper of Object.Connect.
#include "bindings.h"
#include "qel/wait/qel_timer.h"
#include "qel/wait/qel_transfer.h"
#include "qel/wait/qel_waiter.h"
#include "qel/wait/thread_events.h"

namespace qel::python {

void BindQelWaiter(PyClass<QelWaiter>& c) {
  c.def(py::init<>(), "A waiter of the calling thread, idle.")
      .def_property_readonly("IsWaiting", &QelWaiter::IsWaiting,
                             "True while a WaitForEvent is in progress.")
      .def("WaitForEvent", &QelWaiter::WaitForEvent, py::arg("CallerName"),
           py::arg("TimeoutMS") = 0, py::arg("TimeoutError") = Text(),
           py::call_guard<py::gil_scoped_release>(),
           "Waits until CancelWait (returns its data), CancelWithError (raises that error), "
           "the time-out (TimeoutMS > 0; raises TimeoutError or 'Tiempo de espera ha "
           "expirado') or the thread's stop event. CallerName is not used.")
      .def("CancelWait", &QelWaiter::CancelWait, py::arg("Data") = Variant::Null(),
           "Ends the wait, which returns Data (None when omitted; an object as itself). "
           "May be called from any thread; given while nobody waits, it ends the next wait "
           "at once with None.")
      .def("CancelWithError", &QelWaiter::CancelWithError, py::arg("Number") = 0,
           py::arg("Source") = Text(), py::arg("Description") = Text(),
           "Ends the wait, which raises QelError(Number or E_FAIL, Source or "
           "'QelWaiter.WaitForEvent', Description), blanks trimmed. Any thread.")
      .def("ResumeWait", &QelWaiter::ResumeWait,
           "Discards a cancel that arrived while nobody waited.");
}

void BindQelTimer(PyClass<QelTimer>& c) {
  c.def(py::init<>(), "A stopped timer.")
      .def_property_readonly("Enabled", &QelTimer::Enabled, "True while the timer runs.")
      .def("Execute", &QelTimer::Execute, py::arg("IntervalMS"),
           "Stops the timer; when IntervalMS > 0 starts a periodic one with that period.")
      .def("Cancel", &QelTimer::Cancel, "Stops the timer.")
      .def("RaiseExecute", &QelTimer::RaiseExecute,
           "Raises Execute now, swallowing the handlers' exceptions.");
}

void BindQelTransfer(PyClass<QelTransfer>& c) {
  c.def(py::init<>(), "An idle transfer.")
      .def("Throw", &QelTransfer::Throw, py::arg("Hwnd") = 0,
           "Arms one Catch on the loop of the thread whose handle is Hwnd (ThreadWindow(); "
           "0 is the calling thread), which must be the calling thread.")
      .def("RaiseCatch", &QelTransfer::RaiseCatch,
           "Disarms, then raises Catch, swallowing the handlers' exceptions.");
}

void BindWaitFunctions(py::module_& m) {
  m.def("ThreadWindow", &ThreadWindow,
        "The calling thread's window handle for QelTransfer.Throw (never 0).");
  m.def(
      "SetNamedEvent", [](const Text& name) { return SetNamedEvent(name); }, py::arg("Name"),
      "Signals a named event (e.g. 'QELTHREADSTOP' + the thread's native id in upper-case "
      "hex, which ends every wait of that thread); False when no such event exists.");
  m.def(
      "ResetNamedEvent", [](const Text& name) { return ResetNamedEvent(name); }, py::arg("Name"),
      "Clears a named event; False when no such event exists.");
}

}  // namespace qel::python
