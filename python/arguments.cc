#include "arguments.h"

#include <string>

namespace qel::python {

std::vector<py::object> SetterArguments(const char* method, const std::vector<SetterParam>& params,
                                        const py::args& args, const py::kwargs& kwargs) {
  const std::string where = std::string(method) + "(): ";
  std::vector<py::object> out(params.size() + 1);
  size_t positional = args.size();
  if (kwargs.contains("value")) {
    out.back() = kwargs["value"];
  } else if (positional > 0) {
    out.back() = args[--positional];
  } else {
    throw py::type_error(where + "missing the value to assign");
  }
  if (positional > params.size()) throw py::type_error(where + "too many positional arguments");
  for (size_t i = 0; i < positional; ++i) out[i] = args[i];
  for (auto item : kwargs) {
    const std::string key = py::str(item.first);
    if (key == "value") continue;
    size_t i = 0;
    while (i < params.size() && key != params[i].name) ++i;
    if (i == params.size())
      throw py::type_error(where + "unexpected keyword argument '" + key + "'");
    if (out[i]) throw py::type_error(where + "argument '" + key + "' given twice");
    out[i] = py::reinterpret_borrow<py::object>(item.second);
  }
  for (size_t i = 0; i < params.size(); ++i) {
    if (out[i]) continue;
    if (!params[i].default_value) {
      throw py::type_error(where + "missing argument '" + params[i].name + "'");
    }
    out[i] = params[i].default_value;
  }
  return out;
}

std::optional<Text> FileArgument(const py::handle& obj) {
  if (py::isinstance<py::str>(obj)) return obj.cast<Text>();
  // Leaked on purpose: a static py::object would be released after the interpreter is gone.
  static const py::handle path_like =
      py::object(py::module_::import("os").attr("PathLike")).release();
  if (!py::isinstance(obj, path_like)) return std::nullopt;
  const py::object name = py::module_::import("os").attr("fsdecode")(obj);
  if (!py::isinstance<py::str>(name)) return std::nullopt;
  return name.cast<Text>();
}

}  // namespace qel::python
