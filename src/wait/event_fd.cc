#include "wait/event_fd.h"

#include <errno.h>
#include <stdint.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace qel::internal {

EventFd EventFd::Create() { return EventFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)); }

EventFd& EventFd::operator=(EventFd&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) close(fd_);
    fd_ = other.fd_;
    other.fd_ = -1;
  }
  return *this;
}

EventFd::~EventFd() {
  if (fd_ >= 0) close(fd_);
}

bool EventFd::Signal() {
  if (fd_ < 0) return false;
  const uint64_t one = 1;
  for (;;) {
    if (write(fd_, &one, sizeof one) == sizeof one) return true;
    // The counter saturates only after 2^64 - 2 signals nobody consumed: it is signalled.
    if (errno == EAGAIN) return true;
    if (errno != EINTR) return false;
  }
}

bool EventFd::Consume() {
  if (fd_ < 0) return false;
  uint64_t count = 0;
  for (;;) {
    if (read(fd_, &count, sizeof count) == sizeof count) return true;
    if (errno != EINTR) return false;
  }
}

}  // namespace qel::internal
