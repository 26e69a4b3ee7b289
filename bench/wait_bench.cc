// The wait layer beside a bare GLib main loop doing the same in the same run.
//
// Workloads (each reports median_us and p99_us of its samples as counters):
//   WakeFromHandler/{Qel,Glib}   a 1 ms hand-over's handler ends the wait: CancelWait (Qel) or
//                                g_main_loop_quit (Glib); from the call to the wait's return
//   WakeFromThread/{Qel,Glib}    another thread ends a wait the main thread sleeps in: CancelWait
//                                (Qel) or a write to an eventfd the loop watches (Glib)
//   WakeFromStopEvent/Qel        another thread sets the waiting thread's stop event
//   IdleCpu/{Qel,Glib}           CPU time of the thread during an idle wait of kIdleSeconds, in
//                                percent of one core (counter cpu_pct)
//   TickJitter/{Qel,Glib}        a 10 ms periodic timer over kIdleSeconds: |interval - 10 ms|,
//                                counters median_us, p99_us, max_us and ticks
// QEL_WAIT_BENCH_SECONDS shortens the long workloads for a quick check (default 10).
#include <benchmark/benchmark.h>
#include <glib-unix.h>
#include <glib.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <semaphore>
#include <thread>
#include <vector>

#include "qel/frame/error.h"
#include "qel/wait/qel_timer.h"
#include "qel/wait/qel_transfer.h"
#include "qel/wait/qel_waiter.h"
#include "qel/wait/thread_events.h"

namespace {

using Clock = std::chrono::steady_clock;

// Lets the waiting thread reach its poll before another thread wakes it.
constexpr auto kSettle = std::chrono::microseconds(300);

int IdleSeconds() {
  const char* s = std::getenv("QEL_WAIT_BENCH_SECONDS");
  return s != nullptr && std::atoi(s) > 0 ? std::atoi(s) : 10;
}

double Us(Clock::duration d) { return std::chrono::duration<double, std::micro>(d).count(); }

void Report(benchmark::State& state, std::vector<double> samples_us) {
  if (samples_us.empty()) return;
  std::sort(samples_us.begin(), samples_us.end());
  state.counters["median_us"] = samples_us[samples_us.size() / 2];
  state.counters["p99_us"] = samples_us[samples_us.size() * 99 / 100];
  state.counters["max_us"] = samples_us.back();
}

// ---- wake-up from a handler ----------------------------------------------------------------

void BM_WakeFromHandler_Qel(benchmark::State& state) {
  auto w = std::make_shared<qel::QelWaiter>();
  auto t = std::make_shared<qel::QelTransfer>();
  Clock::time_point t0;
  t->CatchEvent.Connect([&] {
    t0 = Clock::now();
    w->CancelWait();
  });
  std::vector<double> samples;
  for (auto _ : state) {
    t->Throw(0);
    w->WaitForEvent(u"bench");
    samples.push_back(Us(Clock::now() - t0));
  }
  Report(state, std::move(samples));
}
BENCHMARK(BM_WakeFromHandler_Qel)->Iterations(2000);

void BM_WakeFromHandler_Glib(benchmark::State& state) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  struct Ctx {
    GMainLoop* loop;
    Clock::time_point t0;
  } ctx{loop, {}};
  std::vector<double> samples;
  for (auto _ : state) {
    g_timeout_add(
        1,
        [](gpointer p) -> gboolean {
          auto* c = static_cast<Ctx*>(p);
          c->t0 = Clock::now();
          g_main_loop_quit(c->loop);
          return G_SOURCE_REMOVE;
        },
        &ctx);
    g_main_loop_run(loop);
    samples.push_back(Us(Clock::now() - ctx.t0));
  }
  g_main_loop_unref(loop);
  Report(state, std::move(samples));
}
BENCHMARK(BM_WakeFromHandler_Glib)->Iterations(2000);

// ---- wake-up from another thread -----------------------------------------------------------

// A helper thread that runs `wake` once per Go(), after letting the caller fall asleep.
class Waker {
 public:
  template <class F>
  explicit Waker(F wake)
      : thread_([this, wake] {
          for (;;) {
            go_.acquire();
            if (stop_) return;
            std::this_thread::sleep_for(kSettle);
            t0_ = Clock::now();
            wake();
          }
        }) {}
  ~Waker() {
    stop_ = true;
    go_.release();
    thread_.join();
  }
  void Go() { go_.release(); }
  // Valid after the wait this Go() ended has returned.
  Clock::time_point t0() const { return t0_; }

 private:
  std::binary_semaphore go_{0};
  std::atomic<bool> stop_{false};
  std::atomic<Clock::time_point> t0_{};
  std::thread thread_;
};

void BM_WakeFromThread_Qel(benchmark::State& state) {
  auto w = std::make_shared<qel::QelWaiter>();
  Waker waker([&] { w->CancelWait(); });
  std::vector<double> samples;
  for (auto _ : state) {
    waker.Go();
    w->WaitForEvent(u"bench");
    samples.push_back(Us(Clock::now() - waker.t0()));
  }
  Report(state, std::move(samples));
}
BENCHMARK(BM_WakeFromThread_Qel)->Iterations(1000);

void BM_WakeFromThread_Glib(benchmark::State& state) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  const int fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  const guint watch = g_unix_fd_add(
      fd, G_IO_IN,
      [](gint fd, GIOCondition, gpointer l) -> gboolean {
        uint64_t n;
        if (read(fd, &n, sizeof n) < 0) return G_SOURCE_CONTINUE;
        g_main_loop_quit(static_cast<GMainLoop*>(l));
        return G_SOURCE_CONTINUE;
      },
      loop);
  Waker waker([fd] {
    const uint64_t one = 1;
    if (write(fd, &one, sizeof one) < 0) std::abort();
  });
  std::vector<double> samples;
  for (auto _ : state) {
    waker.Go();
    g_main_loop_run(loop);
    samples.push_back(Us(Clock::now() - waker.t0()));
  }
  g_source_remove(watch);
  close(fd);
  g_main_loop_unref(loop);
  Report(state, std::move(samples));
}
BENCHMARK(BM_WakeFromThread_Glib)->Iterations(1000);

void BM_WakeFromStopEvent_Qel(benchmark::State& state) {
  auto w = std::make_shared<qel::QelWaiter>();
  char name[40];
  std::snprintf(name, sizeof name, "QELTHREADSTOP%lX", static_cast<long>(syscall(SYS_gettid)));
  const qel::Text stop = qel::FromUtf8(name);
  Waker waker([&] { qel::SetNamedEvent(stop); });
  std::vector<double> samples;
  for (auto _ : state) {
    waker.Go();
    try {
      w->WaitForEvent(u"bench");
    } catch (const qel::Error&) {
    }
    samples.push_back(Us(Clock::now() - waker.t0()));
    qel::ResetNamedEvent(stop);
  }
  Report(state, std::move(samples));
}
BENCHMARK(BM_WakeFromStopEvent_Qel)->Iterations(1000);

// ---- idle CPU ------------------------------------------------------------------------------

double ThreadCpuSeconds() {
  rusage u{};
  getrusage(RUSAGE_THREAD, &u);
  return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
         static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

void BM_IdleCpu_Qel(benchmark::State& state) {
  auto w = std::make_shared<qel::QelWaiter>();
  for (auto _ : state) {
    const double cpu0 = ThreadCpuSeconds();
    const auto t0 = Clock::now();
    try {
      w->WaitForEvent(u"idle", IdleSeconds() * 1000);
    } catch (const qel::Error&) {
    }
    const double wall = std::chrono::duration<double>(Clock::now() - t0).count();
    state.counters["cpu_pct"] = 100.0 * (ThreadCpuSeconds() - cpu0) / wall;
  }
}
BENCHMARK(BM_IdleCpu_Qel)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_IdleCpu_Glib(benchmark::State& state) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  for (auto _ : state) {
    const double cpu0 = ThreadCpuSeconds();
    const auto t0 = Clock::now();
    g_timeout_add(
        IdleSeconds() * 1000,
        [](gpointer l) -> gboolean {
          g_main_loop_quit(static_cast<GMainLoop*>(l));
          return G_SOURCE_REMOVE;
        },
        loop);
    g_main_loop_run(loop);
    const double wall = std::chrono::duration<double>(Clock::now() - t0).count();
    state.counters["cpu_pct"] = 100.0 * (ThreadCpuSeconds() - cpu0) / wall;
  }
  g_main_loop_unref(loop);
}
BENCHMARK(BM_IdleCpu_Glib)->Iterations(1)->Unit(benchmark::kMillisecond);

// ---- tick jitter ---------------------------------------------------------------------------

constexpr int kPeriodMs = 10;

std::vector<double> Deviations(const std::vector<Clock::time_point>& ticks) {
  std::vector<double> out;
  for (size_t i = 1; i < ticks.size(); ++i) {
    out.push_back(std::abs(Us(ticks[i] - ticks[i - 1]) - kPeriodMs * 1000.0));
  }
  return out;
}

void BM_TickJitter_Qel(benchmark::State& state) {
  auto w = std::make_shared<qel::QelWaiter>();
  auto timer = std::make_shared<qel::QelTimer>();
  std::vector<Clock::time_point> ticks;
  timer->ExecuteEvent.Connect([&] { ticks.push_back(Clock::now()); });
  for (auto _ : state) {
    timer->Execute(kPeriodMs);
    try {
      w->WaitForEvent(u"jitter", IdleSeconds() * 1000);
    } catch (const qel::Error&) {
    }
    timer->Cancel();
  }
  state.counters["ticks"] = static_cast<double>(ticks.size());
  Report(state, Deviations(ticks));
}
BENCHMARK(BM_TickJitter_Qel)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_TickJitter_Glib(benchmark::State& state) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  std::vector<Clock::time_point> ticks;
  for (auto _ : state) {
    const guint tick = g_timeout_add(
        kPeriodMs,
        [](gpointer p) -> gboolean {
          static_cast<std::vector<Clock::time_point>*>(p)->push_back(Clock::now());
          return G_SOURCE_CONTINUE;
        },
        &ticks);
    g_timeout_add(
        IdleSeconds() * 1000,
        [](gpointer l) -> gboolean {
          g_main_loop_quit(static_cast<GMainLoop*>(l));
          return G_SOURCE_REMOVE;
        },
        loop);
    g_main_loop_run(loop);
    g_source_remove(tick);
  }
  g_main_loop_unref(loop);
  state.counters["ticks"] = static_cast<double>(ticks.size());
  Report(state, Deviations(ticks));
}
BENCHMARK(BM_TickJitter_Glib)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
