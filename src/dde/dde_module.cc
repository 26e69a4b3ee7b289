// The thread's DDE instance and the transaction dispatch.
//
// Re-entrancy: a handler run by a transaction may do anything the application can, including
// removing the topic or item in use or terminating the service. Every transaction therefore
// holds its own references to the topics, topic and item it works on, and reads the module
// state afresh after each call out.
#include "dde/dde_module.h"

#include <atomic>
#include <cstring>
#include <exception>
#include <utility>

#include "dde/dde_objects_internal.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/log.h"
#include "qel/frame/template.h"

namespace qel::internal {

std::shared_ptr<DdeTransport> MakeDbusTransport();

namespace {

void TerminateState() noexcept;

// A thread that ends with its service running terminates it, so the transport closes while
// the handle tables it releases into still exist.
struct DdeState {
  ~DdeState() { TerminateState(); }

  uint32_t instance = 0;
  Text service_name;
  uint32_t service_handle = 0;
  std::shared_ptr<QelDdeTopics> topics;
  StringTable strings;
  DataTable data;
  uint32_t last_error = 0;
  std::shared_ptr<DdeTransport> transport;
  TransportFactory factory;
};

thread_local DdeState t_dde;

void TerminateState() noexcept { Terminate(); }

std::atomic<uint32_t> g_last_instance{0};

uint32_t NextInstanceId() {
  uint32_t id;
  do {
    id = g_last_instance.fetch_add(1) + 1;
  } while (id == 0);
  return id;
}

// Sets the last error for a helper that fails: "not initialised" when there is no instance.
void Fail(uint32_t code) {
  t_dde.last_error = t_dde.instance == 0 ? kDmlErrDllNotInitialized : code;
}

std::shared_ptr<QelDdeTopic> FindTopic(const std::shared_ptr<QelDdeTopics>& topics,
                                       uint32_t topic_handle) {
  if (!topics) return nullptr;
  return topics->Find(TextView(QueryString(topic_handle)));
}

void PutHandle(ByteArray& bytes, uint32_t h) {
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(h >> (8 * i)));
}

// The transactions. Each sets `result` as soon as it is known, so that a failure afterwards
// leaves the transaction with the result as it stood.

void XtypConnect(uint32_t hsz1, uint32_t hsz2, uint32_t same_instance, uint32_t& result) {
  if (hsz2 != t_dde.service_handle || t_dde.service_handle == 0 || same_instance != 0) return;
  if (FindTopic(t_dde.topics, hsz1)) result = 1;
}

void XtypWildConnect(uint32_t hsz1, uint32_t hsz2, uint32_t same_instance, uint32_t& result) {
  if ((hsz2 != 0 && hsz2 != t_dde.service_handle) || same_instance != 0) return;
  const auto topics = t_dde.topics;
  if (!topics) return;
  ByteArray pairs;
  if (hsz1 == 0) {
    for (const auto& topic : topics->NewEnum()) {
      PutHandle(pairs, t_dde.service_handle);
      PutHandle(pairs, static_cast<uint32_t>(topic->hTopic()));
    }
  } else if (const auto topic = FindTopic(topics, hsz1)) {
    PutHandle(pairs, t_dde.service_handle);
    PutHandle(pairs, static_cast<uint32_t>(topic->hTopic()));
  }
  PutHandle(pairs, 0);
  PutHandle(pairs, 0);
  result = AddDataHandle(pairs, 0, 0);
}

std::shared_ptr<QelDdeItem> AdviseItem(uint32_t format, uint32_t hsz1, uint32_t hsz2) {
  if (format != kCfText) return nullptr;
  const auto topic = FindTopic(t_dde.topics, hsz1);
  if (!topic) return nullptr;
  return topic->QueryItem(QueryString(hsz2));
}

void XtypAdvStart(uint32_t format, uint32_t hsz1, uint32_t hsz2, uint32_t& result) {
  if (AdviseItem(format, hsz1, hsz2)) result = 1;
}

void XtypAdvReq(uint32_t format, uint32_t hsz1, uint32_t hsz2, uint32_t& result) {
  if (const auto item = AdviseItem(format, hsz1, hsz2)) {
    result = DdeItemsInternal::DataHandle(*item);
  }
}

void XtypRequest(uint32_t format, uint32_t hsz1, uint32_t hsz2, uint32_t& result) {
  if (format != kCfText) return;
  const auto topic = FindTopic(t_dde.topics, hsz1);
  if (!topic) return;
  if (const auto item = topic->Items()->Find(TextView(QueryString(hsz2)))) {
    result = DdeItemsInternal::DataHandle(*item);
  }
}

// The text of a received block: the whole block, terminating zero included.
Text BlockText(const Variant& data) {
  const ByteArray& bytes = data.Get<ByteArray>();
  return FromAnsi(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

void XtypPoke(uint32_t format, uint32_t hsz1, uint32_t hsz2, uint32_t hdata, uint32_t& result) {
  if (format != kCfText) return;
  const auto topic = FindTopic(t_dde.topics, hsz1);
  if (!topic) return;
  const Variant data = QueryData(hdata);
  if (data.IsNull()) return;
  topic->ChangeItem(QueryString(hsz2), Variant(BlockText(data)));
  result = kDdeFack;
}

void XtypExecute(uint32_t hsz1, uint32_t hdata, uint32_t& result) {
  const auto topic = FindTopic(t_dde.topics, hsz1);
  if (!topic) return;
  const Variant data = QueryData(hdata);
  if (data.IsNull()) return;
  topic->Execute(BlockText(data));
  result = kDdeFack;
}

}  // namespace

void SetTransportFactoryForTesting(TransportFactory factory) { t_dde.factory = std::move(factory); }

void RaiseDdeError(TextView function_name, TextView text) {
  const uint32_t code = std::exchange(t_dde.last_error, 0);
  Text description(text);
  int32_t number = E_FAIL;
  if (code != 0) {
    description += u"\r\n" + DdeErrorText(code);
    number = static_cast<int32_t>(code);
  }
  RaiseError(number, u"QelDDE." + Text(function_name), u"%1", {Variant(description)});
}

uint32_t CreateString(TextView text) {
  if (t_dde.instance == 0 || text.size() > kMaxNameUnits) {
    Fail(kDmlErrInvalidParameter);
    RaiseDdeError(u"CreateString", u"No se pudo crear Texto DDE");
  }
  return t_dde.strings.Acquire(text);
}

void FreeString(uint32_t handle) {
  if (t_dde.instance == 0 || !t_dde.strings.Release(handle)) {
    Fail(kDmlErrInvalidParameter);
    RaiseDdeError(u"FreeString", u"No se pudo liberar Texto DDE");
  }
}

Text QueryString(uint32_t handle) {
  const Text* text = StringOf(handle);
  return text ? *text : Text();
}

uint32_t CreateData(uint32_t item_handle, const Variant& data) {
  const Text text = data.Is<ByteArray>() ? BlockText(data) : CStr(data);
  if (t_dde.instance == 0) {
    Fail(kDmlErrInvalidParameter);
    RaiseDdeError(u"CreateData", u"No se pudo crear Data DDE");
  }
  const std::string ansi = ToAnsi(text);
  DataBlock block;
  block.bytes.assign(ansi.begin(), ansi.end());
  block.bytes.push_back(0);
  block.item = item_handle;
  block.format = kCfText;
  block.app_owned = true;
  return t_dde.data.Add(std::move(block));
}

Variant QueryData(uint32_t handle) {
  if (handle == 0) return Variant::Null();
  const DataBlock* block = DataOf(handle);
  if (block == nullptr || block->bytes.empty()) {
    Fail(kDmlErrInvalidParameter);
    RaiseDdeError(u"QueryData", u"No se pudo obtener Data DDE");
  }
  return Variant(block->bytes);
}

void FreeData(uint32_t handle) {
  if (t_dde.instance == 0 || !t_dde.data.Release(handle)) {
    Fail(kDmlErrInvalidParameter);
    RaiseDdeError(u"FreeData", u"No se pudo liberar Data DDE");
  }
}

void TopicChanged(uint32_t topic_handle, uint32_t item_handle) {
  // The transport is held for the call: an advise handler may terminate the service.
  const auto transport = t_dde.transport;
  if (!transport || !transport->PostAdvise(topic_handle, item_handle)) {
    Fail(kDmlErrSysError);
    RaiseDdeError(u"TopicChanged", u"No se pudo notificar del cambio de un item DDE");
  }
}

std::shared_ptr<QelDdeTopics> Initialize(TextView service_name) {
  const Text name(service_name);  // the argument may refer to state Terminate clears
  Terminate();
  std::shared_ptr<DdeTransport> transport = t_dde.factory ? t_dde.factory() : MakeDbusTransport();
  const uint32_t code = transport ? transport->Open() : kDmlErrSysError;
  if (code != 0) {
    RaiseError(E_FAIL, u"QelDDE.Initialize", u"No se pudo inicializar la biblioteca DDE%n%1",
               {Variant(DdeErrorText(code))});
  }
  t_dde.instance = NextInstanceId();
  t_dde.transport = std::move(transport);
  try {
    t_dde.service_name = name;
    t_dde.service_handle = CreateString(name);
    t_dde.topics = DdeTopicsInternal::Make(name);
    uint32_t error = 0;
    if (!t_dde.transport->Register(name, error)) {
      t_dde.last_error = error;
      RaiseDdeError(u"Initialize",
                    FormatTemplate(u"No se pudo registrar el servicio DDE '%1'", {Variant(name)}));
    }
  } catch (...) {
    // A service that could not register is not left half running.
    const uint32_t pending = t_dde.last_error;
    Terminate();
    t_dde.last_error = pending;
    throw;
  }
  return t_dde.topics;
}

void Terminate() noexcept {
  t_dde.service_name.clear();
  if (t_dde.service_handle != 0) {
    t_dde.strings.Release(t_dde.service_handle);
    t_dde.service_handle = 0;
  }
  if (auto topics = std::move(t_dde.topics)) topics->Clear();
  if (t_dde.instance != 0) {
    if (auto transport = std::move(t_dde.transport)) transport->Close();
    t_dde.strings.Clear();
    t_dde.data.Clear();
    t_dde.instance = 0;
  }
}

uint32_t InstanceId() { return t_dde.instance; }

uint32_t DdeCallback(uint32_t type, uint32_t format, uint32_t conversation, uint32_t hsz1,
                     uint32_t hsz2, uint32_t hdata, uint32_t data1, uint32_t data2) noexcept {
  uint32_t result = 0;
  try {
    switch (type) {
      case kXtypConnect:
        Chaining(u"QelDDE.XtypConnect:", [&] { XtypConnect(hsz1, hsz2, data2, result); });
        break;
      case kXtypWildConnect:
        Chaining(u"QelDDE.XtypWildConnect:", [&] { XtypWildConnect(hsz1, hsz2, data2, result); });
        break;
      case kXtypAdvStart:
        Chaining(u"QelDDE.XtypAdvstart:", [&] { XtypAdvStart(format, hsz1, hsz2, result); });
        break;
      case kXtypAdvReq:
        Chaining(u"QelDDE.XtypAdvreq:", [&] { XtypAdvReq(format, hsz1, hsz2, result); });
        break;
      case kXtypRequest:
        Chaining(u"QelDDE.XtypRequest:", [&] { XtypRequest(format, hsz1, hsz2, result); });
        break;
      case kXtypPoke:
        Chaining(u"QelDDE.XtypPoke:", [&] { XtypPoke(format, hsz1, hsz2, hdata, result); });
        break;
      case kXtypExecute:
        Chaining(u"QelDDE.XtypExecute:", [&] { XtypExecute(hsz1, hdata, result); });
        break;
      default:  // advise data and stop, confirmations, errors, (un)registrations, monitors
        break;
    }
  } catch (const Error& e) {
    LogErrorEvent(e.Number(), u"ModDDE.DdeCallback:" + e.Source(), e.Description());
  } catch (const std::exception& e) {
    LogErrorEvent(E_FAIL, u"ModDDE.DdeCallback", FromUtf8(e.what()));
  } catch (...) {
    LogErrorEvent(E_FAIL, u"ModDDE.DdeCallback", {});
  }
  return result;
}

uint32_t AcquireStringHandle(TextView text) {
  if (t_dde.instance == 0 || text.size() > kMaxNameUnits) return 0;
  return t_dde.strings.Acquire(text);
}

void ReleaseStringHandle(uint32_t handle) noexcept {
  if (t_dde.instance != 0) t_dde.strings.Release(handle);
}

const Text* StringOf(uint32_t handle) {
  return t_dde.instance == 0 ? nullptr : t_dde.strings.Find(handle);
}

uint32_t AddDataHandle(std::span<const uint8_t> bytes, uint32_t item, uint32_t format) {
  if (t_dde.instance == 0) return 0;
  DataBlock block;
  block.bytes.assign(bytes.begin(), bytes.end());
  block.item = item;
  block.format = format;
  return t_dde.data.Add(std::move(block));
}

const DataBlock* DataOf(uint32_t handle) {
  return t_dde.instance == 0 ? nullptr : t_dde.data.Find(handle);
}

void ReleaseReceivedData(uint32_t handle) noexcept {
  const DataBlock* block = DataOf(handle);
  if (block != nullptr && !block->app_owned) t_dde.data.Release(handle);
}

uint32_t ServiceHandle() { return t_dde.service_handle; }

}  // namespace qel::internal
