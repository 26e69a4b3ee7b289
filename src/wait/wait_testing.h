// Helpers of the wait layer's tests.
#ifndef QEL_SRC_WAIT_WAIT_TESTING_H_
#define QEL_SRC_WAIT_WAIT_TESTING_H_

#include <chrono>
#include <functional>
#include <memory>

#include "qel/frame/log.h"
#include "qel/wait/qel_transfer.h"

namespace qel::testing {

// Milliseconds since construction.
class Stopwatch {
 public:
  int64_t ms() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start_)
        .count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Runs `body` from the calling thread's event loop shortly after the current call, through a
// QelTransfer kept alive until it fires.
inline void Later(std::function<void()> body) {
  auto transfer = std::make_shared<QelTransfer>();
  std::weak_ptr<QelTransfer> weak = transfer;
  auto keep = std::make_shared<std::shared_ptr<QelTransfer>>(transfer);
  transfer->CatchEvent.Connect([keep, body = std::move(body)]() mutable {
    auto self = std::move(*keep);  // released when the handler returns
    body();
  });
  transfer->Throw(0);
}

// The error log entries written while the object lives.
class LogCapture {
 public:
  LogCapture() {
    old_ = SetLogSink([this](const std::string& entry) { entries_ += entry + "\n"; });
  }
  ~LogCapture() { SetLogSink(old_); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  const std::string& entries() const { return entries_; }

 private:
  LogSink old_;
  std::string entries_;
};

}  // namespace qel::testing

#endif  // QEL_SRC_WAIT_WAIT_TESTING_H_
