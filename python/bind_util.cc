// Desktop utilities: QelLocale.
#include "bindings.h"
#include "qel/util/qel_locale.h"

namespace qel::python {

void BindUtil(py::module_& m) {
  py::class_<QelLocale, Object, std::shared_ptr<QelLocale>>(m, "QelLocale")
      .def(py::init<>())
      .def("sDecimal", &QelLocale::sDecimal, py::arg("Locale") = Text())
      .def("sThousand", &QelLocale::sThousand, py::arg("Locale") = Text())
      .def("sDate", &QelLocale::sDate, py::arg("Locale") = Text())
      .def("iDate", &QelLocale::iDate, py::arg("Locale") = Text())
      .def_property_readonly("Name", &QelLocale::Name);
}

}  // namespace qel::python
