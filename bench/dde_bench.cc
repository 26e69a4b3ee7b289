// DDE service round trips and advise fan-out.
//
// Workloads:
//   InProcessRequest     a request and its reply through the in-process transport
//   DbusRequest          Request on an open conversation, a C client (GDBus, no gdbus tool)
//                        calling a service thread on a private session bus
//   BareDbusCall         a GDBus method that answers at once, the same client loop and bus:
//                        the floor DbusRequest is measured against
//   DbusVsBare           the two above alternating call by call, so that a busy machine
//                        weighs on both alike; counters request_us, bare_us and ratio
//   AdviseFanOut/100     one change advised to 100 peers (separate connections), from the
//                        client's Execute that makes it until every peer has its signal;
//                        counter notify_ms: the service's NotifyChange alone
//   BareFanOut/100       the floor of that: a bare method emitting one unicast signal to
//                        each of the 100 peers, until every peer has its signal
//
// The program starts its own dbus-daemon (--session, a private address); nothing touches the
// developer's bus.
#include <benchmark/benchmark.h>
#include <gio/gio.h>
#include <signal.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "dde/dde_module.h"
#include "dde/in_process_transport.h"
#include "qel/dde/qel_dde.h"

namespace {

using qel::internal::InProcessTransport;

void BM_InProcessRequest(benchmark::State& state) {
  std::shared_ptr<InProcessTransport> bus;
  qel::internal::SetTransportFactoryForTesting([&] {
    bus = std::make_shared<InProcessTransport>();
    return bus;
  });
  auto dde = std::make_shared<qel::QelDde>();
  dde->Initialize(u"Bench");
  dde->Topics()->Add(u"Precios")->Items()->Add(u"Pan")->SetData(qel::Variant(u"1200"));
  const uint32_t conv = bus->Connect(u"Bench", u"Precios");
  for (auto _ : state) benchmark::DoNotOptimize(bus->Request(conv, u"Pan"));
  dde->Terminate();
  qel::internal::SetTransportFactoryForTesting(nullptr);
}
BENCHMARK(BM_InProcessRequest);

// A dbus-daemon of the program's own, its address in DBUS_SESSION_BUS_ADDRESS.
class PrivateBus {
 public:
  PrivateBus() {
    pipe_ = popen("dbus-daemon --session --fork --print-address=1 --print-pid=1", "r");
    char line[512] = {};
    if (pipe_ == nullptr || std::fgets(line, sizeof line, pipe_) == nullptr) std::abort();
    std::string address(line);
    address.erase(address.find_last_not_of("\n") + 1);
    char pid[32] = {};
    if (std::fgets(pid, sizeof pid, pipe_) != nullptr) pid_ = std::atoi(pid);
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
  }
  ~PrivateBus() {
    if (pid_ > 0) kill(pid_, SIGTERM);
    pclose(pipe_);
  }

 private:
  FILE* pipe_ = nullptr;
  int pid_ = 0;
};

GDBusConnection* Connect() {
  GError* error = nullptr;
  gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  GDBusConnection* c = g_dbus_connection_new_for_address_sync(
      address,
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
  g_free(address);
  if (c == nullptr) std::abort();
  return c;
}

const char kBareXml[] =
    "<node><interface name='org.qelstd.Bench'><method name='Nothing'>"
    "<arg type='u' direction='in'/><arg type='s' direction='in'/>"
    "<arg type='ay' direction='out'/></method>"
    "<method name='Fan'><arg type='as' direction='in'/></method>"
    "<signal name='Tick'><arg type='ay'/></signal></interface></node>";

// The service thread: a QelDde "Bench" with topic "Precios" (items answer "1200"; the command
// "notify" advises "Pan") and, on a connection of its own, the bare object, both served by a
// GLib loop on the thread's context.
class ServiceThread {
 public:
  ServiceThread() {
    thread_ = std::thread([this] { Run(); });
    while (!ready_.load()) std::this_thread::yield();
  }
  ~ServiceThread() {
    g_main_context_invoke(
        context_,
        [](gpointer loop) -> gboolean {
          g_main_loop_quit(static_cast<GMainLoop*>(loop));
          return G_SOURCE_REMOVE;
        },
        loop_);
    thread_.join();
  }
  std::atomic<int64_t> notify_us{0};

 private:
  void Run() {
    context_ = g_main_context_new();
    g_main_context_push_thread_default(context_);
    loop_ = g_main_loop_new(context_, FALSE);
    auto dde = std::make_shared<qel::QelDde>();
    dde->Initialize(u"Bench");
    auto topic = dde->Topics()->Add(u"Precios");
    topic->Items()->Add(u"Pan")->SetData(qel::Variant(u"1200"));
    topic->QueryItemEvent.Connect(
        [](const qel::Text&, qel::Variant& value) { value = qel::Variant(u"1200"); });
    topic->ExecuteEvent.Connect([this, t = topic.get()](const qel::Text&) {
      const int64_t start = g_get_monotonic_time();
      t->NotifyChange(u"Pan");
      notify_us.store(g_get_monotonic_time() - start);
    });
    GDBusConnection* bare = Connect();
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kBareXml, nullptr);
    static const GDBusInterfaceVTable vtable = {
        [](GDBusConnection* connection, const char*, const char*, const char*,
           const char* method, GVariant* args, GDBusMethodInvocation* invocation, gpointer) {
          static const char kValue[] = "1200";
          if (std::string(method) == "Fan") {
            // The bare fan-out: one unicast signal to each name given.
            GVariantIter* names = nullptr;
            const char* dest = nullptr;
            g_variant_get(args, "(as)", &names);
            while (g_variant_iter_next(names, "&s", &dest)) {
              g_dbus_connection_emit_signal(
                  connection, dest, "/org/qelstd/Bench", "org.qelstd.Bench", "Tick",
                  g_variant_new("(@ay)",
                                g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, kValue, 5, 1)),
                  nullptr);
            }
            g_variant_iter_free(names);
            g_dbus_method_invocation_return_value(invocation, nullptr);
            return;
          }
          g_dbus_method_invocation_return_value(
              invocation,
              g_variant_new("(@ay)", g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, kValue, 5, 1)));
        },
        nullptr,
        nullptr,
        {}};
    g_dbus_connection_register_object(bare, "/org/qelstd/Bench", node->interfaces[0], &vtable,
                                      nullptr, nullptr, nullptr);
    g_dbus_connection_call_sync(bare, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                "org.freedesktop.DBus", "RequestName",
                                g_variant_new("(su)", "org.qelstd.Bench", 4u), nullptr,
                                G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    ready_.store(true);
    g_main_loop_run(loop_);
    dde->Terminate();
    g_object_unref(bare);
    g_dbus_node_info_unref(node);
    g_main_loop_unref(loop_);
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
  }

  std::thread thread_;
  std::atomic<bool> ready_{false};
  GMainContext* context_ = nullptr;
  GMainLoop* loop_ = nullptr;
};

struct Fixture {
  PrivateBus bus;
  ServiceThread service;
};
Fixture& Env() {
  static Fixture* f = new Fixture;  // lives until the process ends
  return *f;
}

GVariant* Call(GDBusConnection* c, const char* dest, const char* path, const char* iface,
               const char* method, GVariant* args) {
  GVariant* r = g_dbus_connection_call_sync(c, dest, path, iface, method, args, nullptr,
                                            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  if (r == nullptr) std::abort();
  return r;
}

// Opens a conversation on the service's "Precios" topic and returns its number.
uint32_t OpenConversation(GDBusConnection* c, const std::string& name) {
  GVariant* opened = Call(c, name.c_str(), qel::kDdeBusObjectPath, qel::kDdeBusInterface,
                          "Connect", g_variant_new("(s)", "Precios"));
  uint32_t conv = 0;
  g_variant_get(opened, "(u)", &conv);
  g_variant_unref(opened);
  return conv;
}

void BM_DbusRequest(benchmark::State& state) {
  Env();
  GDBusConnection* c = Connect();
  const std::string name = qel::DdeBusName(u"Bench");
  const uint32_t conv = OpenConversation(c, name);
  for (auto _ : state) {
    g_variant_unref(Call(c, name.c_str(), qel::kDdeBusObjectPath, qel::kDdeBusInterface, "Request",
                         g_variant_new("(us)", conv, "Pan")));
  }
  g_object_unref(c);
}
BENCHMARK(BM_DbusRequest)->UseRealTime();

void BM_BareDbusCall(benchmark::State& state) {
  Env();
  GDBusConnection* c = Connect();
  for (auto _ : state) {
    g_variant_unref(Call(c, "org.qelstd.Bench", "/org/qelstd/Bench", "org.qelstd.Bench", "Nothing",
                         g_variant_new("(us)", 1u, "Pan")));
  }
  g_object_unref(c);
}
BENCHMARK(BM_BareDbusCall)->UseRealTime();

void BM_DbusVsBare(benchmark::State& state) {
  Env();
  GDBusConnection* c = Connect();
  const std::string name = qel::DdeBusName(u"Bench");
  const uint32_t conv = OpenConversation(c, name);
  int64_t request_us = 0, bare_us = 0;
  for (auto _ : state) {
    const int64_t t0 = g_get_monotonic_time();
    g_variant_unref(Call(c, name.c_str(), qel::kDdeBusObjectPath, qel::kDdeBusInterface, "Request",
                         g_variant_new("(us)", conv, "Pan")));
    const int64_t t1 = g_get_monotonic_time();
    g_variant_unref(Call(c, "org.qelstd.Bench", "/org/qelstd/Bench", "org.qelstd.Bench", "Nothing",
                         g_variant_new("(us)", 1u, "Pan")));
    const int64_t t2 = g_get_monotonic_time();
    request_us += t1 - t0;
    bare_us += t2 - t1;
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["request_us"] = request_us / n;
  state.counters["bare_us"] = bare_us / n;
  state.counters["ratio"] = bare_us > 0 ? static_cast<double>(request_us) / bare_us : 0;
  g_object_unref(c);
}
BENCHMARK(BM_DbusVsBare)->UseRealTime();

// Peers of a fan-out on their own thread-default main context: each a bus connection counting
// the signals it is sent; closed and drained when the benchmark ends.
class Peers {
 public:
  Peers() : context_(g_main_context_new()) { g_main_context_push_thread_default(context_); }
  ~Peers() {
    for (GDBusConnection* c : connections_) {
      g_dbus_connection_close_sync(c, nullptr, nullptr);
      g_object_unref(c);
    }
    while (g_main_context_iteration(context_, FALSE)) {
    }
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
  }
  Peers(const Peers&) = delete;
  Peers& operator=(const Peers&) = delete;

  // A new peer that counts the signals `member` of `interface` from `sender` on `path`.
  GDBusConnection* Add(const char* sender, const char* interface, const char* member,
                       const char* path) {
    GDBusConnection* c = Connect();
    connections_.push_back(c);
    g_dbus_connection_signal_subscribe(
        c, sender, interface, member, path, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
           gpointer n) { ++*static_cast<int*>(n); },
        &received_, nullptr);
    return c;
  }
  GDBusConnection* first() const { return connections_.front(); }

  // Runs the loop until every peer has had one more signal.
  void AwaitOneEach() {
    const int target = static_cast<int>(connections_.size());
    received_ = 0;
    while (received_ < target) g_main_context_iteration(context_, TRUE);
  }

 private:
  GMainContext* context_;
  std::vector<GDBusConnection*> connections_;
  int received_ = 0;
};

void BM_AdviseFanOut(benchmark::State& state) {
  Fixture& env = Env();
  const std::string name = qel::DdeBusName(u"Bench");
  Peers peers;
  for (int64_t i = 0; i < state.range(0); ++i) {
    GDBusConnection* c =
        peers.Add(name.c_str(), qel::kDdeBusInterface, "Advise", qel::kDdeBusObjectPath);
    const uint32_t conv = OpenConversation(c, name);
    g_variant_unref(Call(c, name.c_str(), qel::kDdeBusObjectPath, qel::kDdeBusInterface,
                         "StartAdvise", g_variant_new("(us)", conv, "Pan")));
  }
  static const char kNotify[] = "notify";
  double notify_ms = 0;
  for (auto _ : state) {
    g_variant_unref(Call(
        peers.first(), name.c_str(), qel::kDdeBusObjectPath, qel::kDdeBusInterface,
        "ExecuteOnce",
        g_variant_new("(s@ay)", "Precios",
                      g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, kNotify, sizeof kNotify, 1))));
    peers.AwaitOneEach();
    notify_ms += env.service.notify_us.load() / 1000.0;
  }
  state.counters["notify_ms"] = notify_ms / static_cast<double>(state.iterations());
}
BENCHMARK(BM_AdviseFanOut)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);

// The same fan-out with no library: a bare method that emits one unicast signal to each of the
// peers, from the call until every peer has dispatched its signal.
void BM_BareFanOut(benchmark::State& state) {
  Env();
  Peers peers;
  GVariantBuilder names;
  g_variant_builder_init(&names, G_VARIANT_TYPE("as"));
  for (int64_t i = 0; i < state.range(0); ++i) {
    GDBusConnection* c =
        peers.Add(nullptr, "org.qelstd.Bench", "Tick", "/org/qelstd/Bench");
    g_variant_builder_add(&names, "s", g_dbus_connection_get_unique_name(c));
  }
  GVariant* args = g_variant_ref_sink(g_variant_new("(as)", &names));
  for (auto _ : state) {
    g_variant_unref(Call(peers.first(), "org.qelstd.Bench", "/org/qelstd/Bench",
                         "org.qelstd.Bench", "Fan", args));
    peers.AwaitOneEach();
  }
  g_variant_unref(args);
}
BENCHMARK(BM_BareFanOut)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
