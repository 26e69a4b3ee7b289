// Field values: the RUT routines, the global object (QelGlobal, whose members are also module
// functions; its properties become module attributes in qelstd/__init__.py), the field types,
// the record data buffer, fields and the field collection.
#include "bindings.h"
#include "qel/fields/field_types.h"
#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_field.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"
#include "qel/global/qel_global.h"
#include "qel/global/value_compare.h"

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

// An omitted optional argument: told apart from None (Null) and qelstd.Empty, both values.
py::object Omitted() {
  static py::object* omitted = new py::object(py::module_::import("builtins").attr("object")());
  return *omitted;
}

std::optional<Variant> GivenOrMissing(const py::object& value) {
  if (value.is(Omitted())) return std::nullopt;
  return value.cast<Variant>();
}

}  // namespace

void BindFields(py::module_& m) {
  for (int32_t t = qelTypeList; t <= qelTypeListEnd; ++t) {
    static constexpr const char* kNames[] = {"qelTypeList",    "qelTypeText",   "qelTypeNumeric",
                                             "qelTypeSigned",  "qelTypeDate",   "qelTypeRut",
                                             "qelTypeAlpha",   "qelTypeListEnd"};
    m.attr(kNames[t - 1]) = t;
  }

  py::class_<QelGlobal, Object, std::shared_ptr<QelGlobal>> global(m, "QelGlobal");
  py::class_<QelRecordData, Object, std::shared_ptr<QelRecordData>> data(m, "QelRecordData");
  py::class_<QelRecordField, Object, std::shared_ptr<QelRecordField>> field(m, "QelRecordField");
  py::class_<QelRecordFields, Object, std::shared_ptr<QelRecordFields>> fields(m,
                                                                               "QelRecordFields");

  global.def(py::init(&QelGlobal::Instance))
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
      .def("QelConvert", &QelGlobal::QelConvert, py::arg("Field"), py::arg("Value"),
           py::arg("WithQelFormat") = false)
      .def(
          "QelCompare",
          [](const QelGlobal& g, const QelRecordField& f, int32_t i1, const py::object& v2,
             int32_t i2) { return g.QelCompare(f, i1, GivenOrMissing(v2), i2); },
          py::arg("Field"), py::arg("Index1") = 1, py::arg_v("Value2", Omitted(), "<omitted>"),
          py::arg("Index2") = 1)
      .def(
          "ToDecimal", [](const QelGlobal& g, const Variant& v) { return Variant(g.ToDecimal(v)); },
          py::arg("Value"))
      .def("CobolCompare", &QelGlobal::CobolCompare, py::arg("Value1"), py::arg("Value2"))
      .def(
          "DeleteFile", [](const QelGlobal& g, const Text& f) { return g.DeleteFile(f); },
          py::arg("FileName"))
      .def(
          "MakeDirectory", [](const QelGlobal& g, const Text& d) { return g.MakeDirectory(d); },
          py::arg("DirectoryPath"))
      .def(
          "RemoveDirectory",
          [](const QelGlobal& g, const Text& d) { return g.RemoveDirectory(d); },
          py::arg("DirectoryPath"))
      .def(
          "OpenDocument",
          [](const QelGlobal& g, const Text& d, int32_t h) { return g.OpenDocument(d, h); },
          py::arg("DocumentPath"), py::arg("Hwnd") = 0)
      .def_property("QelDefaultSignANSI", &QelGlobal::QelDefaultSignANSI,
                    &QelGlobal::SetQelDefaultSignANSI)
      .def_property_readonly("Locale", &QelGlobal::Locale)
      .def_property_readonly("Sid", &QelGlobal::Sid);
  m.def("QelValidateRUT", &ValidateRut, py::arg("RutText"), py::arg("ReturnSize") = 0,
        py::arg("AllowUnknown") = false, py::arg("ComputeUnknown") = false);
  m.def("QelFormatRUT", &FormatRut, py::arg("RutValue"), py::arg("ThousandSep") = false);
  m.def("QelConvert", &QelConvert, py::arg("Field"), py::arg("Value"),
        py::arg("WithQelFormat") = false);
  m.def(
      "QelCompare",
      [](const QelRecordField& f, int32_t i1, const py::object& v2, int32_t i2) {
        return QelCompare(f, i1, GivenOrMissing(v2), i2);
      },
      py::arg("Field"), py::arg("Index1") = 1, py::arg_v("Value2", Omitted(), "<omitted>"),
      py::arg("Index2") = 1);
  m.def(
      "ToDecimal", [](const Variant& v) { return Variant(ToDecimal(v)); }, py::arg("Value"));
  m.def("CobolCompare", &CobolCompare, py::arg("Value1"), py::arg("Value2"));
  m.def(
      "DeleteFile", [](const Text& f) { return DeleteFile(f); }, py::arg("FileName"));
  m.def(
      "MakeDirectory", [](const Text& d) { return MakeDirectory(d); }, py::arg("DirectoryPath"));
  m.def(
      "RemoveDirectory", [](const Text& d) { return RemoveDirectory(d); },
      py::arg("DirectoryPath"));
  m.def(
      "OpenDocument", [](const Text& d, int32_t h) { return OpenDocument(d, h); },
      py::arg("DocumentPath"), py::arg("Hwnd") = 0);

  data.def(py::init<>())
      .def_property(
          "Data", &QelRecordData::Data,
          [](QelRecordData& d, const Variant& v) { d.SetData(CStr(v)); })
      .def_property("SignANSI", &QelRecordData::SignANSI, &QelRecordData::SetSignANSI)
      .def_property_readonly("Length", &QelRecordData::Length)
      .def("Slot", &QelRecordData::Slot, py::arg("Start"), py::arg("Length"))
      .def("SetSlot", &QelRecordData::SetSlot, py::arg("Start"), py::arg("Length"),
           py::arg("value"))
      .def("Pad", &QelRecordData::Pad, py::arg("Length"));

  field.def_property_readonly("DataType", &QelRecordField::DataType)
      .def_property_readonly("Length", &QelRecordField::Length)
      .def_property_readonly("Precision", &QelRecordField::Precision)
      .def_property_readonly("Dimensions", &QelRecordField::Dimensions)
      .def_property("Format", &QelRecordField::Format, &QelRecordField::SetFormat)
      .def_property_readonly("Name", &QelRecordField::Name)
      .def_property_readonly("Default", &QelRecordField::Default)
      .def_property_readonly("MaxTextLength", &QelRecordField::MaxTextLength)
      .def_property_readonly("InList", &QelRecordField::InList)
      .def_property_readonly("ListFields", &QelRecordField::ListFields)
      .def("Value", &QelRecordField::Value, py::arg("Index") = 1)
      .def(
          "SetValue",
          [](QelRecordField& f, int32_t index, const Variant& v) { f.SetValue(v, index); },
          py::arg("Index") = 1, py::arg("value"))
      .def("Text", &QelRecordField::Text, py::arg("Index") = 1)
      .def("Data", &QelRecordField::Data, py::arg("Index") = 1)
      .def(
          "SetData",
          [](QelRecordField& f, int32_t index, const Variant& v) { f.SetData(v, index); },
          py::arg("Index") = 1, py::arg("value"))
      .def("Mid", &QelRecordField::Mid, py::arg("Start"), py::arg("Length"),
           py::arg("Index") = 1)
      .def(
          "SetMid",
          [](QelRecordField& f, int32_t start, int32_t length, int32_t index, const Variant& v) {
            f.SetMid(start, length, v, index);
          },
          py::arg("Start"), py::arg("Length"), py::arg("Index") = 1, py::arg("value"))
      .def_property("Fill", nullptr, &QelRecordField::SetFill)
      .def("IsNull", &QelRecordField::IsNull, py::arg("Index") = 1)
      .def("Validate", &QelRecordField::Validate, py::arg("Value"), py::arg("Index") = 1);

  fields.def(py::init<>())
      .def_property("Layout", &QelRecordFields::Layout,
                    [](QelRecordFields& c, const Text& text) { c.SetLayout(text); })
      .def_property_readonly("Signature", &QelRecordFields::Signature)
      .def_property_readonly("Name", &QelRecordFields::Name)
      .def_property_readonly("Length", &QelRecordFields::Length)
      .def_property_readonly("Count", &QelRecordFields::Count)
      .def("Item", &QelRecordFields::Item, py::arg("Key"))
      .def("Find", &QelRecordFields::Find, py::arg("Key"))
      .def("Exists", &QelRecordFields::Exists, py::arg("Key"))
      .def("Clear", &QelRecordFields::Clear)
      .def("NotifyDataChanged", &QelRecordFields::NotifyDataChanged)
      .def_property("RecordData", &QelRecordFields::RecordData, &QelRecordFields::SetRecordData)
      .def("__len__", &QelRecordFields::Count)
      .def("__getitem__", &QelRecordFields::Item)
      .def("__contains__", &QelRecordFields::Exists)
      .def(
          "__iter__",
          [](const QelRecordFields& c) { return py::make_iterator(c.begin(), c.end()); },
          py::keep_alive<0, 1>());
}

}  // namespace qel::python
