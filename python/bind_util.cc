// Desktop utilities: QelLocale, QelLanguage.
#include "bindings.h"

namespace qel::python {

void BindQelLocale(PyClass<QelLocale>& c) {
  c.def(py::init<>())
      .def("sDecimal", &QelLocale::sDecimal, py::arg("Locale") = Text(),
           "The decimal separator of Locale (the thread's locale when empty).")
      .def("sThousand", &QelLocale::sThousand, py::arg("Locale") = Text(),
           "The thousands separator of Locale (the thread's locale when empty).")
      .def("sDate", &QelLocale::sDate, py::arg("Locale") = Text(),
           "The date separator of Locale (the thread's locale when empty).")
      .def("iDate", &QelLocale::iDate, py::arg("Locale") = Text(),
           "The date order of Locale: 0 month-day-year, 1 day-month-year, 2 year-month-day.")
      .def_property_readonly("Name", &QelLocale::Name, "The thread locale's name.");
}

void BindQelLanguage(PyClass<QelLanguage>& c) {
  c.def(py::init<>())
      .def_property_readonly("Tag", &QelLanguage::Tag, "The language tag, e.g. 'es-cl'.");
}

}  // namespace qel::python
