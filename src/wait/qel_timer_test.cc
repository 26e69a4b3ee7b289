#include "qel/wait/qel_timer.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "frame/testing.h"
#include "qel/frame/error.h"
#include "qel/wait/qel_transfer.h"
#include "qel/wait/qel_waiter.h"
#include "qel/wait/thread_events.h"
#include "wait/wait_testing.h"

namespace qel {
namespace {

using testing::Catch;
using testing::Describe;
using testing::LogCapture;
using testing::Stopwatch;

constexpr int64_t kPromptlyMs = 2000;

// Waits on the calling thread for `ms`, dispatching its loop; the time-out is the expected end.
void Pump(int32_t ms) {
  auto w = std::make_shared<QelWaiter>();
  Catch([&] { w->WaitForEvent(u"pump", ms); });
}

TEST(QelTimerTest, FiresPeriodicallyInsideAWaitUntilCancelled) {
  auto timer = std::make_shared<QelTimer>();
  auto w = std::make_shared<QelWaiter>();
  int ticks = 0;
  timer->ExecuteEvent.Connect([&] {
    if (++ticks == 3) w->CancelWait(ticks);
  });
  timer->Execute(10);
  EXPECT_TRUE(timer->Enabled());
  EXPECT_EQ(w->WaitForEvent(u"", 5000).Get<int32_t>(), 3);
  EXPECT_TRUE(timer->Enabled());  // the tick does not stop it
  timer->Cancel();
  EXPECT_FALSE(timer->Enabled());
  Pump(60);
  EXPECT_EQ(ticks, 3);
  timer->Cancel();  // idempotent
}

TEST(QelTimerTest, KeepsTickingWhileItsOwnHandlerWaits) {
  auto timer = std::make_shared<QelTimer>();
  auto w = std::make_shared<QelWaiter>();
  int ticks = 0;
  Variant inner;
  timer->ExecuteEvent.Connect([&] {
    ++ticks;
    if (ticks == 1) inner = w->WaitForEvent(u"inside the handler", 5000);
    if (ticks == 3) w->CancelWait(ticks);
  });
  timer->Execute(5);
  Pump(300);
  timer->Cancel();
  EXPECT_EQ(inner, Variant(3));
}

TEST(QelTimerTest, ExecuteWithZeroOrLessStopsAndRaisesNothing) {
  for (int32_t stop : {0, -5}) {
    auto timer = std::make_shared<QelTimer>();
    int ticks = 0;
    timer->ExecuteEvent.Connect([&] { ++ticks; });
    timer->Execute(10);
    timer->Execute(stop);
    EXPECT_FALSE(timer->Enabled());
    Pump(80);
    EXPECT_EQ(ticks, 0);
  }
}

TEST(QelTimerTest, ExecuteTwiceLeavesOneTimerWithTheSecondPeriod) {
  auto timer = std::make_shared<QelTimer>();
  int ticks = 0;
  timer->ExecuteEvent.Connect([&] { ++ticks; });
  timer->Execute(10);
  timer->Execute(100000);
  Pump(100);
  EXPECT_EQ(ticks, 0);  // the 10 ms timer is gone
  timer->Execute(100000);
  timer->Execute(10);
  Pump(100);
  EXPECT_GT(ticks, 0);
}

TEST(QelTimerTest, HandlerErrorsAreLoggedAndSwallowed) {
  auto timer = std::make_shared<QelTimer>();
  auto w = std::make_shared<QelWaiter>();
  int ticks = 0;
  timer->ExecuteEvent.Connect([&] {
    ++ticks;
    if (ticks == 1) RaiseError(1234, u"Manejador", u"falló el manejador");
    if (ticks == 2) throw std::runtime_error("std failure");
    w->CancelWait(ticks);
  });
  LogCapture log;
  timer->Execute(5);
  EXPECT_EQ(w->WaitForEvent(u"", 5000).Get<int32_t>(), 3);
  EXPECT_NE(log.entries().find("Source: QelTimer.RaiseExecute:Manejador"), std::string::npos);
  EXPECT_NE(log.entries().find("falló el manejador"), std::string::npos);
  EXPECT_NE(log.entries().find("std failure"), std::string::npos);
}

TEST(QelTimerTest, AHandlerMayDestroyItsTimer) {
  auto timer = std::make_shared<QelTimer>();
  int ticks = 0;
  timer->ExecuteEvent.Connect([&] {
    ++ticks;
    timer.reset();
  });
  timer->Execute(5);
  Pump(100);
  EXPECT_EQ(timer, nullptr);
  EXPECT_EQ(ticks, 1);
}

TEST(QelTimerTest, FiresInTheApplicationsOwnLoopWithNoWait) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  auto timer = std::make_shared<QelTimer>();
  auto transfer = std::make_shared<QelTransfer>();
  int ticks = 0;
  bool caught = false;
  timer->ExecuteEvent.Connect([&] {
    if (++ticks == 3) g_main_loop_quit(loop);
  });
  transfer->CatchEvent.Connect([&] { caught = true; });
  timer->Execute(10);
  transfer->Throw(0);
  // A guard so that a broken timer fails the test instead of hanging it.
  const guint guard = g_timeout_add(
      kPromptlyMs,
      [](gpointer l) {
        g_main_loop_quit(static_cast<GMainLoop*>(l));
        return G_SOURCE_REMOVE;
      },
      loop);
  g_main_loop_run(loop);
  g_source_remove(guard);
  g_main_loop_unref(loop);
  EXPECT_EQ(ticks, 3);
  EXPECT_TRUE(caught);
}

TEST(QelTimerTest, TimersOfAThreadThatEndedAreStoppedAndCanBeDestroyedElsewhere) {
  std::shared_ptr<QelTimer> timer;
  std::shared_ptr<QelTransfer> transfer;
  std::thread owner([&] {
    timer = std::make_shared<QelTimer>();
    timer->Execute(5);
    transfer = std::make_shared<QelTransfer>();
    transfer->Throw(0);
  });
  owner.join();
  EXPECT_FALSE(timer->Enabled());
  timer->Cancel();
  timer.reset();
  transfer.reset();
}

TEST(QelTransferTest, CatchIsRaisedOnceAfterThrow) {
  auto transfer = std::make_shared<QelTransfer>();
  int catches = 0;
  transfer->CatchEvent.Connect([&] { ++catches; });
  for (int32_t hwnd : {0, ThreadWindow()}) {
    catches = 0;
    transfer->Throw(hwnd);
    EXPECT_EQ(catches, 0);  // not from inside Throw
    Pump(60);
    EXPECT_EQ(catches, 1);
  }
  catches = 0;
  transfer->Throw(0);
  transfer->Throw(0);  // re-arms the one pending hand-over
  Pump(60);
  EXPECT_EQ(catches, 1);
}

TEST(QelTransferTest, ThrowChecksTheWindowHandle) {
  auto transfer = std::make_shared<QelTransfer>();
  int32_t other_window = 0;
  int32_t ended_window = 0;
  bool stop = false;
  std::mutex mu;
  std::condition_variable cv;
  std::thread other([&] {
    std::unique_lock lock(mu);
    other_window = ThreadWindow();
    cv.notify_all();
    cv.wait(lock, [&] { return stop; });
  });
  std::thread ended([&] { ended_window = ThreadWindow(); });
  ended.join();
  {
    std::unique_lock lock(mu);
    cv.wait(lock, [&] { return other_window != 0; });
  }
  EXPECT_NE(other_window, ThreadWindow());
  EXPECT_EQ(ThreadWindow(), ThreadWindow());
  const std::string invalid = "-2147467259|QelTransfer.Throw|Handle de ventana inválido";
  EXPECT_EQ(Describe(Catch([&] { transfer->Throw(0x7FFFFFF0); })), invalid);
  EXPECT_EQ(Describe(Catch([&] { transfer->Throw(-1); })), invalid);
  EXPECT_EQ(Describe(Catch([&] { transfer->Throw(ended_window); })), invalid);
  EXPECT_EQ(Describe(Catch([&] { transfer->Throw(other_window); })),
            "-2147467259|QelTransfer.Throw|Handle de ventana no pertenece a la hebra");
  {
    std::lock_guard lock(mu);
    stop = true;
  }
  cv.notify_all();
  other.join();
}

TEST(QelTransferTest, AHandlerMayDestroyTheTransferAndErrorsAreSwallowed) {
  auto transfer = std::make_shared<QelTransfer>();
  int catches = 0;
  transfer->CatchEvent.Connect([&] {
    ++catches;
    transfer.reset();
    RaiseError(E_FAIL, u"Catch", u"error en Catch");
  });
  LogCapture log;
  transfer->Throw(0);
  Pump(60);
  EXPECT_EQ(catches, 1);
  EXPECT_EQ(transfer, nullptr);
  EXPECT_NE(log.entries().find("QelTransfer.RaiseCatch:Catch"), std::string::npos);
}

TEST(WaitClassesTest, AreCreatableByNameAndConnectEventsByName) {
  for (const char16_t* name : {u"QelWaiter", u"qeltimer", u"QelTransfer"}) {
    ObjectPtr o = CreateObject(name);
    ASSERT_NE(o, nullptr);
    EXPECT_TRUE(EqualsNoCase(o->ClassName(), name));
  }
  auto timer = std::make_shared<QelTimer>();
  auto w = std::make_shared<QelWaiter>();
  const uint64_t h = timer->ConnectEvent(u"execute", [&](std::span<Variant> args) {
    EXPECT_TRUE(args.empty());
    w->CancelWait(u"late-bound");
  });
  timer->Execute(5);
  EXPECT_EQ(w->WaitForEvent(u"", 5000).Get<Text>(), u"late-bound");
  EXPECT_TRUE(timer->DisconnectEvent(h));
  EXPECT_EQ(Catch([&] { timer->ConnectEvent(u"Catch", nullptr); }).Number(), kErrNoSuchMember);
  auto transfer = std::make_shared<QelTransfer>();
  EXPECT_EQ(Catch([&] { transfer->ConnectEvent(u"Execute", nullptr); }).Number(), kErrNoSuchMember);
}

}  // namespace
}  // namespace qel
