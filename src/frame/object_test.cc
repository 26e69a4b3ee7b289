#include "qel/frame/object.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "frame/testing.h"

namespace qel {
namespace {

using testing::Catch;

// Handlers that change the list being raised: what was connected when the raise began runs
// unless disconnected first (by another handler or by itself); what connects meanwhile waits
// for the next raise.
TEST(Event, HandlersChangingTheListWhileRaised) {
  Event<int> ev;
  std::vector<int> seen;
  uint64_t second = 0, once = 0;
  const uint64_t first = ev.Connect([&](int v) {
    seen.push_back(v);
    if (v == 1) EXPECT_TRUE(ev.Disconnect(second));
    if (v == 2) ev.Connect([&](int w) { seen.push_back(100 + w); });
  });
  second = ev.Connect([&](int v) { seen.push_back(10 + v); });
  once = ev.Connect([&](int v) {
    seen.push_back(20 + v);
    ev.Disconnect(once);
  });
  ev.Raise(1);
  ev.Raise(2);
  ev.Raise(3);
  EXPECT_EQ(seen, (std::vector<int>{1, 21, 2, 3, 103}));
  EXPECT_TRUE(ev.Disconnect(first));
  EXPECT_FALSE(ev.Disconnect(first));
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

class Probe final : public Object {
 public:
  TextView ClassName() const override { return u"Probe"; }
};

TEST(ObjectModel, SelfSharesTheObject) {
  auto p = std::make_shared<Probe>();
  ObjectPtr self = p->Self();
  EXPECT_EQ(self.get(), p.get());
  EXPECT_EQ(p.use_count(), 2);
  EXPECT_EQ(p->GetInterfaceSafetyOptions(), 0);
  EXPECT_EQ(p->SetInterfaceSafetyOptions(), 0);
  EXPECT_EQ(Catch([&] { p->ConnectEvent(u"Nada", nullptr); }).Number(), kErrNoSuchMember);
}

TEST(ObjectModel, CreateObjectByName) {
  ObjectPtr loc = CreateObject(u"qellocale");
  ASSERT_TRUE(loc);
  EXPECT_EQ(ToUtf8(loc->ClassName()), "QelLocale");
  EXPECT_EQ(Catch([] { CreateObject(u"NoSuchClass"); }).Number(), kErrCannotCreate);
}

}  // namespace
}  // namespace qel
