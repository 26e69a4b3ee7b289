// The extension module behind the qelstd package: classes are declared subsystem by
// subsystem, frame first since every class derives from Object.
#include "bindings.h"

PYBIND11_MODULE(_qelstd, m) {
  m.doc() = "qelstd native module";
  qel::python::BindFrame(m);
  qel::python::BindFields(m);
  qel::python::BindProps(m);
  qel::python::BindRecords(m);
  qel::python::BindUtil(m);
  qel::python::BindWait(m);
}
