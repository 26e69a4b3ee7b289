// Property bags: QelProp, QelProps and the QelFormatTypes constants.
#include <span>
#include <string>

#include "arguments.h"
#include "bindings.h"

namespace qel::python {

void BindFormatTypes(py::module_& m) {
  m.attr("qelFormatNormal") = static_cast<int32_t>(qelFormatNormal);
  m.attr("qelFormatIndented") = static_cast<int32_t>(qelFormatIndented);
  m.attr("qelFormatPostData") = static_cast<int32_t>(qelFormatPostData);
}

void BindQelProp(PyClass<QelProp>& c) {
  c.def(py::init([] { return QelProp::Create(); }))
      .def_property_readonly(
          "Name", [](const QelProp& p) { return Text(p.Name()); }, "The property name.")
      .def_property_readonly("StrName", &QelProp::StrName,
                             "The name as the bag text writes it (quoted when needed).")
      .def_property(
          "Value", [](const QelProp& p) { return p.Value(); }, &QelProp::SetValue,
          "The value: an object by reference, anything else as a copy. Assigning another "
          "QelProp copies its value.")
      .def_property_readonly("DataType", &QelProp::DataType,
                             "The automation type code of the value.")
      .def_property_readonly("IsNull", &QelProp::IsNull, "Whether the value is Null.")
      .def_property_readonly("IsEmpty", &QelProp::IsEmpty, "Whether the value is Empty.")
      .def_property_readonly("IsObject", &QelProp::IsObject, "Whether the value is an object.")
      .def_property_readonly("IsProps", &QelProp::IsProps,
                             "Whether the value is a nested QelProps.")
      .def_property_readonly("Props", &QelProp::Props, "The nested bag, or None.")
      .def("__repr__", [](const QelProp& p) { return "<QelProp " + ToUtf8(p.StrName()) + ">"; });
}

void BindQelProps(PyClass<QelProps>& c) {
  c.def(py::init<>())
      .def_property(
          "Name", [](const QelProps& b) { return b.Name(); },
          [](QelProps& b, const Text& name) { b.SetName(name); }, "The bag's name.")
      .def("Item", &QelProps::Item, py::arg("Key"),
           "The property named Key (case-insensitive) or at 1-based position Key; None when "
           "absent.")
      .def("Exists", &QelProps::Exists, py::arg("Key"), "Whether Item finds Key.")
      .def(
          "Value",
          [](const QelProps& b, const Variant& key, const OptionalVariant& def) {
            return b.Value(key, def.OrEmpty());
          },
          py::arg("Key"), py::arg("Default") = OmittedType{},
          "The value of property Key, or Default (Empty when left out) when it is absent.")
      .def(
          "SetValue",
          [](QelProps& b, py::args args, py::kwargs kwargs) {
            // Default is an argument of the property Value; it plays no part in an assignment.
            const auto a = SetterArguments(
                "SetValue", {{"Key", {}}, {"Default", py::cast(OmittedType{})}}, args, kwargs);
            b.SetValue(a[0].cast<Variant>(), a[2].cast<Variant>());
          },
          "SetValue(Key[, Default], value): assigns property Key, creating it under the key "
          "with surrounding blanks trimmed when absent.")
      .def_property_readonly("Count", &QelProps::Count, "The number of properties.")
      .def("Remove", &QelProps::Remove, py::arg("Key"),
           "Removes property Key; answers whether it existed.")
      .def("Clear", &QelProps::Clear, "Removes every property.")
      .def("Merge", &QelProps::Merge, py::arg("Source"),
           "Adds Source's properties, replacing those of the same name; nested bags merge.")
      .def("Clone", &QelProps::Clone, "A deep copy of the bag.")
      .def(
          "Copy",
          [](QelProps& b, const std::shared_ptr<QelProps>& source, const OptionalVariant& key) {
            b.Copy(source, key.OrEmpty());
          },
          py::arg("Source"), py::arg("Key") = OmittedType{},
          "Replaces the bag's content by a deep copy of Source's, or, given Key, stores that "
          "copy as the nested bag Key.")
      .def("ToText", &QelProps::ToText, py::arg("Format") = static_cast<int32_t>(qelFormatNormal),
           "The bag's text in Format (qelFormatNormal, qelFormatIndented, qelFormatPostData).")
      .def(
          "LoadFromText", [](QelProps& b, const Text& text) { b.LoadFromText(text); },
          py::arg("Text"), "Replaces the content by the bag text Text; on error it is kept.")
      .def(
          "LoadFromBytes",
          [](QelProps& b, const py::bytes& data) {
            const std::string bytes = data;
            b.LoadFromBytes(
                std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
          },
          py::arg("Bytes"), "Replaces the content by the bag text in Bytes (UTF-8 or ANSI).")
      .def(
          "LoadFromFile",
          [](QelProps& b, const py::object& path) {
            const py::object name = py::module_::import("os").attr("fsdecode")(path);
            b.LoadFromFile(name.cast<Text>());
          },
          py::arg("FileName"), "Replaces the content by the bag text of a file.")
      .def(
          "LoadFromHttp", [](QelProps& b, const Text& headers) { b.LoadFromHttp(headers); },
          py::arg("HttpHeaders"),
          "Replaces the content by an HTTP header block: HTTP_STATUS and one property per "
          "header.")
      .def(
          "LoadFromURL", [](QelProps& b, const Text& url) { b.LoadFromURL(url); }, py::arg("URL"),
          "Replaces the content by the query parameters of URL.")
      .def("__len__", &QelProps::Count)
      .def("__iter__", [](const QelProps& b) { return SnapshotIterator(b); })
      .def("__getitem__", &QelProps::Item, py::arg("Key"))
      .def("__contains__", &QelProps::Exists, py::arg("Key"))
      .def("__repr__", [](const QelProps& b) {
        return "<QelProps " + std::to_string(b.Count()) + " properties>";
      });
}

}  // namespace qel::python
