#include "dde/in_process_transport.h"

#include "dde/dde_module.h"

namespace qel::internal {
namespace {

// A string handle held for the length of one transaction.
class ScopedString {
 public:
  explicit ScopedString(TextView text) : handle_(text.empty() ? 0 : AcquireStringHandle(text)) {}
  ~ScopedString() { ReleaseStringHandle(handle_); }
  ScopedString(const ScopedString&) = delete;
  ScopedString& operator=(const ScopedString&) = delete;
  uint32_t get() const { return handle_; }
  uint32_t release() { return std::exchange(handle_, 0); }

 private:
  uint32_t handle_;
};

uint32_t ReadHandle(const ByteArray& bytes, size_t at) {
  uint32_t h = 0;
  for (int i = 0; i < 4; ++i) h |= static_cast<uint32_t>(bytes[at + i]) << (8 * i);
  return h;
}

}  // namespace

bool InProcessTransport::Register(TextView service, uint32_t& error) {
  if (register_fails) {
    error = 0;
    return false;
  }
  service_ = service;
  return true;
}

void InProcessTransport::Close() noexcept {
  conversations_.CloseAll();
  closed_ = true;
}

bool InProcessTransport::PostAdvise(uint32_t topic, uint32_t item) {
  if (closed_) return false;
  conversations_.PostAdvise(
      topic, item, [this](const Conversation& c, uint32_t loop_item, std::span<const uint8_t> b) {
        const Text* name = StringOf(loop_item);
        advices_.push_back({c.id, name ? *name : Text(), ByteArray(b.begin(), b.end())});
      });
  return true;
}

uint32_t InProcessTransport::Connect(TextView service, TextView topic, TextView peer,
                                     bool same_instance) {
  if (closed_ || !conversations_.HasRoomFor(peer)) return 0;
  ScopedString hsz_service(service);
  ScopedString hsz_topic(topic);
  if (DdeCallback(kXtypConnect, 0, 0, hsz_topic.get(), hsz_service.get(), 0, 0,
                  same_instance ? 1 : 0) == 0) {
    return 0;
  }
  if (closed_) return 0;  // the service ended while it answered
  return conversations_.Open(peer, hsz_topic.release());
}

std::vector<std::pair<Text, Text>> InProcessTransport::WildConnect(TextView service, TextView topic,
                                                                   bool same_instance) {
  std::vector<std::pair<Text, Text>> pairs;
  ScopedString hsz_service(service);
  ScopedString hsz_topic(topic);
  const uint32_t hdata = DdeCallback(kXtypWildConnect, 0, 0, hsz_topic.get(), hsz_service.get(), 0,
                                     0, same_instance ? 1 : 0);
  if (const DataBlock* block = DataOf(hdata)) {
    for (size_t at = 0; at + 8 <= block->bytes.size(); at += 8) {
      const uint32_t s = ReadHandle(block->bytes, at);
      const uint32_t t = ReadHandle(block->bytes, at + 4);
      if (s == 0 && t == 0) break;
      const Text* sn = StringOf(s);
      const Text* tn = StringOf(t);
      pairs.emplace_back(sn ? *sn : Text(), tn ? *tn : Text());
    }
  }
  ReleaseReceivedData(hdata);
  return pairs;
}

void InProcessTransport::Disconnect(uint32_t conversation, TextView peer) {
  if (conversations_.Find(conversation, peer)) conversations_.Close(conversation);
}

size_t InProcessTransport::Vanish(TextView peer) { return conversations_.ClosePeer(peer); }

std::optional<ByteArray> InProcessTransport::Request(uint32_t conversation, TextView item,
                                                     uint32_t format, TextView peer) {
  const Conversation* c = conversations_.Find(conversation, peer);
  if (c == nullptr) return std::nullopt;
  ScopedString hsz_item(item);
  const uint32_t hdata =
      DdeCallback(kXtypRequest, format, conversation, c->topic, hsz_item.get(), 0, 0, 0);
  const DataBlock* block = DataOf(hdata);
  if (block == nullptr) return std::nullopt;
  ByteArray bytes = block->bytes;
  ReleaseReceivedData(hdata);
  return bytes;
}

uint32_t InProcessTransport::Poke(uint32_t conversation, TextView item,
                                  std::span<const uint8_t> data, uint32_t format, TextView peer) {
  const Conversation* c = conversations_.Find(conversation, peer);
  if (c == nullptr || data.size() > kMaxDataBytes) return 0;
  ScopedString hsz_item(item);
  const uint32_t hdata = data.empty() ? 0 : AddDataHandle(data, hsz_item.get(), format);
  const uint32_t result =
      DdeCallback(kXtypPoke, format, conversation, c->topic, hsz_item.get(), hdata, 0, 0);
  ReleaseReceivedData(hdata);
  return result;
}

uint32_t InProcessTransport::Execute(uint32_t conversation, std::span<const uint8_t> command,
                                     TextView peer) {
  const Conversation* c = conversations_.Find(conversation, peer);
  if (c == nullptr || command.size() > kMaxDataBytes) return 0;
  const uint32_t hdata = command.empty() ? 0 : AddDataHandle(command, 0, kCfText);
  const uint32_t result = DdeCallback(kXtypExecute, 0, conversation, c->topic, 0, hdata, 0, 0);
  ReleaseReceivedData(hdata);
  return result;
}

bool InProcessTransport::AdviseStart(uint32_t conversation, TextView item, uint32_t format,
                                     TextView peer) {
  const Conversation* c = conversations_.Find(conversation, peer);
  if (c == nullptr) return false;
  ScopedString hsz_item(item);
  // A loop there is no room for is refused before the service is asked.
  if (hsz_item.get() == 0 || !Conversations::HasAdviseRoom(*c, hsz_item.get()) ||
      DdeCallback(kXtypAdvStart, format, conversation, c->topic, hsz_item.get(), 0, 0, 0) == 0) {
    return false;
  }
  Conversation* still = conversations_.Find(conversation, peer);  // the service may have ended
  return still != nullptr && conversations_.AddAdvise(*still, hsz_item.release());
}

bool InProcessTransport::AdviseStop(uint32_t conversation, TextView item, TextView peer) {
  Conversation* c = conversations_.Find(conversation, peer);
  if (c == nullptr) return false;
  ScopedString hsz_item(item);
  if (!conversations_.RemoveAdvise(*c, hsz_item.get())) return false;
  DdeCallback(kXtypAdvStop, kCfText, conversation, c->topic, hsz_item.get(), 0, 0, 0);
  return true;
}

uint32_t InProcessTransport::Transact(uint32_t type, uint32_t format, uint32_t conversation,
                                      uint32_t hsz1, uint32_t hsz2, uint32_t hdata, uint32_t data1,
                                      uint32_t data2) {
  return DdeCallback(type, format, conversation, hsz1, hsz2, hdata, data1, data2);
}

}  // namespace qel::internal
