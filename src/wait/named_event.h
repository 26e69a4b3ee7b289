// Named manual-reset events shared by the whole process.
//
// An event exists while someone holds it: OpenNamedEvent creates it (not signalled) or hands
// out the existing one; it goes away with its last holder, and a later open makes a fresh,
// non-signalled one. Names are compared exactly. Set and Reset may be called from any thread;
// the descriptor stays readable from Set until Reset.
#ifndef QEL_SRC_WAIT_NAMED_EVENT_H_
#define QEL_SRC_WAIT_NAMED_EVENT_H_

#include <memory>
#include <mutex>

#include "qel/frame/text.h"
#include "wait/event_fd.h"

namespace qel::internal {

class NamedEvent {
 public:
  explicit NamedEvent(EventFd fd) : fd_(std::move(fd)) {}
  NamedEvent(const NamedEvent&) = delete;
  NamedEvent& operator=(const NamedEvent&) = delete;

  int fd() const { return fd_.fd(); }
  bool valid() const { return fd_.valid(); }
  bool Set();
  bool Reset();

 private:
  EventFd fd_;
  std::mutex mu_;
  bool set_ = false;  // guarded by mu_; the descriptor's counter is non-zero exactly when set
};

// The event of that name, created when nobody holds one. Null only when the system refuses a
// descriptor.
std::shared_ptr<NamedEvent> OpenNamedEvent(TextView name);
// The event of that name when someone holds it, else null.
std::shared_ptr<NamedEvent> FindNamedEvent(TextView name);

}  // namespace qel::internal

#endif  // QEL_SRC_WAIT_NAMED_EVENT_H_
