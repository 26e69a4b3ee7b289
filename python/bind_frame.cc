// Frame: QelError, Empty, Variant, Object (Self, object safety, events by name), CreateObject
// and the thread locale.
#include <pybind11/pybind11.h>

#include "bindings.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"
#include "qel/frame/object.h"

namespace qel::python {

void BindFrame(py::module_& m) {
  // QelError(description) with Number, Source and Description attributes.
  static py::object qel_error = py::reinterpret_borrow<py::object>(
      py::handle(PyErr_NewException("qelstd.QelError", PyExc_Exception, nullptr)));
  qel_error.attr("Number") = 0;
  qel_error.attr("Source") = "";
  qel_error.attr("Description") = "";
  m.attr("QelError") = qel_error;
  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const Error& e) {
      py::object inst = qel_error(py::cast(e.Description()));
      inst.attr("Number") = e.Number();
      inst.attr("Source") = py::cast(e.Source());
      inst.attr("Description") = py::cast(e.Description());
      PyErr_SetObject(qel_error.ptr(), inst.ptr());
    }
  });

  py::class_<EmptyType>(m, "EmptyType")
      .def("__repr__", [](const EmptyType&) { return "Empty"; })
      .def("__bool__", [](const EmptyType&) { return false; })
      .def("__eq__", [](const EmptyType&, py::handle o) { return py::isinstance<EmptyType>(o); })
      .def("__hash__", [](const EmptyType&) { return 0; });
  m.attr("Empty") = py::cast(EmptyType{});

  py::class_<TypedVariant>(m, "Variant")
      .def(py::init([](const Variant& value, int vartype) {
             return TypedVariant{ChangeType(value, static_cast<VarType>(vartype))};
           }),
           py::arg("value"), py::arg("vartype"))
      .def_property_readonly("vartype",
                             [](const TypedVariant& v) { return static_cast<int>(v.value.type()); })
      .def_property_readonly("value", [](const TypedVariant& v) { return v.value; })
      .def("__repr__", [](const TypedVariant& v) {
        return "Variant(" + std::string(py::repr(FromVariant(v.value))) + ", " +
               std::to_string(static_cast<int>(v.value.type())) + ")";
      });

  py::class_<Object, std::shared_ptr<Object>>(m, "Object")
      .def_property_readonly("Self", &Object::Self)
      .def_property_readonly("ClassName", [](const Object& o) { return Text(o.ClassName()); })
      .def("GetInterfaceSafetyOptions", [](const Object&, py::args) { return 0; })
      .def("SetInterfaceSafetyOptions", [](const Object&, py::args) { return 0; })
      .def(
          "Connect",
          [](Object& o, const Text& name, py::function handler) {
            // Copies of the wrapper and its release may happen on threads without the GIL
            // (an event raise copies its handlers; a timer may drop the last reference to its
            // object after a tick): only the last owner touches the function, under the GIL.
            std::shared_ptr<py::function> fn(new py::function(std::move(handler)),
                                             [](py::function* f) {
                                               py::gil_scoped_acquire gil;
                                               delete f;
                                             });
            return o.ConnectEvent(name, [fn](std::span<Variant> args) {
              py::gil_scoped_acquire gil;
              CallPython([&] {
                py::tuple t(args.size());
                for (size_t i = 0; i < args.size(); ++i) t[i] = FromVariant(args[i]);
                (*fn)(*t);
              });
            });
          },
          py::arg("EventName"), py::arg("Handler"))
      .def("Disconnect", &Object::DisconnectEvent, py::arg("Handle"))
      .def("__eq__", [](const Object& a, py::handle b) {
        return py::isinstance<Object>(b) && &a == &b.cast<const Object&>();
      })
      .def("__hash__", [](const Object& a) { return std::hash<const void*>()(&a); });

  m.def("CreateObject", [](const Text& name) { return CreateObject(name); }, py::arg("Class"));
  m.def("SetThreadLocale", [](const std::string& name) { SetThreadLocale(name); },
        py::arg("Locale"));

  // Test hook: raises an error wrapped by each prefix in turn, innermost first.
  m.def("_testing_raise_chained", [](int32_t number, const Text& source, const Text& description,
                                     const std::vector<Text>& prefixes) {
    Error e(number, source, description);
    for (const auto& p : prefixes) {
      try {
        RaiseChained(e, p);
      } catch (const Error& outer) {
        e = outer;
      }
    }
    throw e;
  });
}

}  // namespace qel::python
