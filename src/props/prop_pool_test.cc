// The block pool behind bag properties: blocks go back to the freeing thread and are reused,
// properties outlive the thread and bag that made them, and threads that free each other's
// properties leave every value intact. Each test runs on threads of its own, so that the counts
// it reads are not those the rest of the suite left behind.
#include "props/prop_pool.h"

#include <gtest/gtest.h>
#include <sanitizer/lsan_interface.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "props/props_testing.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace {

using props::CountPool;
using props::PoolCounts;

Text Entries(int count, const Text& prefix) {
  Text text;
  for (int i = 0; i < count; ++i) {
    text += prefix + FromUtf8(std::to_string(i)) + u"=\"value of a property " +
            FromUtf8(std::to_string(i)) + u"\";";
  }
  return text;
}

void OnNewThread(const std::function<void()>& body) { std::thread(body).join(); }

TEST(PropPool, FreedPropertiesReturnToTheThreadAndAreReused) {
  OnNewThread([] {
    const Text text = Entries(1000, u"a_property_named_");
    PoolCounts loaded, freed;
    {
      QelProps bag;
      bag.LoadFromText(text);
      loaded = CountPool();
    }
    freed = CountPool();
    EXPECT_GE(freed.thread_free, loaded.thread_free + 1000);
    QelProps again;
    again.LoadFromText(text);
    const PoolCounts reloaded = CountPool();
    EXPECT_EQ(reloaded.chunks, freed.chunks);  // no new memory for the same bag
    EXPECT_LE(reloaded.thread_free + 1000, freed.thread_free);
    EXPECT_EQ(again.Value(u"a_property_named_999"), Variant(u"value of a property 999"));
  });
}

TEST(PropPool, PropertiesOutliveTheThreadThatMadeThem) {
  std::vector<QelProps::PropPtr> kept;
  OnNewThread([&] {
    QelProps bag;
    bag.LoadFromText(Entries(3000, u"n"));
    for (const auto& p : bag) kept.push_back(p);
    bag.Clear();
    // The thread keeps only part of the blocks it frees; the rest it hands over.
    bag.LoadFromText(Entries(3000, u"m"));
  });
  // The thread's exit handed its remaining blocks to the shared list.
  EXPECT_GE(CountPool().shared_free, 1000u);
  ASSERT_EQ(kept.size(), 3000u);
  for (size_t i = 0; i < kept.size(); ++i) {
    ASSERT_EQ(kept[i]->Name(), u"n" + FromUtf8(std::to_string(i)));
    ASSERT_EQ(kept[i]->Value(), Variant(u"value of a property " + FromUtf8(std::to_string(i))));
  }
  OnNewThread([&] {
    const PoolCounts start = CountPool();
    kept.clear();  // freed here, onto this thread's list
    EXPECT_GE(CountPool().thread_free, start.thread_free + 1000);
  });
}

TEST(PropPool, ThreadsFreeingEachOthersPropertiesKeepEveryValue) {
  constexpr int kRounds = 40;
  using Bags = std::vector<std::shared_ptr<QelProps>>;
  Bags made[2];
  auto make = [&](int self) {
    for (int round = 0; round < kRounds; ++round) {
      auto bag = std::make_shared<QelProps>();
      bag->LoadFromText(Entries(200 + round, u"p") + u"q=[x=1;y=[z=\"deep\"]]");
      made[self].push_back(bag);
    }
  };
  std::thread a(make, 0), b(make, 1);
  a.join();
  b.join();
  // Both threads hold every bag; each drops the other's and checks and drops its own, while
  // making new ones, so bags are freed on either thread.
  auto check_and_drop = [](Bags own, Bags other) {
    for (int round = 0; round < kRounds; ++round) {
      other[round].reset();
      QelProps fresh;
      fresh.LoadFromText(Entries(150, u"r"));
      ASSERT_EQ(fresh.Count(), 150);
      ASSERT_EQ(fresh.Value(u"r149"), Variant(u"value of a property 149"));
      const QelProps& mine = *own[round];
      ASSERT_EQ(mine.Count(), 201 + round);
      const auto q = mine.Item(u"q")->Props();
      ASSERT_NE(q, nullptr);
      ASSERT_EQ(testing::Dump(*q), "x(3)=1|y(9)=[z(8)=deep]");
      const Text last = FromUtf8(std::to_string(199 + round));
      ASSERT_EQ(mine.Value(u"p" + last), Variant(u"value of a property " + last));
      own[round].reset();
    }
  };
  std::thread c(check_and_drop, made[0], made[1]), d(check_and_drop, made[1], made[0]);
  made[0].clear();
  made[1].clear();
  c.join();
  d.join();
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_TEST_LEAKS 1
#endif
#endif

// Properties live in pool memory, outside malloc's heap; what their values point to (texts,
// nested bags) is still reachable for the leak checker.
TEST(PropPool, WhatLivePropertiesHoldIsNotLeaked) {
#ifdef QEL_TEST_LEAKS
  OnNewThread([] {
    QelProps bag;
    bag.LoadFromText(Entries(50, u"a_name_that_needs_a_buffer_") + u"q=[another_long_name=1]");
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
    EXPECT_EQ(bag.Count(), 51);
  });
#else
  GTEST_SKIP() << "needs LeakSanitizer";
#endif
}

// A property and its name share one block, of a size that follows the name's length; past the
// largest block it comes from operator new. An object larger than a block gets its memory from
// operator new too.
TEST(PropPool, BlocksFollowTheNameLengthAndLargerOnesBypassThePool) {
  struct Big {
    char bytes[props::kPoolMaxBlock * 2] = {};
  };
  OnNewThread([] {
    std::vector<std::weak_ptr<Object>> selves;
    {
      QelProps bag;
      for (int n = 1; n <= 300; ++n) bag.SetValue(Text(static_cast<size_t>(n), u'x'), n);
      for (int n = 1; n <= 300; ++n) {
        const Text name(static_cast<size_t>(n), u'X');
        const auto p = bag.Item(name);
        ASSERT_NE(p, nullptr) << n;
        ASSERT_EQ(p->Name().size(), static_cast<size_t>(n));
        ASSERT_EQ(p->Value(), Variant(n));
        selves.push_back(p->Self());  // weak references outlive the property
      }
      const auto alone = QelProp::Create(u" " + Text(400, u'y') + u"  ");
      EXPECT_EQ(alone->Name(), Text(400, u'y'));
      EXPECT_EQ(alone->Self(), alone);
    }
    for (const auto& self : selves) EXPECT_TRUE(self.expired());
    auto first = std::allocate_shared<QelProps>(props::PoolAllocator<QelProps>());
    const PoolCounts start = CountPool();
    auto big = std::allocate_shared<Big>(props::PoolAllocator<Big>());
    big->bytes[sizeof big->bytes - 1] = 1;
    EXPECT_EQ(CountPool().thread_free, start.thread_free);
    big.reset();
    EXPECT_EQ(CountPool().thread_free, start.thread_free);
  });
}

}  // namespace
}  // namespace qel
