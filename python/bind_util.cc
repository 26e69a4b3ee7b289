// Desktop utilities: QelLocale, QelLanguage.
#include "bindings.h"
#include "qel/util/qel_language.h"
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

  py::class_<QelLanguage, Object, std::shared_ptr<QelLanguage>>(m, "QelLanguage")
      .def(py::init<>())
      .def_property_readonly("Tag", &QelLanguage::Tag);
}

}  // namespace qel::python
