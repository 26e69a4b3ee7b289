#include "qel/wait/qel_waiter.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "frame/testing.h"
#include "qel/frame/error.h"
#include "qel/frame/object.h"
#include "qel/wait/thread_events.h"
#include "wait/thread_loop_testing.h"
#include "wait/wait_testing.h"

namespace qel {
namespace {

using testing::Catch;
using testing::Describe;
using testing::Later;
using testing::Stopwatch;

// Generous bound for "at once" and for a wait that ends by a cancel: far above any slice,
// far below a hang.
constexpr int64_t kPromptlyMs = 2000;

std::string StopEventName() {
  char name[40];
  std::snprintf(name, sizeof name, "QELTHREADSTOP%lX", static_cast<long>(syscall(SYS_gettid)));
  return name;
}

TEST(QelWaiterTest, ReturnsTheDataCancelWaitGaveFromAHandler) {
  const Variant cases[] = {Variant(42), Variant(u"texto"), Variant(2.5), Variant::Null()};
  auto w = std::make_shared<QelWaiter>();
  for (const Variant& data : cases) {
    bool waiting_inside = false;
    Later([&] {
      waiting_inside = w->IsWaiting();
      w->CancelWait(data);
    });
    const Variant got = w->WaitForEvent(u"test");
    EXPECT_TRUE(got == data);
    EXPECT_TRUE(waiting_inside);
    EXPECT_FALSE(w->IsWaiting());
  }
}

TEST(QelWaiterTest, CancelWaitWithoutDataReturnsNullAndAnObjectComesBackItself) {
  auto w = std::make_shared<QelWaiter>();
  Later([&] { w->CancelWait(); });
  EXPECT_TRUE(w->WaitForEvent(u"").IsNull());

  auto payload = std::make_shared<QelWaiter>();
  Later([&] { w->CancelWait(Variant(payload)); });
  const Variant got = w->WaitForEvent(u"");
  ASSERT_TRUE(got.IsObject());
  EXPECT_EQ(got.Get<ObjectPtr>().get(), payload.get());
}

TEST(QelWaiterTest, TimeoutRaisesAfterItsTime) {
  struct Case {
    std::u16string timeout_error;
    std::string expected;
  } cases[] = {
      {u"", "-2147467259|QelWaiter.WaitForEvent:TimeoutExpired|Tiempo de espera ha expirado"},
      {u"Sin respuesta del host",
       "-2147467259|QelWaiter.WaitForEvent:TimeoutExpired|Sin respuesta del host"},
  };
  auto w = std::make_shared<QelWaiter>();
  for (const Case& c : cases) {
    Stopwatch clock;
    EXPECT_EQ(Describe(Catch([&] { w->WaitForEvent(u"", 120, c.timeout_error); })), c.expected);
    EXPECT_GE(clock.ms(), 110);
    EXPECT_LT(clock.ms(), kPromptlyMs);
    EXPECT_FALSE(w->IsWaiting());
  }
}

TEST(QelWaiterTest, CancelWithErrorRaisesItFromTheWait) {
  struct Case {
    int32_t number;
    std::u16string source, description;
    std::string expected;
  } cases[] = {
      {0, u"", u"", "-2147467259|QelWaiter.WaitForEvent|"},
      {0, u"   ", u"  ", "-2147467259|QelWaiter.WaitForEvent|"},
      {1234, u" Host.Reply ", u" sin datos ", "1234|Host.Reply|sin datos"},
      {E_INVALIDARG, u"X", u"", "-2147024809|X|"},
  };
  auto w = std::make_shared<QelWaiter>();
  for (const Case& c : cases) {
    Later([&] { w->CancelWithError(c.number, c.source, c.description); });
    EXPECT_EQ(Describe(Catch([&] { w->WaitForEvent(u""); })), c.expected);
    EXPECT_FALSE(w->IsWaiting());
  }
  // The stored error does not outlive its wait.
  Later([&] { w->CancelWait(7); });
  EXPECT_EQ(w->WaitForEvent(u"").Get<int32_t>(), 7);
}

TEST(QelWaiterTest, PendingCancelEndsTheNextWaitAtOnceUnlessResumed) {
  auto w = std::make_shared<QelWaiter>();
  w->CancelWait(99);
  Stopwatch clock;
  EXPECT_TRUE(w->WaitForEvent(u"", 10000).IsNull());  // step 3 clears the data
  EXPECT_LT(clock.ms(), kPromptlyMs);

  w->CancelWait(99);
  w->ResumeWait();
  EXPECT_EQ(Catch([&] { w->WaitForEvent(u"", 60); }).Source(),
            u"QelWaiter.WaitForEvent:TimeoutExpired");

  // A pending error is discarded the same way.
  w->CancelWithError(5, u"S", u"D");
  w->ResumeWait();
  Later([&] { w->CancelWait(1); });
  EXPECT_EQ(w->WaitForEvent(u"").Get<int32_t>(), 1);
}

TEST(QelWaiterTest, NestedWaitRaisesAlreadyWaitingAndLeavesTheWaiterIdle) {
  auto w = std::make_shared<QelWaiter>();
  std::string inner;
  bool waiting_after = true;
  Later([&] {
    inner = Describe(Catch([&] { w->WaitForEvent(u"nested"); }));
    waiting_after = w->IsWaiting();
    w->CancelWait(3);
  });
  const std::string outer = Describe(Catch([&] { w->WaitForEvent(u"outer"); }));
  const std::string already =
      "-2147467259|QelWaiter.WaitForEvent:AlreadyWaiting|La operación de espera ya está activa";
  EXPECT_EQ(inner, already);
  EXPECT_FALSE(waiting_after);
  // The failure was stored like a cancel with that error: the outer wait delivers it.
  EXPECT_EQ(outer, already);
}

TEST(QelWaiterTest, StopEventEndsEveryWaitOfTheThreadUntilReset) {
  auto w = std::make_shared<QelWaiter>();
  auto other = std::make_shared<QelWaiter>();  // the same thread shares one stop event
  const std::string name = StopEventName();
  const std::string terminated =
      "-2147467259|QelWaiter.WaitForEvent:ThreadTerminate|Se canceló la espera por término de "
      "sesión";

  std::thread setter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_TRUE(SetNamedEvent(FromUtf8(name)));
  });
  Stopwatch clock;
  EXPECT_EQ(Describe(Catch([&] { w->WaitForEvent(u""); })), terminated);
  EXPECT_LT(clock.ms(), kPromptlyMs);
  setter.join();

  EXPECT_EQ(Describe(Catch([&] { other->WaitForEvent(u"", 5000); })), terminated);
  other->CancelWait(8);  // the stop wins over nothing: a cancel pending stays for later
  EXPECT_TRUE(ResetNamedEvent(FromUtf8(name)));
  EXPECT_TRUE(other->WaitForEvent(u"").IsNull());
}

TEST(QelWaiterTest, CancelFromAnotherThreadEndsTheWait) {
  auto w = std::make_shared<QelWaiter>();
  std::thread canceller([&] {
    while (!w->IsWaiting()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    w->CancelWait(u"desde otra hebra");
  });
  Stopwatch clock;
  EXPECT_EQ(w->WaitForEvent(u"").Get<Text>(), u"desde otra hebra");
  EXPECT_LT(clock.ms(), kPromptlyMs);
  canceller.join();

  std::thread failer([&] {
    while (!w->IsWaiting()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    w->CancelWithError(77, u"Otra", u"hebra");
  });
  EXPECT_EQ(Describe(Catch([&] { w->WaitForEvent(u""); })), "77|Otra|hebra");
  failer.join();
}

TEST(QelWaiterTest, WaitsOnAWorkerThreadWithItsOwnLoop) {
  std::string result;
  std::thread worker([&] {
    auto w = std::make_shared<QelWaiter>();
    Later([&] { w->CancelWait(u"hecho"); });
    result = ToUtf8(w->WaitForEvent(u"").Get<Text>());
  });
  worker.join();
  EXPECT_EQ(result, "hecho");
}

TEST(QelWaiterTest, DispatchesTheApplicationsOwnSources) {
  auto w = std::make_shared<QelWaiter>();
  GSource* source = g_timeout_source_new(5);
  g_source_set_callback(
      source,
      [](gpointer data) -> gboolean {
        static_cast<QelWaiter*>(data)->CancelWait(u"glib");
        return G_SOURCE_REMOVE;
      },
      w.get(), nullptr);
  g_source_attach(source, g_main_context_default());
  g_source_unref(source);
  EXPECT_EQ(w->WaitForEvent(u"").Get<Text>(), u"glib");
}

TEST(QelWaiterTest, AHandlerMayReleaseTheLastReferenceToTheWaiter) {
  auto w = std::make_shared<QelWaiter>();
  QelWaiter* raw = w.get();
  Later([&] {
    w->CancelWait(4);
    w.reset();
  });
  EXPECT_EQ(raw->WaitForEvent(u"").Get<int32_t>(), 4);
  EXPECT_EQ(w, nullptr);
}

TEST(QelWaiterTest, AWrapOfTheTickCounterCountsAsTwentyFiveMilliseconds) {
  // Each reading advances 40 ms; the second one has wrapped past 2^32.
  uint32_t tick = 0xFFFFFFE0u;
  int readings = 0;
  internal::ForTestingSetTickSource([&] {
    ++readings;
    const uint32_t now = tick;
    tick += 40;
    return now;
  });
  auto w = std::make_shared<QelWaiter>();
  // 100 ms: -25 (wrap), -40, -40 leaves -5 at the fourth reading.
  EXPECT_EQ(Catch([&] { w->WaitForEvent(u"", 100); }).Source(),
            u"QelWaiter.WaitForEvent:TimeoutExpired");
  internal::ForTestingSetTickSource(nullptr);
  EXPECT_EQ(readings, 4);
}

TEST(QelWaiterTest, WaitFailsWhenTheEventsCouldNotBeCreated) {
  internal::ForTestingFailEventCreation(true);
  auto w = std::make_shared<QelWaiter>();
  internal::ForTestingFailEventCreation(false);
  EXPECT_EQ(Describe(Catch([&] { w->WaitForEvent(u""); })),
            "-2147467259|QelWaiter.WaitForEvent:CreateEvent|No se pudo crear objetos de evento");
  EXPECT_FALSE(w->IsWaiting());
  EXPECT_EQ(Describe(Catch([&] { w->CancelWait(1); })),
            "-2147467259|QelWaiter.CancelWait|No se pudo cancelar la espera");
  EXPECT_EQ(Describe(Catch([&] { w->CancelWithError(); })),
            "-2147467259|QelWaiter.CancelWithError|No se pudo cancelar la espera");
  EXPECT_EQ(Describe(Catch([&] { w->ResumeWait(); })),
            "-2147467259|QelWaiter.ResumeWait|No se pudo reactivar la espera");
}

TEST(NamedEventTest, OnlyEventsSomeoneHoldsCanBeSetOrReset) {
  EXPECT_FALSE(SetNamedEvent(u"QELNOBODYHOLDSTHIS"));
  EXPECT_FALSE(ResetNamedEvent(u"QELNOBODYHOLDSTHIS"));
  // The stop event of this thread exists while a waiter of the thread does.
  const Text name = FromUtf8(StopEventName());
  {
    auto w = std::make_shared<QelWaiter>();
    EXPECT_TRUE(SetNamedEvent(name));
    EXPECT_TRUE(ResetNamedEvent(name));
  }
  EXPECT_FALSE(SetNamedEvent(name));
  // Names are exact: the lower-case spelling is another name.
  auto w = std::make_shared<QelWaiter>();
  Text lower = name;
  for (auto& c : lower) c = (c >= u'A' && c <= u'Z') ? c + 32 : c;
  EXPECT_FALSE(SetNamedEvent(lower));
}

TEST(NamedEventTest, AHugeNameIsLookedUpInLinearTimeAndNotKept) {
  const Text huge(1 << 22, u'Q');
  Stopwatch clock;
  for (int i = 0; i < 8; ++i) EXPECT_FALSE(SetNamedEvent(huge));
  EXPECT_LT(clock.ms(), kPromptlyMs);
}

}  // namespace
}  // namespace qel
