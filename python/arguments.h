// Argument conventions shared by the bindings.
//
// Omitted arguments: an optional parameter whose omission means something other than
// qelstd.Empty takes the OmittedType singleton as its Python default and the C++ type
// OptionalVariant, which is nullopt only when the caller left the argument out; an explicit
// qelstd.Empty arrives as an Empty value.
//
// Setters of parameterized properties (SetValue, SetData, SetMid, ...): the positional
// arguments are the property's arguments followed by the value, and a lone positional
// argument is the value, so f.SetValue("x"), f.SetValue(3, "x") and
// f.SetValue(value="x", Index=3) all work.
#ifndef QEL_PYTHON_ARGUMENTS_H_
#define QEL_PYTHON_ARGUMENTS_H_

#include <pybind11/pybind11.h>

#include <optional>
#include <vector>

#include "qel/frame/variant.h"
#include "variant_caster.h"

namespace qel::python {

namespace py = pybind11;

// The type of the default of parameters that tell "not given" from Empty.
struct OmittedType {};

struct OptionalVariant {
  std::optional<Variant> value;
  // What the current C++ API takes for "not given".
  Variant OrEmpty() const { return value.value_or(Variant()); }
};

// One parameter of a property setter; a null default makes it required.
struct SetterParam {
  const char* name;
  py::object default_value;
};

// Splits a setter call into the property's arguments (in the order of params, defaults filled
// in) followed by the value. Raises TypeError for a missing value or argument, an unknown or
// repeated keyword, or too many positional arguments.
std::vector<py::object> SetterArguments(const char* method, const std::vector<SetterParam>& params,
                                        const py::args& args, const py::kwargs& kwargs);

// The text argument of a file helper, or nullopt for a value that is neither str nor a path.
std::optional<Text> FileArgument(const py::handle& obj);

}  // namespace qel::python

namespace pybind11::detail {

template <>
struct type_caster<qel::python::OptionalVariant> {
  PYBIND11_TYPE_CASTER(qel::python::OptionalVariant, const_name("object"));
  bool load(handle src, bool) {
    if (isinstance<qel::python::OmittedType>(src)) {
      value.value.reset();
    } else {
      value.value = qel::python::ToVariant(src);
    }
    return true;
  }
  static handle cast(const qel::python::OptionalVariant&, return_value_policy, handle) = delete;
};

}  // namespace pybind11::detail

#endif  // QEL_PYTHON_ARGUMENTS_H_
