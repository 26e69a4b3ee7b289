#include "qel/frame/object.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace qel {
namespace {

// Handlers that change the list being raised: what was connected when the raise began runs
// unless disconnected first; what connects meanwhile waits for the next raise.
TEST(Event, HandlersChangingTheListWhileRaised) {
  Event<int> ev;
  std::vector<int> seen;
  uint64_t second = 0;
  ev.Connect([&](int v) {
    seen.push_back(v);
    if (v == 1) ev.Disconnect(second);
    if (v == 2) ev.Connect([&](int w) { seen.push_back(100 + w); });
  });
  second = ev.Connect([&](int v) { seen.push_back(10 + v); });
  ev.Raise(1);
  ev.Raise(2);
  ev.Raise(3);
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 103}));
}

// A handler that drops the last reference to the event's owner: the raise touches nothing of
// the freed event afterwards (AddressSanitizer checks this in the sanitizer build), and a
// handler disconnected with it does not run.
TEST(Event, AHandlerMayDestroyTheEvent) {
  struct Owner {
    Event<int> changed;
  };
  auto owner = std::make_unique<Owner>();
  int calls = 0;
  owner->changed.Connect([&](int) {
    ++calls;
    owner.reset();
  });
  owner->changed.Connect([&](int) { ++calls; });
  owner->changed.Raise(1);
  EXPECT_EQ(owner, nullptr);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace qel
