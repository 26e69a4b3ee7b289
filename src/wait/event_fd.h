// EventFd: one Linux eventfd, the signalled/not-signalled flag the waits poll.
//
// Move-only owner of the descriptor; a moved-from or failed object holds -1 and every
// operation on it answers false. Signal and Consume may be called from any thread.
#ifndef QEL_SRC_WAIT_EVENT_FD_H_
#define QEL_SRC_WAIT_EVENT_FD_H_

namespace qel::internal {

class EventFd {
 public:
  // A new, non-signalled descriptor (non-blocking, close-on-exec); invalid when the system
  // refuses one.
  static EventFd Create();

  EventFd() = default;
  EventFd(EventFd&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  EventFd& operator=(EventFd&& other) noexcept;
  EventFd(const EventFd&) = delete;
  EventFd& operator=(const EventFd&) = delete;
  ~EventFd();

  bool valid() const { return fd_ >= 0; }
  int fd() const { return fd_; }

  // Makes the descriptor readable until the next Consume.
  bool Signal();
  // Clears the signal; answers whether one was there.
  bool Consume();

 private:
  explicit EventFd(int fd) : fd_(fd) {}

  int fd_ = -1;
};

}  // namespace qel::internal

#endif  // QEL_SRC_WAIT_EVENT_FD_H_
