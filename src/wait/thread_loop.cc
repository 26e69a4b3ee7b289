#include "wait/thread_loop.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <functional>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "wait/thread_loop_testing.h"

namespace qel::internal {
namespace {

// Handles are small integers issued in order; the map holds one entry per live thread that
// asked for one, so its size is bounded by the number of threads.
struct WindowRegistry {
  std::mutex mu;
  int32_t last = 0;
  std::unordered_map<int32_t, uint32_t> thread_of;  // handle -> thread id
};

WindowRegistry& Windows() {
  static auto* registry = new WindowRegistry;  // outlives every thread's exit
  return *registry;
}

// What the library keeps for one thread; released when the thread ends.
struct ThreadState {
  GMainContext* own_context = nullptr;
  int32_t window = 0;
  std::function<uint32_t()> tick_source;
  bool fail_event_creation = false;

  ThreadState() = default;
  ThreadState(const ThreadState&) = delete;
  ThreadState& operator=(const ThreadState&) = delete;
  ~ThreadState() {
    if (window != 0) {
      WindowRegistry& r = Windows();
      std::lock_guard lock(r.mu);
      r.thread_of.erase(window);
    }
    // Destroys the sources still attached; their owners see them as stopped.
    if (own_context != nullptr) g_main_context_unref(own_context);
  }
};

thread_local ThreadState t_state;

}  // namespace

GMainContext* ThreadContext() {
  if (GMainContext* pushed = g_main_context_get_thread_default()) return pushed;
  if (CurrentThreadId() == static_cast<uint32_t>(getpid())) return g_main_context_default();
  if (t_state.own_context == nullptr) t_state.own_context = g_main_context_new();
  return t_state.own_context;
}

uint32_t CurrentThreadId() { return static_cast<uint32_t>(syscall(SYS_gettid)); }

Text ThreadStopEventName(uint32_t thread_id) {
  static constexpr char16_t kHex[] = u"0123456789ABCDEF";
  Text digits;
  do {
    digits.insert(digits.begin(), kHex[thread_id & 0xF]);
    thread_id >>= 4;
  } while (thread_id != 0);
  return u"QELTHREADSTOP" + digits;
}

int32_t CurrentThreadWindow() {
  if (t_state.window == 0) {
    WindowRegistry& r = Windows();
    std::lock_guard lock(r.mu);
    t_state.window = ++r.last;
    r.thread_of.emplace(t_state.window, CurrentThreadId());
  }
  return t_state.window;
}

WindowOwner OwnerOfWindow(int32_t hwnd) {
  if (hwnd == 0 || hwnd == t_state.window) return WindowOwner::kCallingThread;
  WindowRegistry& r = Windows();
  std::lock_guard lock(r.mu);
  auto it = r.thread_of.find(hwnd);
  if (it == r.thread_of.end()) return WindowOwner::kUnknown;
  return it->second == CurrentThreadId() ? WindowOwner::kCallingThread : WindowOwner::kOtherThread;
}

uint32_t TickCount() {
  if (t_state.tick_source) return t_state.tick_source();
  return static_cast<uint32_t>(g_get_monotonic_time() / 1000);
}

void ForTestingSetTickSource(std::function<uint32_t()> source) {
  t_state.tick_source = std::move(source);
}

void ForTestingFailEventCreation(bool fail) { t_state.fail_event_creation = fail; }

bool EventCreationFailsForTesting() { return t_state.fail_event_creation; }

}  // namespace qel::internal
