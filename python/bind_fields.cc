// Field values: the field types, the global object (whose members the package also offers as
// module functions and attributes), the record data buffer, fields and the field collection.
#include "arguments.h"
#include "bindings.h"
#include "qel/fields/field_types.h"
#include "qel/fields/rut.h"
#include "qel/global/value_compare.h"
#include "qel/frame/convert.h"

namespace qel::python {
namespace {

// The file helpers never raise: an argument that is not a path answers False.
template <class F>
auto FileHelper(F helper) {
  return [helper](const py::object& path) {
    const auto name = FileArgument(path);
    return name && helper(*name);
  };
}

// The same as a QelGlobal member.
template <class F>
auto FileMember(F helper) {
  return [helper](const QelGlobal&, const py::object& path) {
    const auto name = FileArgument(path);
    return name && helper(*name);
  };
}

bool OpenDocumentArgs(const py::object& path, const py::object& hwnd) {
  const auto name = FileArgument(path);
  if (!name || !py::isinstance<py::int_>(hwnd)) return false;
  int overflow = 0;
  const long long h = PyLong_AsLongLongAndOverflow(hwnd.ptr(), &overflow);
  if (overflow != 0 || h < INT32_MIN || h > INT32_MAX) return false;
  return OpenDocument(*name, static_cast<int32_t>(h));
}

}  // namespace

void BindFieldTypes(py::module_& m) {
  static constexpr const char* kNames[] = {"qelTypeList",   "qelTypeText",   "qelTypeNumeric",
                                           "qelTypeSigned", "qelTypeDate",   "qelTypeRut",
                                           "qelTypeAlpha",  "qelTypeListEnd"};
  for (int32_t t = qelTypeList; t <= qelTypeListEnd; ++t) m.attr(kNames[t - 1]) = t;
}

void BindQelGlobal(PyClass<QelGlobal>& c) {
  // Text parameters accept any value with a text form, as automation coerces them.
  c.def(py::init(&QelGlobal::Instance))
      .def_property_readonly("GlobalSelf", &QelGlobal::GlobalSelf, "The global object itself.")
      .def(
          "QelValidateRUT",
          [](const QelGlobal& g, const Variant& rut, int32_t size, bool allow, bool compute) {
            return g.QelValidateRUT(CStr(rut), size, allow, compute);
          },
          py::arg("RutText"), py::arg("ReturnSize") = 0, py::arg("AllowUnknown") = false,
          py::arg("ComputeUnknown") = false,
          "Validates a RUT text and returns its canonical digits and check character, "
          "left-padded with zeros to ReturnSize. AllowUnknown accepts '?' as the check "
          "character; ComputeUnknown replaces it by the computed one.")
      .def(
          "QelFormatRUT",
          [](const QelGlobal& g, const Variant& rut, bool sep) {
            return g.QelFormatRUT(CStr(rut), sep);
          },
          py::arg("RutValue"), py::arg("ThousandSep") = false,
          "Formats a RUT as digits, '-' and the check character, with '.' thousands "
          "separators when ThousandSep.")
      .def("QelConvert", &QelGlobal::QelConvert, py::arg("Field"), py::arg("Value"),
           py::arg("WithQelFormat") = false,
           "Converts Value to the type of Field, as Field.SetValue would store it, without "
           "storing it; WithQelFormat reads texts in the host's number style.")
      .def(
          "QelCompare",
          [](const QelGlobal& g, const QelRecordField& f, int32_t i1, const OptionalVariant& v2,
             int32_t i2) { return g.QelCompare(f, i1, v2.value, i2); },
          py::arg("Field"), py::arg("Index1") = 1, py::arg("Value2") = OmittedType{},
          py::arg("Index2") = 1,
          "Compares occurrence Index1 of Field with Value2 (a value or a field, occurrence "
          "Index2) by the field's type: -1, 0 or 1.")
      .def(
          "ToDecimal", [](const QelGlobal& g, const Variant& v) { return Variant(g.ToDecimal(v)); },
          py::arg("Value"), "Value as a decimal number, reading texts in the user's style.")
      .def("CobolCompare", &QelGlobal::CobolCompare, py::arg("Value1"), py::arg("Value2"),
           "Compares two values as the host does: numbers when both are numeric, else texts. "
           "Returns -1, 0 or 1.")
      .def("DeleteFile", FileMember(([](const Text& f) { return DeleteFile(f); })),
           py::arg("FileName"),
           "Deletes the files FileName names ('*' and '?' in its last component); answers "
           "whether any was deleted. Never raises.")
      .def("MakeDirectory", FileMember(([](const Text& d) { return MakeDirectory(d); })),
           py::arg("DirectoryPath"),
           "Creates the directory and any missing parents; answers success. Never raises.")
      .def("RemoveDirectory", FileMember(([](const Text& d) { return RemoveDirectory(d); })),
           py::arg("DirectoryPath"), "Removes an empty directory; answers success. Never raises.")
      .def(
          "OpenDocument",
          [](const QelGlobal&, const py::object& path, const py::object& hwnd) {
            return OpenDocumentArgs(path, hwnd);
          },
          py::arg("DocumentPath"), py::arg("Hwnd") = 0,
          "Opens the document with the application associated with its type; answers "
          "whether one is. Never raises.")
      .def_property("QelDefaultSignANSI", &QelGlobal::QelDefaultSignANSI,
                    &QelGlobal::SetQelDefaultSignANSI,
                    "The thread's default SignANSI for new records (False).")
      .def_property_readonly("Locale", &QelGlobal::Locale, "The thread's QelLocale.")
      .def_property_readonly("Sid", &QelGlobal::Sid, "The user's QelLanguage.");
}

void BindGlobalFunctions(py::module_& m) {
  // The global object's members called without it: the same routines on the calling thread.
  m.def(
      "QelValidateRUT",
      [](const Variant& rut, int32_t size, bool allow, bool compute) {
        return QelValidateRUT(CStr(rut), size, allow, compute);
      },
      py::arg("RutText"), py::arg("ReturnSize") = 0, py::arg("AllowUnknown") = false,
      py::arg("ComputeUnknown") = false, "QelGlobal.QelValidateRUT without the object.");
  m.def(
      "QelFormatRUT", [](const Variant& rut, bool sep) { return QelFormatRUT(CStr(rut), sep); },
      py::arg("RutValue"), py::arg("ThousandSep") = false,
      "QelGlobal.QelFormatRUT without the object.");
  m.def("QelConvert", &QelConvert, py::arg("Field"), py::arg("Value"),
        py::arg("WithQelFormat") = false, "QelGlobal.QelConvert without the object.");
  m.def(
      "QelCompare",
      [](const QelRecordField& f, int32_t i1, const OptionalVariant& v2, int32_t i2) {
        return QelCompare(f, i1, v2.value, i2);
      },
      py::arg("Field"), py::arg("Index1") = 1, py::arg("Value2") = OmittedType{},
      py::arg("Index2") = 1, "QelGlobal.QelCompare without the object.");
  m.def(
      "ToDecimal", [](const Variant& v) { return Variant(ToDecimal(v)); }, py::arg("Value"),
      "QelGlobal.ToDecimal without the object.");
  m.def("CobolCompare", &CobolCompare, py::arg("Value1"), py::arg("Value2"),
        "QelGlobal.CobolCompare without the object.");
  m.def("DeleteFile", FileHelper([](const Text& f) { return DeleteFile(f); }), py::arg("FileName"),
        "QelGlobal.DeleteFile without the object. Never raises.");
  m.def("MakeDirectory", FileHelper([](const Text& d) { return MakeDirectory(d); }),
        py::arg("DirectoryPath"), "QelGlobal.MakeDirectory without the object. Never raises.");
  m.def("RemoveDirectory", FileHelper([](const Text& d) { return RemoveDirectory(d); }),
        py::arg("DirectoryPath"), "QelGlobal.RemoveDirectory without the object. Never raises.");
  m.def("OpenDocument", &OpenDocumentArgs, py::arg("DocumentPath"), py::arg("Hwnd") = 0,
        "QelGlobal.OpenDocument without the object. Never raises.");
}

void BindQelRecordData(PyClass<QelRecordData>& c) {
  c.def(py::init<>())
      .def_property(
          "Data", &QelRecordData::Data,
          [](QelRecordData& d, const Variant& v) { d.SetData(CStr(v)); },
          "The data text, stored as it stands.")
      .def_property("SignANSI", &QelRecordData::SignANSI, &QelRecordData::SetSignANSI,
                    "Whether signed numbers are written in the ANSI style.")
      .def_property_readonly("Length", &QelRecordData::Length, "Characters of data.")
      .def("Slot", &QelRecordData::Slot, py::arg("Start"), py::arg("Length"),
           "The raw text of a slot (1-based Start); None for a slot of null fillers.")
      .def(
          "SetSlot",
          [](QelRecordData& d, py::args args, py::kwargs kwargs) {
            const auto a =
                SetterArguments("SetSlot", {{"Start", {}}, {"Length", {}}}, args, kwargs);
            d.SetSlot(a[0].cast<int32_t>(), a[1].cast<int32_t>(), a[2].cast<Variant>());
          },
          "SetSlot(Start, Length, value): writes value into the slot, cut or blank-padded; "
          "None fills it with null fillers.")
      .def("Pad", &QelRecordData::Pad, py::arg("Length"),
           "Appends blanks up to Length characters; never cuts.");
}

void BindQelRecordField(PyClass<QelRecordField>& c) {
  c.def_property_readonly("DataType", &QelRecordField::DataType, "The field type (qelType...).")
      .def_property_readonly("Length", &QelRecordField::Length,
                             "Characters the field occupies (the whole group's for a list "
                             "begin or end).")
      .def_property_readonly("Precision", &QelRecordField::Precision, "Decimals of a number field.")
      .def_property_readonly("Dimensions", &QelRecordField::Dimensions,
                             "Occurrences of a list begin's group; 0 for any other field.")
      .def_property("Format", &QelRecordField::Format, &QelRecordField::SetFormat,
                    "The display format Text applies.")
      .def_property_readonly("Name", &QelRecordField::Name, "The field name.")
      .def_property_readonly("Default", &QelRecordField::Default, "The default value.")
      .def_property_readonly("MaxTextLength", &QelRecordField::MaxTextLength,
                             "The longest display text the field can hold.")
      .def_property_readonly("InList", &QelRecordField::InList,
                             "Whether the field is a member of a repeated group.")
      .def_property_readonly("ListFields", &QelRecordField::ListFields,
                             "The fields of the group a list begin opens; None otherwise.")
      .def("Value", &QelRecordField::Value, py::arg("Index") = 1,
           "The typed value of occurrence Index.")
      .def(
          "SetValue",
          [](QelRecordField& f, py::args args, py::kwargs kwargs) {
            const auto a = SetterArguments("SetValue", {{"Index", py::int_(1)}}, args, kwargs);
            f.SetValue(a[1].cast<Variant>(), a[0].cast<int32_t>());
          },
          "SetValue([Index=1,] value): converts value to the field's type and writes it into "
          "occurrence Index; raises Change.")
      .def("Text", &QelRecordField::Text, py::arg("Index") = 1,
           "The display text of occurrence Index.")
      .def("Data", &QelRecordField::Data, py::arg("Index") = 1,
           "The raw slot text of occurrence Index; None for null fillers.")
      .def(
          "SetData",
          [](QelRecordField& f, py::args args, py::kwargs kwargs) {
            const auto a = SetterArguments("SetData", {{"Index", py::int_(1)}}, args, kwargs);
            f.SetData(a[1].cast<Variant>(), a[0].cast<int32_t>());
          },
          "SetData([Index=1,] value): writes value's text raw into occurrence Index; raises "
          "Change.")
      .def("Mid", &QelRecordField::Mid, py::arg("Start"), py::arg("Length"), py::arg("Index") = 1,
           "Length characters of the slot from Start (1-based).")
      .def(
          "SetMid",
          [](QelRecordField& f, py::args args, py::kwargs kwargs) {
            const auto a = SetterArguments(
                "SetMid", {{"Start", {}}, {"Length", {}}, {"Index", py::int_(1)}}, args, kwargs);
            f.SetMid(a[0].cast<int32_t>(), a[1].cast<int32_t>(), a[3].cast<Variant>(),
                     a[2].cast<int32_t>());
          },
          "SetMid(Start, Length[, Index=1], value): writes value's text into part of the "
          "slot; raises Change.")
      .def_property("Fill", nullptr, &QelRecordField::SetFill,
                    "Write-only: fills every occurrence with the value's first character "
                    "repeated (None: null fillers).")
      .def("IsNull", &QelRecordField::IsNull, py::arg("Index") = 1,
           "Whether occurrence Index holds null fillers.")
      .def("Validate", &QelRecordField::Validate, py::arg("Value"), py::arg("Index") = 1,
           "Whether SetValue(Index, Value) would store Value without loss.");
}

void BindQelRecordFields(PyClass<QelRecordFields>& c) {
  c.def(py::init<>())
      .def_property(
          "Layout", &QelRecordFields::Layout,
          [](QelRecordFields& f, const Text& text) { f.SetLayout(text); },
          "The signature text; assigning it rebuilds the fields and checks the digest.")
      .def_property_readonly("Signature", &QelRecordFields::Signature, "The layout digest.")
      .def_property_readonly("Name", &QelRecordFields::Name, "The record name.")
      .def_property_readonly("Length", &QelRecordFields::Length, "The record length.")
      .def_property_readonly("Count", &QelRecordFields::Count, "The number of fields.")
      .def("Item", &QelRecordFields::Item, py::arg("Key"),
           "The field named Key or at 1-based position Key; QelError when absent.")
      .def("Find", &QelRecordFields::Find, py::arg("Key"),
           "The field named Key or at position Key; None when absent.")
      .def("Exists", &QelRecordFields::Exists, py::arg("Key"), "Whether Find finds Key.")
      .def("Clear", &QelRecordFields::Clear, "Removes every field and the layout.")
      .def("NotifyDataChanged", &QelRecordFields::NotifyDataChanged,
           "Raises Change on every field, as after the data was replaced.")
      .def_property("RecordData", &QelRecordFields::RecordData, &QelRecordFields::SetRecordData,
                    "The QelRecordData the fields read and write.")
      .def("__len__", &QelRecordFields::Count)
      .def("__getitem__", &QelRecordFields::Item, py::arg("Key"))
      .def("__contains__", &QelRecordFields::Exists, py::arg("Key"))
      .def("__iter__", [](const QelRecordFields& f) { return SnapshotIterator(f); });
}

}  // namespace qel::python
