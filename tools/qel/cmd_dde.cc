// qel dde: a client of DDE-style services on the session bus (org.qelstd.Dde1), so that a
// user can drive any service of this kind from a shell.
//
//   qel dde topics SERVICE
//   qel dde request SERVICE TOPIC ITEM
//   qel dde poke SERVICE TOPIC ITEM DATA
//   qel dde execute SERVICE TOPIC COMMAND
//   qel dde advise [--count N] SERVICE TOPIC ITEM
//
// Texts cross as Windows-1252 with their terminating zero: arguments are converted on the way
// out, values on the way in (and printed one per line, without the zero). advise opens a
// conversation, starts the loop and prints the value each time the service sends it, until N
// values arrived or the service goes away.
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "qel/dde/qel_dde.h"
#include "qel/frame/text.h"

namespace qel::cli {
namespace {

constexpr int kCallTimeoutMs = 10000;

void PrintUsage(std::FILE* out) {
  std::fprintf(out,
               "Uso: qel dde topics SERVICIO\n"
               "     qel dde request SERVICIO TOPICO ITEM\n"
               "     qel dde poke SERVICIO TOPICO ITEM DATO\n"
               "     qel dde execute SERVICIO TOPICO COMANDO\n"
               "     qel dde advise [--count N] SERVICIO TOPICO ITEM\n\n"
               "Cliente de servicios DDE en el bus de sesión (interfaz org.qelstd.Dde1).\n"
               "advise muestra cada valor notificado hasta recibir N (sin --count: hasta que\n"
               "el servicio termine).\n");
}

struct GErrorFree {
  void operator()(GError* e) const { g_error_free(e); }
};
struct ObjectUnref {
  void operator()(gpointer p) const { g_object_unref(p); }
};
struct VariantUnref {
  void operator()(GVariant* v) const { g_variant_unref(v); }
};
using GVariantPtr = std::unique_ptr<GVariant, VariantUnref>;

// The message of a failed call, without GDBus's remote-error prefix.
[[noreturn]] void Fail(GError* error) {
  std::unique_ptr<GError, GErrorFree> owned(error);
  g_dbus_error_strip_remote_error(error);
  throw std::runtime_error(error->message);
}

// The Windows-1252 bytes of a UTF-8 argument, with the terminating zero.
GVariant* BlockOf(const char* utf8) {
  if (!IsValidUtf8(utf8)) throw UsageError("el texto no es UTF-8 válido");
  std::string ansi = ToAnsi(FromUtf8(utf8));
  ansi.push_back('\0');
  return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, ansi.data(), ansi.size(), 1);
}

// A value as UTF-8 text: the block up to its terminating zero.
std::string TextOf(GVariant* bytes) {
  gsize size = 0;
  const char* data = static_cast<const char*>(g_variant_get_fixed_array(bytes, &size, 1));
  std::string_view block(data, size);
  if (!block.empty() && block.back() == '\0') block.remove_suffix(1);
  return ToUtf8(FromAnsi(block));
}

class Client {
 public:
  explicit Client(const char* service) : bus_name_(DdeBusName(FromUtf8(service))) {
    if (!IsValidUtf8(service) || !g_dbus_is_name(bus_name_.c_str())) {
      throw UsageError("nombre de servicio inválido");
    }
    GError* error = nullptr;
    connection_.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (!connection_) Fail(error);
  }

  GVariantPtr Call(const char* method, GVariant* args, const char* reply_type) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        connection(), bus_name_.c_str(), kDdeBusObjectPath, kDdeBusInterface, method, args,
        G_VARIANT_TYPE(reply_type), G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs, nullptr, &error);
    if (reply == nullptr) Fail(error);
    return GVariantPtr(reply);
  }

  GDBusConnection* connection() { return static_cast<GDBusConnection*>(connection_.get()); }
  const std::string& bus_name() const { return bus_name_; }

 private:
  std::string bus_name_;
  std::unique_ptr<void, ObjectUnref> connection_;
};

struct AdviseState {
  GMainLoop* loop;
  long remaining;  // < 0: no limit
  uint32_t conversation;
};

void OnAdvise(GDBusConnection*, const char*, const char*, const char*, const char*,
              GVariant* parameters, gpointer user_data) {
  auto* state = static_cast<AdviseState*>(user_data);
  uint32_t conversation = 0;
  const char* topic = nullptr;
  const char* item = nullptr;
  GVariant* data = nullptr;
  g_variant_get(parameters, "(u&s&s@ay)", &conversation, &topic, &item, &data);
  GVariantPtr owned(data);
  if (conversation != state->conversation) return;
  std::printf("%s\n", TextOf(data).c_str());
  std::fflush(stdout);
  if (state->remaining > 0 && --state->remaining == 0) g_main_loop_quit(state->loop);
}

void OnServiceGone(GDBusConnection*, const char*, gpointer user_data) {
  g_main_loop_quit(static_cast<AdviseState*>(user_data)->loop);
}

int Advise(Client& client, const char* topic, const char* item, long count) {
  GVariantPtr opened = client.Call("Connect", g_variant_new("(s)", topic), "(u)");
  uint32_t conversation = 0;
  g_variant_get(opened.get(), "(u)", &conversation);
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  AdviseState state{loop, count, conversation};
  const guint subscription = g_dbus_connection_signal_subscribe(
      client.connection(), client.bus_name().c_str(), kDdeBusInterface, "Advise", kDdeBusObjectPath,
      nullptr, G_DBUS_SIGNAL_FLAGS_NONE, OnAdvise, &state, nullptr);
  const guint watch = g_bus_watch_name_on_connection(client.connection(), client.bus_name().c_str(),
                                                     G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
                                                     OnServiceGone, &state, nullptr);
  int status = kExitOk;
  try {
    client.Call("StartAdvise", g_variant_new("(us)", conversation, item), "()");
    g_main_loop_run(loop);
    if (state.remaining > 0) status = ReportFailure("el servicio terminó");
  } catch (...) {
    g_bus_unwatch_name(watch);
    g_dbus_connection_signal_unsubscribe(client.connection(), subscription);
    g_main_loop_unref(loop);
    throw;
  }
  g_bus_unwatch_name(watch);
  g_dbus_connection_signal_unsubscribe(client.connection(), subscription);
  g_main_loop_unref(loop);
  return status;
}

void ExpectArgs(const std::vector<const char*>& args, size_t n, const char* verb) {
  if (args.size() != n) {
    throw UsageError(std::string(verb) + " recibe " + std::to_string(n) + " argumentos");
  }
}

}  // namespace

int RunDde(std::span<char* const> args) {
  if (WantsHelp(args) || args.empty()) {
    PrintUsage(args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  const std::string verb = args[0];
  long count = -1;
  std::vector<const char*> rest;
  for (size_t i = 1; i < args.size(); ++i) {
    if (std::strcmp(args[i], "--count") == 0 && verb == "advise" && i + 1 < args.size()) {
      char* end = nullptr;
      count = std::strtol(args[++i], &end, 10);
      if (*end != '\0' || count < 1) throw UsageError("--count espera un número positivo");
    } else {
      rest.push_back(args[i]);
    }
  }
  if (verb == "topics") {
    ExpectArgs(rest, 1, "topics");
    Client client(rest[0]);
    GVariantPtr reply = client.Call("Topics", nullptr, "(as)");
    GVariantIter* names = nullptr;
    g_variant_get(reply.get(), "(as)", &names);
    const char* name = nullptr;
    while (g_variant_iter_next(names, "&s", &name)) std::printf("%s\n", name);
    g_variant_iter_free(names);
    return kExitOk;
  }
  if (verb == "request") {
    ExpectArgs(rest, 3, "request");
    Client client(rest[0]);
    GVariantPtr reply = client.Call("RequestOnce", g_variant_new("(ss)", rest[1], rest[2]), "(ay)");
    GVariantPtr data(g_variant_get_child_value(reply.get(), 0));
    std::printf("%s\n", TextOf(data.get()).c_str());
    return kExitOk;
  }
  if (verb == "poke") {
    ExpectArgs(rest, 4, "poke");
    Client client(rest[0]);
    client.Call("PokeOnce", g_variant_new("(ss@ay)", rest[1], rest[2], BlockOf(rest[3])), "()");
    return kExitOk;
  }
  if (verb == "execute") {
    ExpectArgs(rest, 3, "execute");
    Client client(rest[0]);
    client.Call("ExecuteOnce", g_variant_new("(s@ay)", rest[1], BlockOf(rest[2])), "()");
    return kExitOk;
  }
  if (verb == "advise") {
    ExpectArgs(rest, 3, "advise");
    Client client(rest[0]);
    return Advise(client, rest[1], rest[2], count);
  }
  throw UsageError("operación desconocida: " + verb);
}

}  // namespace qel::cli
