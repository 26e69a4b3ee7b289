// _qelstd_testing: hooks for the Python tests only. Built with the tests, never installed;
// the tests import it beside the qelstd package. Errors it raises reach Python through the
// translator the qelstd module registers, so import qelstd first.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <vector>

#include "qel/frame/error.h"

namespace py = pybind11;

PYBIND11_MODULE(_qelstd_testing, m) {
  m.doc() = "Test hooks of the qelstd module (not installed).";
  m.def(
      "RaiseChainedForTesting",
      [](int32_t number, const qel::Text& source, const qel::Text& description,
         const std::vector<qel::Text>& prefixes) {
        qel::Error e(number, source, description);
        for (const auto& p : prefixes) {
          try {
            qel::RaiseChained(e, p);
          } catch (const qel::Error& outer) {
            e = outer;
          }
        }
        throw e;
      },
      "Raises an error wrapped by each prefix in turn, innermost first.");
}
