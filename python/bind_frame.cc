// Frame: QelError, Empty, Variant, Object (Self, object safety, events by name), CreateObject
// and the thread locale.
#include "arguments.h"
#include "bindings.h"
#include "handlers.h"
#include "qel/frame/convert.h"
#include "qel/frame/locale.h"

namespace qel::python {

void BindQelError(py::module_& m) {
  // Leaked on purpose: the translator may run until the interpreter is gone.
  static const py::handle qel_error =
      PyErr_NewExceptionWithDoc("qelstd.QelError",
                                "The one error the library raises: Number (the automation "
                                "error number), Source (the chain of methods it passed) and "
                                "Description (Spanish text).",
                                PyExc_Exception, nullptr);
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
}

void BindEmpty(py::module_& m, py::class_<EmptyType>& c) {
  c.def("__repr__", [](const EmptyType&) { return "Empty"; })
      .def("__bool__", [](const EmptyType&) { return false; })
      .def("__eq__", [](const EmptyType&, py::handle o) { return py::isinstance<EmptyType>(o); })
      .def("__hash__", [](const EmptyType&) { return 0; });
  m.attr("Empty") = py::cast(EmptyType{});
}

void BindVariant(py::class_<TypedVariant>& c) {
  c.def(py::init([](const Variant& value, int vartype) {
          return TypedVariant{ChangeType(value, static_cast<VarType>(vartype))};
        }),
        py::arg("value"), py::arg("vartype"))
      .def_property_readonly(
          "vartype", [](const TypedVariant& v) { return static_cast<int>(v.value.type()); },
          "The automation type code of the value.")
      .def_property_readonly(
          "value", [](const TypedVariant& v) { return v.value; }, "The value as Python sees it.")
      .def("__repr__", [](const TypedVariant& v) {
        return "Variant(" + std::string(py::repr(FromVariant(v.value))) + ", " +
               std::to_string(static_cast<int>(v.value.type())) + ")";
      });
}

void BindObject(py::class_<Object, std::shared_ptr<Object>>& c) {
  c.def_property_readonly("Self", &Object::Self, "The object itself.")
      .def_property_readonly(
          "ClassName", [](const Object& o) { return Text(o.ClassName()); },
          "The public class name, e.g. 'QelRecord'.")
      .def(
          "GetInterfaceSafetyOptions", [](const Object&, py::args) { return 0; },
          "Object safety: accepts anything, changes nothing, returns 0.")
      .def(
          "SetInterfaceSafetyOptions", [](const Object&, py::args) { return 0; },
          "Object safety: accepts anything, changes nothing, returns 0.")
      .def(
          "Connect",
          [](Object& o, const Text& name, py::function handler) {
            return ConnectPython(o, name, std::move(handler));
          },
          py::arg("EventName"), py::arg("Handler"),
          "Connects Handler to the event EventName (case-insensitive); it is called with the "
          "event's arguments. Returns a handle for Disconnect. A QelError the handler raises "
          "reaches whoever raised the event. Raises QelError 438 for a name the class does "
          "not raise.")
      .def("Disconnect", &Object::DisconnectEvent, py::arg("Handle"),
           "Disconnects the handler Connect returned Handle for; answers whether it was "
           "connected.")
      .def(
          "__eq__",
          [](const Object& a, py::handle b) {
            return py::isinstance<Object>(b) && &a == &b.cast<const Object&>();
          },
          "Identity of the library object (two wrappers of one object are equal).")
      .def("__hash__", [](const Object& a) { return std::hash<const void*>()(&a); });
}

void BindFrameFunctions(py::module_& m) {
  m.def(
      "CreateObject", [](const Text& name) { return CreateObject(name); }, py::arg("Class"),
      "Creates an object of a creatable class by its name (case-insensitive); QelError 429 "
      "for an unknown name.");
  m.def(
      "SetThreadLocale", [](const std::string& name) { SetThreadLocale(name); }, py::arg("Locale"),
      "Sets the calling thread's locale (e.g. 'es_CL.UTF-8'), which number and date texts "
      "follow.");
}

}  // namespace qel::python
