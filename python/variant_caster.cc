#include "variant_caster.h"

#include <Python.h>
#include <datetime.h>

#include <cmath>
#include <string>

#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/error.h"

namespace qel::python {
namespace {

// Leaked on purpose: a static py::object would be released after the interpreter is gone.
py::handle DecimalClass() {
  static const py::handle cls =
      py::object(py::module_::import("decimal").attr("Decimal")).release();
  return cls;
}

// Containers nested deeper than this raise error 28 instead of exhausting the stack (a list
// that contains itself ends here).
constexpr int kMaxNesting = 256;
thread_local int t_nesting = 0;

class NestingGuard {
 public:
  NestingGuard() {
    if (t_nesting == kMaxNesting) RaiseRuntime(kErrOutOfStack);
    ++t_nesting;
  }
  ~NestingGuard() { --t_nesting; }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;
};

void EnsureDateTimeApi() {
  if (PyDateTimeAPI == nullptr) PyDateTime_IMPORT;
}

LocaleInfo AsciiNumbers() {
  LocaleInfo loc;
  loc.decimal = u'.';
  loc.thousand = u',';
  return loc;
}

Variant FromPyDecimal(py::handle obj) {
  const std::string s = py::str(py::str("{:f}").attr("format")(obj));
  auto d = ParseDecimal(FromUtf8(s), AsciiNumbers());
  if (!d)
    RaiseRuntime(s.find_first_of("nN") != std::string::npos ? kErrTypeMismatch : kErrOverflow);
  return *d;
}

Variant FromPyInt(py::handle obj) {
  int overflow = 0;
  const long long v = PyLong_AsLongLongAndOverflow(obj.ptr(), &overflow);
  if (overflow == 0 && v >= INT32_MIN && v <= INT32_MAX) return static_cast<int32_t>(v);
  const std::string s = py::str(obj);
  auto d = ParseDecimal(FromUtf8(s), AsciiNumbers());
  if (!d) RaiseRuntime(kErrOverflow);
  return *d;
}

Variant FromPyDateTime(py::handle obj) {
  EnsureDateTimeApi();
  DateParts p;
  p.year = PyDateTime_GET_YEAR(obj.ptr());
  p.month = PyDateTime_GET_MONTH(obj.ptr());
  p.day = PyDateTime_GET_DAY(obj.ptr());
  double fraction = 0;
  if (PyDateTime_Check(obj.ptr())) {
    p.hour = PyDateTime_DATE_GET_HOUR(obj.ptr());
    p.minute = PyDateTime_DATE_GET_MINUTE(obj.ptr());
    p.second = PyDateTime_DATE_GET_SECOND(obj.ptr());
    fraction = PyDateTime_DATE_GET_MICROSECOND(obj.ptr()) / 86400e6;
  }
  auto d = MakeDate(p);
  if (!d) RaiseRuntime(kErrOverflow);
  return Date{d->serial >= 0 ? d->serial + fraction : d->serial - fraction};
}

py::object ToPyDateTime(Date d) {
  EnsureDateTimeApi();
  if (!IsValidDateSerial(d.serial)) RaiseRuntime(kErrOverflow);
  const DateParts p = SplitDate(d);
  return py::reinterpret_steal<py::object>(
      PyDateTime_FromDateAndTime(p.year, p.month, p.day, p.hour, p.minute, p.second, 0));
}

}  // namespace

Variant ToVariant(py::handle obj) {
  if (obj.is_none()) return Variant::Null();
  if (py::isinstance<EmptyType>(obj)) return Variant();
  if (py::isinstance<TypedVariant>(obj)) return obj.cast<const TypedVariant&>().value;
  if (PyBool_Check(obj.ptr())) return obj.ptr() == Py_True;
  if (PyLong_Check(obj.ptr())) return FromPyInt(obj);
  if (PyFloat_Check(obj.ptr())) return PyFloat_AsDouble(obj.ptr());
  if (PyUnicode_Check(obj.ptr())) return obj.cast<std::u16string>();
  if (PyBytes_Check(obj.ptr()) || PyByteArray_Check(obj.ptr())) {
    const std::string s = obj.cast<py::bytes>();
    return ByteArray(s.begin(), s.end());
  }
  EnsureDateTimeApi();
  if (PyDate_Check(obj.ptr())) return FromPyDateTime(obj);
  if (py::isinstance(obj, DecimalClass())) return FromPyDecimal(obj);
  if (py::isinstance<Object>(obj)) return obj.cast<ObjectPtr>();
  if (PyList_Check(obj.ptr()) || PyTuple_Check(obj.ptr())) {
    NestingGuard guard;
    VariantArray items;
    for (py::handle item : obj) items.push_back(ToVariant(item));
    return items;
  }
  throw py::type_error("qelstd: no automation value for " +
                       std::string(py::str(obj.get_type().attr("__name__"))));
}

py::object FromVariant(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
      return py::cast(EmptyType{});
    case VarType::kNull:
      return py::none();
    case VarType::kInteger:
      return py::int_(v.Get<int16_t>());
    case VarType::kLong:
      return py::int_(v.Get<int32_t>());
    case VarType::kByte:
      return py::int_(v.Get<uint8_t>());
    case VarType::kSingle:
      return py::float_(v.Get<float>());
    case VarType::kDouble:
      return py::float_(v.Get<double>());
    case VarType::kBoolean:
      return py::bool_(v.Get<bool>());
    case VarType::kString:
      return py::cast(v.Get<Text>());
    case VarType::kCurrency:
    case VarType::kDecimal:
      return DecimalClass()(CDec(v).ToAscii());
    case VarType::kDate:
      return ToPyDateTime(v.Get<Date>());
    case VarType::kObject: {
      ObjectPtr obj = v.AsObject();
      return obj ? py::cast(obj) : py::none();
    }
    case VarType::kByteArray: {
      const auto& b = v.Get<ByteArray>();
      return py::bytes(reinterpret_cast<const char*>(b.data()), b.size());
    }
    case VarType::kVariantArray: {
      py::list out;
      for (const auto& item : v.Items()) out.append(FromVariant(item));
      return std::move(out);
    }
    default:
      return py::none();
  }
}

}  // namespace qel::python
