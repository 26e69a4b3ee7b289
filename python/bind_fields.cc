// Field values: the RUT routines and the global object (QelGlobal, whose members are also
// module functions; its properties become module attributes in qelstd/__init__.py).
#include "bindings.h"
#include "qel/fields/qel_global.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"

namespace qel::python {
namespace {

// Text parameters accept any value with a text form, as automation coerces them.
Text ValidateRut(const Variant& rut_text, int32_t return_size, bool allow_unknown,
                 bool compute_unknown) {
  return QelValidateRUT(CStr(rut_text), return_size, allow_unknown, compute_unknown);
}

Text FormatRut(const Variant& rut_value, bool thousand_sep) {
  return QelFormatRUT(CStr(rut_value), thousand_sep);
}

}  // namespace

void BindFields(py::module_& m) {
  py::class_<QelGlobal, Object, std::shared_ptr<QelGlobal>>(m, "QelGlobal")
      .def(py::init(&QelGlobal::Instance))
      .def_property_readonly("GlobalSelf", &QelGlobal::GlobalSelf)
      .def(
          "QelValidateRUT",
          [](const QelGlobal&, const Variant& t, int32_t n, bool a, bool c) {
            return ValidateRut(t, n, a, c);
          },
          py::arg("RutText"), py::arg("ReturnSize") = 0, py::arg("AllowUnknown") = false,
          py::arg("ComputeUnknown") = false)
      .def(
          "QelFormatRUT",
          [](const QelGlobal&, const Variant& v, bool sep) { return FormatRut(v, sep); },
          py::arg("RutValue"), py::arg("ThousandSep") = false)
      .def_property("QelDefaultSignANSI", &QelGlobal::QelDefaultSignANSI,
                    &QelGlobal::SetQelDefaultSignANSI)
      .def_property_readonly("Locale", &QelGlobal::Locale)
      .def_property_readonly("Sid", &QelGlobal::Sid);

  m.def("QelValidateRUT", &ValidateRut, py::arg("RutText"), py::arg("ReturnSize") = 0,
        py::arg("AllowUnknown") = false, py::arg("ComputeUnknown") = false);
  m.def("QelFormatRUT", &FormatRut, py::arg("RutValue"), py::arg("ThousandSep") = false);
}

}  // namespace qel::python
