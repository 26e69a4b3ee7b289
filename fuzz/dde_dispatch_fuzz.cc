// Random transaction sequences through the in-process transport: clients connect, request,
// poke, execute, start and stop advise loops and vanish, while the application's handlers add,
// remove and change topics and items, raise errors and terminate the service, and raw
// transactions arrive with live, stale and made-up handles. Nothing may crash or leak; every
// reply to a request is a text block with its terminating zero; Terminate ends every
// conversation.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "dde/dde_module.h"
#include "dde/in_process_transport.h"
#include "fuzz_helpers.h"
#include "qel/dde/qel_dde.h"
#include "qel/frame/log.h"

namespace {

using qel::Text;
using qel::Variant;
using qel::internal::InProcessTransport;

const char16_t* const kNames[] = {u"Precios", u"PRECIOS", u"Stock", u"x", u"", u"Ñandú"};
const char16_t* const kPeers[] = {u"a", u"b", u"c"};
constexpr uint32_t kTypes[] = {0x1062, 0x20E2, 0x1030, 0x2022, 0x20B0, 0x4090,
                               0x4050, 0x4010, 0x8040, 0x80C2, 0x8002, 0};

class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool empty() const { return at_ >= size_; }
  uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
  uint32_t Word() {
    uint32_t w = 0;
    for (int i = 0; i < 4; ++i) w = (w << 8) | Byte();
    return w;
  }
  const char16_t* Name() { return kNames[Byte() % std::size(kNames)]; }
  const char16_t* Peer() { return kPeers[Byte() % std::size(kPeers)]; }
  qel::ByteArray Block() {
    const size_t n = Byte() % 24;
    qel::ByteArray b;
    for (size_t i = 0; i < n; ++i) b.push_back(Byte());
    return b;
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

struct Session {
  std::shared_ptr<InProcessTransport> bus;
  std::shared_ptr<qel::QelDde> dde = std::make_shared<qel::QelDde>();
  std::vector<uint32_t> conversations;
  uint8_t mood = 0;  // how the handlers behave, changed by the input

  void Start() {
    qel::fuzz::Try([&] { dde->Initialize(u"Server"); });
    if (!dde->Topics()) return;
    for (const char16_t* t : {u"Precios", u"Stock"}) {
      qel::fuzz::Try([&] { Wire(dde->Topics()->Add(t)); });
    }
  }

  void Wire(const std::shared_ptr<qel::QelDdeTopic>& topic) {
    std::weak_ptr<qel::QelDdeTopic> weak = topic;
    topic->QueryItemEvent.Connect([this](const Text& name, Variant& value) {
      if (mood % 5 == 1) qel::RaiseError(5, u"Fuzz", u"query");
      if (mood % 5 != 2) value = Variant(name + u"=v");
    });
    topic->ChangeItemEvent.Connect([this, weak](const Text& name, const Variant&) {
      if (mood % 7 == 3) dde->Topics()->Remove(Variant(u"Stock"));
      if (auto t = weak.lock(); t && mood % 7 == 4) t->Items()->Remove(Variant(name));
    });
    topic->ExecuteEvent.Connect([this](const Text&) {
      if (mood % 11 == 5) dde->Terminate();
      if (mood % 11 == 6 && dde->Topics()) dde->Topics()->Clear();
    });
  }

  std::shared_ptr<qel::QelDdeTopic> Topic(Input& in) {
    auto topics = dde->Topics();
    return topics ? topics->Find(qel::TextView(in.Name())) : nullptr;
  }
  uint32_t Conversation(Input& in) {
    if (conversations.empty() || in.Byte() % 8 == 0) return in.Word();
    return conversations[in.Byte() % conversations.size()];
  }
  // A string handle: a topic's or item's, or made up.
  uint32_t Handle(Input& in) {
    if (auto t = Topic(in)) {
      if (in.Byte() % 2 == 0) return static_cast<uint32_t>(t->hTopic());
      if (auto item = t->Items()->Find(qel::TextView(in.Name()))) {
        return static_cast<uint32_t>(item->hItem());
      }
    }
    return in.Byte() % 4 == 0 ? in.Word() : in.Byte() % 16;
  }

  void Step(Input& in) {
    const uint8_t op = in.Byte();
    switch (op % 16) {
      case 0: {
        const uint32_t c = bus->Connect(in.Name(), in.Name(), in.Peer(), in.Byte() % 8 == 0);
        if (c != 0) conversations.push_back(c);
        break;
      }
      case 1:
        bus->WildConnect(in.Name(), in.Name());
        break;
      case 2: {
        const uint32_t conv = Conversation(in);
        const char16_t* peer = in.Peer();
        const char16_t* item = in.Name();
        const auto reply = bus->Request(conv, item, in.Byte() % 4 == 0 ? 2 : 1, peer);
        qel::fuzz::Check(!reply || (!reply->empty() && reply->back() == 0));
        break;
      }
      case 3: {
        const uint32_t conv = Conversation(in);
        const char16_t* peer = in.Peer();
        const char16_t* item = in.Name();
        bus->Poke(conv, item, in.Block(), in.Byte() % 4 == 0 ? 2 : 1, peer);
        break;
      }
      case 4: {
        const uint32_t conv = Conversation(in);
        const char16_t* peer = in.Peer();
        bus->Execute(conv, in.Block(), peer);
        break;
      }
      case 5: {
        const uint32_t conv = Conversation(in);
        const char16_t* peer = in.Peer();
        bus->AdviseStart(conv, in.Name(), 1, peer);
        break;
      }
      case 6: {
        const uint32_t conv = Conversation(in);
        const char16_t* peer = in.Peer();
        bus->AdviseStop(conv, in.Name(), peer);
        break;
      }
      case 7: {
        const uint32_t conv = Conversation(in);
        bus->Disconnect(conv, in.Peer());
        break;
      }
      case 8:
        bus->Vanish(in.Peer());
        break;
      case 9:
        if (auto t = Topic(in)) qel::fuzz::Try([&] { t->NotifyChange(in.Name()); });
        break;
      case 10:
        if (auto topics = dde->Topics()) {
          if (in.Byte() % 2) {
            qel::fuzz::Try([&] { Wire(topics->Add(in.Name())); });
          } else {
            topics->Remove(Variant(in.Name()));
          }
        }
        break;
      case 11:
        if (auto t = Topic(in)) {
          const uint8_t how = in.Byte() % 3;
          const char16_t* name = in.Name();
          qel::fuzz::Try([&] {
            if (how == 0) t->Items()->Add(name);
            if (how == 1) t->Items()->Remove(Variant(name));
            if (how == 2) {
              if (auto item = t->Items()->Find(qel::TextView(name))) {
                item->SetData(Variant(in.Block()));
              }
            }
          });
        }
        break;
      case 12: {
        const uint32_t type = in.Byte() % 2 ? kTypes[in.Byte() % std::size(kTypes)] : in.Word();
        const uint32_t format = in.Byte() % 3;
        const uint32_t conv = Conversation(in);
        const uint32_t hsz1 = Handle(in);
        const uint32_t hsz2 = Handle(in);
        const uint32_t hdata = in.Byte() % 2 ? in.Byte() % 32 : in.Word();
        const uint32_t result =
            bus->Transact(type, format, conv, hsz1, hsz2, hdata, in.Byte(), in.Byte() % 4 == 0);
        // A wild-connect list is the receiver's to release.
        if (type == 0x20E2) qel::internal::ReleaseReceivedData(result);
        break;
      }
      case 13:
        if (in.Byte() % 8 == 0) {
          conversations.clear();
          Start();
        }
        break;
      default:
        mood = in.Byte();
        break;
    }
    qel::fuzz::Check(bus->advise_loop_count() <=
                     bus->conversation_count() * qel::internal::kMaxAdviseLoopsPerConversation);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qel::fuzz::UseChileanLocale();
  static const bool quiet = (qel::SetLogSink([](const std::string&) {}), true);
  (void)quiet;
  Session s;
  qel::internal::SetTransportFactoryForTesting([&s] {
    s.bus = std::make_shared<InProcessTransport>();
    return s.bus;
  });
  s.Start();
  Input in(data, size);
  while (!in.empty() && s.bus) s.Step(in);
  s.dde->Terminate();
  qel::fuzz::Check(qel::internal::InstanceId() == 0);
  qel::fuzz::Check(s.bus->conversation_count() == 0);
  qel::internal::SetTransportFactoryForTesting(nullptr);
  return 0;
}
