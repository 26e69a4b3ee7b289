// Python callables connected to library events, and how the garbage collector sees them.
//
// A handler that refers back to its own object (f.Connect("Change", lambda i: f.Value())) forms
// a cycle through C++: wrapper -> object -> handler list -> callable -> wrapper. The wrapper
// types of the module are therefore garbage-collected types whose traversal visits the
// callables connected to the objects the wrapper owns alone:
//  - the wrapped object itself when the wrapper holds its only reference, and
//  - transitively, the objects it owns (a record's field collection, a collection's fields, a
//    list begin's group) whose every reference comes from that owned set.
// An object also held from elsewhere (another wrapper, a live record) is not reported, so the
// collector never frees a callable that something alive still reaches; a cycle through such
// an object is collected once the other holder goes.
#ifndef QEL_PYTHON_HANDLERS_H_
#define QEL_PYTHON_HANDLERS_H_

#include <pybind11/pybind11.h>

#include <cstdint>

#include "qel/frame/object.h"

namespace qel::python {

namespace py = pybind11;

// Connects handler to the event of o named name; returns the handle for Disconnect. The
// handler takes the GIL before it runs, so events raised on a thread that released it (a
// waiter, a timer) are safe.
uint64_t ConnectPython(Object& o, TextView name, py::function handler);

// Installs the traversal described above on the module's base class; every wrapper type
// inherits it. Passed to the declaration of Object as py::custom_type_setup.
void SetUpObjectType(PyHeapTypeObject* heap_type);

}  // namespace qel::python

#endif  // QEL_PYTHON_HANDLERS_H_
