// Helpers shared by the fuzz targets.
#ifndef QEL_FUZZ_FUZZ_HELPERS_H_
#define QEL_FUZZ_FUZZ_HELPERS_H_

#include <cstdlib>

#include "qel/frame/error.h"
#include "qel/frame/locale.h"

namespace qel::fuzz {

// Stops the run, as a crash the fuzzer reports, when a property does not hold.
inline void Check(bool ok) {
  if (!ok) std::abort();
}

// Pins the fuzzing thread's locale to es_CL once, before the first input.
inline void UseChileanLocale() {
  static const bool done = (SetThreadLocale("es_CL.UTF-8"), true);
  (void)done;
}

// Runs body; a qel::Error it raises is an accepted outcome.
template <class F>
void Try(F&& body) {
  try {
    body();
  } catch (const Error&) {
  }
}

}  // namespace qel::fuzz

#endif  // QEL_FUZZ_FUZZ_HELPERS_H_
