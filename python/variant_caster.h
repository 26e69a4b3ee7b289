// Python <-> qel::Variant, by the module's conventions:
//   None <-> Null (and Nothing), qelstd.Empty <-> Empty, bool <-> Boolean, int -> Long (Decimal
//   when it needs more than 32 bits), Integer/Long/Byte -> int, float <-> Double (Single ->
//   float), decimal.Decimal <-> Decimal (Currency -> Decimal), datetime <-> Date, str <->
//   String, bytes <-> byte array, list/tuple <-> variant array, library objects <-> Object,
//   qelstd.Variant(value, vartype) -> exactly that automation value.
#ifndef QEL_PYTHON_VARIANT_CASTER_H_
#define QEL_PYTHON_VARIANT_CASTER_H_

#include <pybind11/pybind11.h>

#include "qel/frame/object.h"
#include "qel/frame/variant.h"

namespace qel::python {

namespace py = pybind11;

// A value already converted to an exact automation type (the Python class Variant).
struct TypedVariant {
  Variant value;
};

// The module's Empty singleton's type.
struct EmptyType {};

// Raises TypeError for a Python value with no automation form, and error 28 for lists and
// tuples nested more than 256 deep (a list that contains itself).
Variant ToVariant(py::handle obj);
py::object FromVariant(const Variant& v);

}  // namespace qel::python

namespace pybind11::detail {

template <>
struct type_caster<qel::Variant> {
  PYBIND11_TYPE_CASTER(qel::Variant, const_name("object"));
  bool load(handle src, bool) {
    value = qel::python::ToVariant(src);
    return true;
  }
  static handle cast(const qel::Variant& v, return_value_policy, handle) {
    return qel::python::FromVariant(v).release();
  }
};

}  // namespace pybind11::detail

#endif  // QEL_PYTHON_VARIANT_CASTER_H_
