// Test helpers shared by the suites of every subsystem.
#ifndef QEL_SRC_FRAME_TESTING_H_
#define QEL_SRC_FRAME_TESTING_H_

#include <gtest/gtest.h>

#include <stdlib.h>
#include <time.h>

#include <filesystem>
#include <functional>
#include <string>

#include "qel/frame/error.h"
#include "qel/frame/locale.h"

namespace qel {

// Literals written in UTF-8 source as library text: T("año"). Test code only.
inline Text T(std::string_view utf8) { return FromUtf8(utf8); }

}  // namespace qel

namespace qel::testing {

// Pins the calling thread's locale for the life of the object.
class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) : saved_(ThreadLocale().name) { SetThreadLocale(name); }
  ~ScopedLocale() {
    try {
      SetThreadLocale(saved_);
    } catch (const Error&) {
      SetThreadLocale("C");
    }
  }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

 private:
  std::string saved_;
};

// A fresh directory under /tmp, removed with all it holds when the object goes.
class TempDir {
 public:
  TempDir() {
    char tmpl[] = "/tmp/qel_test_XXXXXX";
    if (mkdtemp(tmpl) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    path_ = tmpl;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// The error `body` raises, or a failed expectation and an error numbered 0.
inline Error Catch(const std::function<void()>& body) {
  try {
    body();
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no qel::Error was raised";
  return Error(0, u"", u"");
}

// "number|source|description" in UTF-8, to assert an error on one line.
inline std::string Describe(const Error& e) {
  return std::to_string(e.Number()) + "|" + ToUtf8(e.Source()) + "|" + ToUtf8(e.Description());
}

inline std::string ErrorOf(const std::function<void()>& body) { return Describe(Catch(body)); }

// CPU seconds the calling thread has used: for tests that compare the cost of two inputs
// (linear against quadratic growth), which wall time on a loaded machine would blur.
inline double ThreadCpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

}  // namespace qel::testing

#endif  // QEL_SRC_FRAME_TESTING_H_
