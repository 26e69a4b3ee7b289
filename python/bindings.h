// Shared declarations of the binding files: one Bind function per subsystem, called in order
// by module.cc, and the error bridge between qel::Error and qelstd.QelError.
#ifndef QEL_PYTHON_BINDINGS_H_
#define QEL_PYTHON_BINDINGS_H_

#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "qel/frame/error.h"
#include "variant_caster.h"

namespace qel::python {

namespace py = pybind11;

void BindFrame(py::module_& m);
void BindFields(py::module_& m);
void BindProps(py::module_& m);
void BindRecords(py::module_& m);
void BindUtil(py::module_& m);
void BindWait(py::module_& m);

// Runs a Python callable from library code: a QelError it raises becomes the same qel::Error,
// so that the library's error rules apply to it; any other Python error propagates as is.
template <class F>
decltype(auto) CallPython(F&& body) {
  try {
    return body();
  } catch (py::error_already_set& e) {
    if (e.matches(py::module_::import("qelstd").attr("QelError"))) {
      py::object v = e.value();
      throw Error(v.attr("Number").cast<int32_t>(), v.attr("Source").cast<Text>(),
                  v.attr("Description").cast<Text>());
    }
    throw;
  }
}

}  // namespace qel::python

#endif  // QEL_PYTHON_BINDINGS_H_
