// The D-Bus transport: the service on the session bus through GDBus.
//
// Design. The transport opens a connection of its own to the session bus (so Terminate can
// drop it, names and all, whatever else the application does with the bus), exports the
// object /org/qelstd/Dde1 with the interface of org.qelstd.Dde1.xml and asks for the service's
// well-known name without queueing: a name someone else owns fails the registration. GDBus
// checks every call against the interface's signatures before it reaches the handler, so a
// malformed call gets org.freedesktop.DBus.Error.InvalidArgs without touching the service.
//
// Method calls, and the bus's NameOwnerChanged signals, are dispatched on the GLib context of
// the thread that initialised the service (ThreadContext), pushed as thread-default while the
// object and the subscription are set up: they run from the application's loop or inside
// QelWaiter.WaitForEvent, on that thread, never concurrently with the application. A peer's
// conversations end when the bus reports the peer gone; the bus delivers that report after the
// peer's last call, so no conversation outlives its peer.
//
// Lifetime. GDBus holds a weak reference to the transport; a call that arrives once it is gone
// (Terminate from inside a handler) is answered with ServerDied.
#include <gio/gio.h>

#include <cstring>
#include <memory>
#include <string>

#include "dde/conversations.h"
#include "dde/dbus_names.h"
#include "dde/dde_module.h"
#include "dde/dde_transport.h"
#include "wait/thread_loop.h"

namespace qel::internal {

extern const char kDdeInterfaceXml[];

namespace {

constexpr int kCallTimeoutMs = 5000;
constexpr uint32_t kRequestNameDoNotQueue = 4;
constexpr uint32_t kPrimaryOwner = 1;
constexpr uint32_t kAlreadyOwner = 4;

// The interface, parsed once per process (the text is fixed).
GDBusInterfaceInfo* InterfaceInfo() {
  static GDBusNodeInfo* const node = [] {
    GError* error = nullptr;
    GDBusNodeInfo* n = g_dbus_node_info_new_for_xml(kDdeInterfaceXml, &error);
    if (error != nullptr) g_error_free(error);
    return n;
  }();
  return node == nullptr ? nullptr : g_dbus_node_info_lookup_interface(node, kDdeInterface);
}

// Makes `context` the thread-default one for the life of the object.
class PushedContext {
 public:
  explicit PushedContext(GMainContext* context) : context_(context) {
    g_main_context_push_thread_default(context_);
  }
  ~PushedContext() { g_main_context_pop_thread_default(context_); }
  PushedContext(const PushedContext&) = delete;
  PushedContext& operator=(const PushedContext&) = delete;

 private:
  GMainContext* context_;
};

// A string handle held for the length of one call.
class ScopedString {
 public:
  explicit ScopedString(TextView text) : handle_(AcquireStringHandle(text)) {}
  ~ScopedString() { ReleaseStringHandle(handle_); }
  ScopedString(const ScopedString&) = delete;
  ScopedString& operator=(const ScopedString&) = delete;
  uint32_t get() const { return handle_; }
  uint32_t release() { return std::exchange(handle_, 0); }

 private:
  uint32_t handle_;
};

// A data handle received from a client, released when the call ends.
class ScopedData {
 public:
  ScopedData(GVariant* bytes, uint32_t item) {
    gsize size = 0;
    const void* data = g_variant_get_fixed_array(bytes, &size, 1);
    if (size > 0) {
      handle_ = AddDataHandle({static_cast<const uint8_t*>(data), size}, item, kCfText);
    }
  }
  ~ScopedData() { ReleaseReceivedData(handle_); }
  ScopedData(const ScopedData&) = delete;
  ScopedData& operator=(const ScopedData&) = delete;
  uint32_t get() const { return handle_; }

 private:
  uint32_t handle_ = 0;
};

GVariant* ByteArrayVariant(std::span<const uint8_t> bytes) {
  return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1);
}

void ReturnError(GDBusMethodInvocation* invocation, const char* name, uint32_t code,
                 const std::string& detail = {}) {
  std::string message = ToUtf8(DdeErrorText(code));
  if (!detail.empty()) message += ": " + detail;
  g_dbus_method_invocation_return_dbus_error(
      invocation, (std::string(kDdeErrorPrefix) + name).c_str(), message.c_str());
}

class DbusTransport final : public DdeTransport,
                            public std::enable_shared_from_this<DbusTransport> {
 public:
  DbusTransport() = default;
  ~DbusTransport() override { Close(); }

  uint32_t Open() override;
  bool Register(TextView service, uint32_t& error) override;
  void Close() noexcept override;
  bool PostAdvise(uint32_t topic, uint32_t item) override;

  void Call(const char* method, GVariant* parameters, GDBusMethodInvocation* invocation);
  void PeerChanged(const char* name, const char* new_owner);

 private:
  // The topic name of a call, checked against the limits; false after replying with an error.
  bool CheckName(const char* utf8, Text& name, GDBusMethodInvocation* invocation);
  bool CheckBlock(GVariant* bytes, GDBusMethodInvocation* invocation);
  // Opens a conversation of `peer` on `topic`; 0 after replying with an error.
  uint32_t OpenConversation(const std::string& peer, const Text& topic,
                            GDBusMethodInvocation* invocation);
  Conversation* FindConversation(uint32_t id, const std::string& peer,
                                 GDBusMethodInvocation* invocation);
  void Request(Conversation& c, const Text& item, GDBusMethodInvocation* invocation);
  void Poke(Conversation& c, const Text& item, GVariant* data, GDBusMethodInvocation* invocation);
  void Execute(Conversation& c, GVariant* command, GDBusMethodInvocation* invocation);

  GMainContext* context_ = nullptr;
  GDBusConnection* connection_ = nullptr;
  std::string unique_name_;
  guint registration_ = 0;
  guint subscription_ = 0;
  Conversations conversations_;
};

struct WeakTransport {
  std::weak_ptr<DbusTransport> transport;
};

void OnMethodCall(GDBusConnection*, const char* sender, const char*, const char*,
                  const char* method, GVariant* parameters, GDBusMethodInvocation* invocation,
                  gpointer user_data) {
  auto transport = static_cast<WeakTransport*>(user_data)->transport.lock();
  if (!transport) {
    ReturnError(invocation, "ServerDied", 0x400E);
    return;
  }
  transport->Call(method, parameters, invocation);
}

void OnNameOwnerChanged(GDBusConnection*, const char*, const char*, const char*, const char*,
                        GVariant* parameters, gpointer user_data) {
  auto transport = static_cast<WeakTransport*>(user_data)->transport.lock();
  if (!transport) return;
  const char* name = nullptr;
  const char* old_owner = nullptr;
  const char* new_owner = nullptr;
  g_variant_get(parameters, "(&s&s&s)", &name, &old_owner, &new_owner);
  transport->PeerChanged(name, new_owner);
}

void FreeWeak(gpointer p) { delete static_cast<WeakTransport*>(p); }

const GDBusInterfaceVTable kVTable = {OnMethodCall, nullptr, nullptr, {}};

uint32_t DbusTransport::Open() {
  if (InterfaceInfo() == nullptr) return kDmlErrSysError;
  GError* error = nullptr;
  gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error);
  if (address == nullptr) {
    g_clear_error(&error);
    return kDmlErrSysError;
  }
  connection_ = g_dbus_connection_new_for_address_sync(
      address,
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
  g_free(address);
  if (connection_ == nullptr) {
    g_clear_error(&error);
    return kDmlErrSysError;
  }
  g_dbus_connection_set_exit_on_close(connection_, FALSE);
  unique_name_ = g_dbus_connection_get_unique_name(connection_);
  context_ = ThreadContext();
  return 0;
}

bool DbusTransport::Register(TextView service, uint32_t& error) {
  error = 0;
  const std::string bus_name = DdeBusName(service);
  if (!g_dbus_is_name(bus_name.c_str())) {
    error = kDmlErrInvalidParameter;
    return false;
  }
  {
    PushedContext pushed(context_);
    registration_ =
        g_dbus_connection_register_object(connection_, kDdeObjectPath, InterfaceInfo(), &kVTable,
                                          new WeakTransport{weak_from_this()}, FreeWeak, nullptr);
    subscription_ = g_dbus_connection_signal_subscribe(
        connection_, "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
        "/org/freedesktop/DBus", nullptr, G_DBUS_SIGNAL_FLAGS_NONE, OnNameOwnerChanged,
        new WeakTransport{weak_from_this()}, FreeWeak);
  }
  if (registration_ == 0) {
    error = kDmlErrSysError;
    return false;
  }
  GError* call_error = nullptr;
  GVariant* reply = g_dbus_connection_call_sync(
      connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "RequestName", g_variant_new("(su)", bus_name.c_str(), kRequestNameDoNotQueue),
      G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs, nullptr, &call_error);
  if (reply == nullptr) {
    g_clear_error(&call_error);
    error = kDmlErrSysError;
    return false;
  }
  uint32_t answer = 0;
  g_variant_get(reply, "(u)", &answer);
  g_variant_unref(reply);
  return answer == kPrimaryOwner || answer == kAlreadyOwner;  // else the name is taken
}

void DbusTransport::Close() noexcept {
  conversations_.CloseAll();
  if (connection_ == nullptr) return;
  if (subscription_ != 0) g_dbus_connection_signal_unsubscribe(connection_, subscription_);
  if (registration_ != 0) g_dbus_connection_unregister_object(connection_, registration_);
  subscription_ = registration_ = 0;
  // Replies already given (to the call that ended the service, say) go out first; closing
  // the connection then gives up the name, and the bus tells the peers.
  g_dbus_connection_flush_sync(connection_, nullptr, nullptr);
  g_dbus_connection_close(connection_, nullptr, nullptr, nullptr);
  g_object_unref(connection_);
  connection_ = nullptr;
}

bool DbusTransport::PostAdvise(uint32_t topic, uint32_t item) {
  if (connection_ == nullptr) return false;
  bool sent = true;
  conversations_.PostAdvise(
      topic, item, [&](const Conversation& c, uint32_t loop_item, std::span<const uint8_t> bytes) {
        const Text* topic_name = StringOf(c.topic);
        const Text* item_name = StringOf(loop_item);
        if (connection_ == nullptr || topic_name == nullptr || item_name == nullptr) return;
        GVariant* args = g_variant_new("(uss@ay)", c.id, ToUtf8(*topic_name).c_str(),
                                       ToUtf8(*item_name).c_str(), ByteArrayVariant(bytes));
        if (!g_dbus_connection_emit_signal(
                connection_, c.peer.empty() ? nullptr : ToUtf8(c.peer).c_str(), kDdeObjectPath,
                kDdeInterface, "Advise", args, nullptr)) {
          sent = false;
        }
      });
  return sent;
}

void DbusTransport::PeerChanged(const char* name, const char* new_owner) {
  // Only unique names matter: conversations belong to connections, not to well-known names.
  if (name[0] == ':' && new_owner[0] == '\0') conversations_.ClosePeer(FromUtf8(name));
}

bool DbusTransport::CheckName(const char* utf8, Text& name, GDBusMethodInvocation* invocation) {
  name = FromUtf8(utf8);
  if (name.size() <= kMaxNameUnits) return true;
  ReturnError(invocation, "InvalidParameter", kDmlErrInvalidParameter,
              "un nombre excede " + std::to_string(kMaxNameUnits) + " caracteres");
  return false;
}

bool DbusTransport::CheckBlock(GVariant* bytes, GDBusMethodInvocation* invocation) {
  if (g_variant_n_children(bytes) <= kMaxDataBytes) return true;
  ReturnError(invocation, "InvalidParameter", kDmlErrInvalidParameter,
              "el bloque excede " + std::to_string(kMaxDataBytes) + " bytes");
  return false;
}

uint32_t DbusTransport::OpenConversation(const std::string& peer, const Text& topic,
                                         GDBusMethodInvocation* invocation) {
  const Text peer_name = FromUtf8(peer);
  if (!conversations_.HasRoomFor(peer_name)) {
    ReturnError(invocation, "LimitsExceeded", kDmlErrNoConvEstablished,
                "demasiadas conversaciones");
    return 0;
  }
  ScopedString hsz_topic(topic);
  const uint32_t service = ServiceHandle();
  const bool self = peer == unique_name_;
  if (hsz_topic.get() == 0 ||
      DdeCallback(kXtypConnect, 0, 0, hsz_topic.get(), service, 0, 0, self ? 1 : 0) == 0 ||
      connection_ == nullptr) {
    ReturnError(invocation, "NoConversation", kDmlErrNoConvEstablished);
    return 0;
  }
  return conversations_.Open(peer_name, hsz_topic.release());
}

Conversation* DbusTransport::FindConversation(uint32_t id, const std::string& peer,
                                              GDBusMethodInvocation* invocation) {
  Conversation* c = conversations_.Find(id, FromUtf8(peer));
  if (c == nullptr) ReturnError(invocation, "UnknownConversation", kDmlErrUnfoundQueueId);
  return c;
}

void DbusTransport::Request(Conversation& c, const Text& item, GDBusMethodInvocation* invocation) {
  ScopedString hsz_item(item);
  const uint32_t hdata = DdeCallback(kXtypRequest, kCfText, c.id, c.topic, hsz_item.get(), 0, 0, 0);
  const DataBlock* block = DataOf(hdata);
  if (block == nullptr) {
    ReturnError(invocation, "NotProcessed", kDmlErrNotProcessed);
    return;
  }
  g_dbus_method_invocation_return_value(invocation,
                                        g_variant_new("(@ay)", ByteArrayVariant(block->bytes)));
  ReleaseReceivedData(hdata);
}

void DbusTransport::Poke(Conversation& c, const Text& item, GVariant* data,
                         GDBusMethodInvocation* invocation) {
  ScopedString hsz_item(item);
  ScopedData hdata(data, hsz_item.get());
  if (DdeCallback(kXtypPoke, kCfText, c.id, c.topic, hsz_item.get(), hdata.get(), 0, 0) !=
      kDdeFack) {
    ReturnError(invocation, "NotProcessed", kDmlErrNotProcessed);
    return;
  }
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

void DbusTransport::Execute(Conversation& c, GVariant* command, GDBusMethodInvocation* invocation) {
  ScopedData hdata(command, 0);
  if (DdeCallback(kXtypExecute, 0, c.id, c.topic, 0, hdata.get(), 0, 0) != kDdeFack) {
    ReturnError(invocation, "NotProcessed", kDmlErrNotProcessed);
    return;
  }
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

void DbusTransport::Call(const char* method, GVariant* parameters,
                         GDBusMethodInvocation* invocation) {
  // Holds the transport for the call: a handler may terminate the service meanwhile.
  const auto keep = shared_from_this();
  const char* sender_utf8 = g_dbus_method_invocation_get_sender(invocation);
  const std::string sender = sender_utf8 != nullptr ? sender_utf8 : "";
  const std::string_view m = method;
  if (connection_ == nullptr) {
    ReturnError(invocation, "ServerDied", 0x400E);
    return;
  }

  if (m == "Topics") {
    GVariantBuilder names;
    g_variant_builder_init(&names, G_VARIANT_TYPE("as"));
    const uint32_t hdata =
        DdeCallback(kXtypWildConnect, 0, 0, 0, ServiceHandle(), 0, 0, sender == unique_name_);
    if (const DataBlock* block = DataOf(hdata)) {
      for (size_t at = 0; at + 8 <= block->bytes.size(); at += 8) {
        uint32_t topic = 0;
        std::memcpy(&topic, block->bytes.data() + at + 4, 4);  // little-endian pairs
        if (topic == 0) break;
        if (const Text* name = StringOf(topic)) {
          g_variant_builder_add(&names, "s", ToUtf8(*name).c_str());
        }
      }
    }
    ReleaseReceivedData(hdata);
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(as)", &names));
    return;
  }

  if (m == "Connect") {
    const char* topic_utf8 = nullptr;
    g_variant_get(parameters, "(&s)", &topic_utf8);
    Text topic;
    if (!CheckName(topic_utf8, topic, invocation)) return;
    if (const uint32_t id = OpenConversation(sender, topic, invocation)) {
      g_dbus_method_invocation_return_value(invocation, g_variant_new("(u)", id));
    }
    return;
  }

  if (m == "RequestOnce" || m == "PokeOnce" || m == "ExecuteOnce") {
    const char* topic_utf8 = nullptr;
    const char* item_utf8 = "";
    GVariant* data = nullptr;
    if (m == "ExecuteOnce") {
      g_variant_get(parameters, "(&s@ay)", &topic_utf8, &data);
    } else if (m == "PokeOnce") {
      g_variant_get(parameters, "(&s&s@ay)", &topic_utf8, &item_utf8, &data);
    } else {
      g_variant_get(parameters, "(&s&s)", &topic_utf8, &item_utf8);
    }
    std::unique_ptr<GVariant, decltype(&g_variant_unref)> data_ref(data, g_variant_unref);
    Text topic, item;
    if (!CheckName(topic_utf8, topic, invocation) || !CheckName(item_utf8, item, invocation) ||
        (data != nullptr && !CheckBlock(data, invocation))) {
      return;
    }
    const uint32_t id = OpenConversation(sender, topic, invocation);
    if (id == 0) return;
    Conversation* c = conversations_.Find(id, FromUtf8(sender));
    if (m == "RequestOnce") Request(*c, item, invocation);
    if (m == "PokeOnce") Poke(*c, item, data, invocation);
    if (m == "ExecuteOnce") Execute(*c, data, invocation);
    conversations_.Close(id);
    return;
  }

  // The rest work in an open conversation; every one starts with its id.
  uint32_t id = 0;
  g_variant_get_child(parameters, 0, "u", &id);
  Conversation* c = FindConversation(id, sender, invocation);
  if (c == nullptr) return;

  if (m == "Disconnect") {
    conversations_.Close(id);
    g_dbus_method_invocation_return_value(invocation, nullptr);
    return;
  }
  if (m == "Execute") {
    GVariant* command = g_variant_get_child_value(parameters, 1);
    if (CheckBlock(command, invocation)) Execute(*c, command, invocation);
    g_variant_unref(command);
    return;
  }

  const char* item_utf8 = nullptr;
  g_variant_get_child(parameters, 1, "&s", &item_utf8);
  Text item;
  if (!CheckName(item_utf8, item, invocation)) return;
  if (m == "Request") {
    Request(*c, item, invocation);
  } else if (m == "Poke") {
    GVariant* data = g_variant_get_child_value(parameters, 2);
    if (CheckBlock(data, invocation)) Poke(*c, item, data, invocation);
    g_variant_unref(data);
  } else if (m == "StartAdvise") {
    ScopedString hsz_item(item);
    if (!Conversations::HasAdviseRoom(*c, hsz_item.get())) {
      ReturnError(invocation, "LimitsExceeded", kDmlErrNotProcessed,
                  "demasiados ciclos de notificación");
      return;
    }
    if (DdeCallback(kXtypAdvStart, kCfText, id, c->topic, hsz_item.get(), 0, 0, 0) == 0) {
      ReturnError(invocation, "NotProcessed", kDmlErrNotProcessed);
      return;
    }
    c = conversations_.Find(id, FromUtf8(sender));  // the service may have ended meanwhile
    if (c == nullptr || !conversations_.AddAdvise(*c, hsz_item.release())) {
      ReturnError(invocation, "LimitsExceeded", kDmlErrNotProcessed,
                  "demasiados ciclos de notificación");
      return;
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
  } else if (m == "StopAdvise") {
    ScopedString hsz_item(item);
    if (!conversations_.RemoveAdvise(*c, hsz_item.get())) {
      ReturnError(invocation, "NotProcessed", kDmlErrNotProcessed);
      return;
    }
    DdeCallback(kXtypAdvStop, kCfText, id, c->topic, hsz_item.get(), 0, 0, 0);
    g_dbus_method_invocation_return_value(invocation, nullptr);
  } else {
    g_dbus_method_invocation_return_dbus_error(invocation,
                                               "org.freedesktop.DBus.Error.UnknownMethod", method);
  }
}

}  // namespace

std::shared_ptr<DdeTransport> MakeDbusTransport() { return std::make_shared<DbusTransport>(); }

}  // namespace qel::internal
