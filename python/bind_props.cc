// Property bags: QelProp, QelProps and the QelFormatTypes constants.
#include <span>
#include <string>

#include "bindings.h"
#include "qel/props/qel_prop.h"
#include "qel/props/qel_props.h"

namespace qel::python {

void BindProps(py::module_& m) {
  m.attr("qelFormatNormal") = static_cast<int32_t>(qelFormatNormal);
  m.attr("qelFormatIndented") = static_cast<int32_t>(qelFormatIndented);
  m.attr("qelFormatPostData") = static_cast<int32_t>(qelFormatPostData);

  py::class_<QelProp, Object, std::shared_ptr<QelProp>> prop(m, "QelProp");
  py::class_<QelProps, Object, std::shared_ptr<QelProps>> props(m, "QelProps");

  prop.def(py::init([] { return QelProp::Create(); }))
      .def_property_readonly("Name", [](const QelProp& p) { return Text(p.Name()); })
      .def_property_readonly("StrName", &QelProp::StrName)
      .def_property(
          "Value", [](const QelProp& p) { return p.Value(); }, &QelProp::SetValue)
      .def_property_readonly("DataType", &QelProp::DataType)
      .def_property_readonly("IsNull", &QelProp::IsNull)
      .def_property_readonly("IsEmpty", &QelProp::IsEmpty)
      .def_property_readonly("IsObject", &QelProp::IsObject)
      .def_property_readonly("IsProps", &QelProp::IsProps)
      .def_property_readonly("Props", &QelProp::Props)
      .def("__repr__", [](const QelProp& p) { return "<QelProp " + ToUtf8(p.StrName()) + ">"; });

  props.def(py::init<>())
      .def_property(
          "Name", [](const QelProps& b) { return b.Name(); },
          [](QelProps& b, const Text& name) { b.SetName(name); })
      .def("Item", &QelProps::Item, py::arg("Key"))
      .def("Exists", &QelProps::Exists, py::arg("Key"))
      .def("Value", &QelProps::Value, py::arg("Key"), py::arg("Default") = Variant())
      .def("SetValue", &QelProps::SetValue, py::arg("Key"), py::arg("value"))
      .def(
          "SetValue",
          [](QelProps& b, const Variant& key, const Variant&, const Variant& value) {
            b.SetValue(key, value);  // Default plays no part in an assignment
          },
          py::arg("Key"), py::arg("Default"), py::arg("value"))
      .def_property_readonly("Count", &QelProps::Count)
      .def("Remove", &QelProps::Remove, py::arg("Key"))
      .def("Clear", &QelProps::Clear)
      .def("Merge", &QelProps::Merge, py::arg("Source"))
      .def("Clone", &QelProps::Clone)
      .def("Copy", &QelProps::Copy, py::arg("Source"), py::arg("Key") = Variant())
      .def("ToText", &QelProps::ToText, py::arg("Format") = static_cast<int32_t>(qelFormatNormal))
      .def(
          "LoadFromText", [](QelProps& b, const Text& text) { b.LoadFromText(text); },
          py::arg("Text"))
      .def(
          "LoadFromBytes",
          [](QelProps& b, const py::bytes& data) {
            const std::string bytes = data;
            b.LoadFromBytes(
                std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
          },
          py::arg("Bytes"))
      .def(
          "LoadFromFile",
          [](QelProps& b, const py::object& path) {
            const py::object name = py::module_::import("os").attr("fsdecode")(path);
            b.LoadFromFile(name.cast<Text>());
          },
          py::arg("FileName"))
      .def(
          "LoadFromHttp", [](QelProps& b, const Text& headers) { b.LoadFromHttp(headers); },
          py::arg("HttpHeaders"))
      .def(
          "LoadFromURL", [](QelProps& b, const Text& url) { b.LoadFromURL(url); }, py::arg("URL"))
      .def("__len__", &QelProps::Count)
      .def("__iter__",
           [](const QelProps& b) {
             // A snapshot: changing the bag while iterating is safe.
             py::list items;
             for (const auto& p : b) items.append(py::cast(p));
             return py::iter(items);
           })
      .def("__getitem__", &QelProps::Item, py::arg("Key"))
      .def("__contains__", &QelProps::Exists, py::arg("Key"))
      .def("__repr__", [](const QelProps& b) {
        return "<QelProps " + std::to_string(b.Count()) + " properties>";
      });
}

}  // namespace qel::python
