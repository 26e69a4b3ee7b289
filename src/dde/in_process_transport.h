// InProcessTransport: a transport whose clients are calls in the same thread, for the tests,
// the fuzz target and the benchmarks.
//
// It plays the part of the platform's DDE library: a client connects to the service by name,
// then requests, pokes, executes and runs advise loops, each call becoming one DdeCallback as
// a DDE client's transaction would. Advise data is collected for the client to take. A client
// is named by a peer text so that several clients, and one that vanishes, can be played.
//
// REQUIRES: used on the thread whose service made it (through the transport factory).
#ifndef QEL_SRC_DDE_IN_PROCESS_TRANSPORT_H_
#define QEL_SRC_DDE_IN_PROCESS_TRANSPORT_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "dde/conversations.h"
#include "dde/dde_transport.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel::internal {

class InProcessTransport final : public DdeTransport,
                                 public std::enable_shared_from_this<InProcessTransport> {
 public:
  struct Advice {
    uint32_t conversation;
    Text item;
    ByteArray bytes;
  };

  // What Open and Register answer, for playing a failing platform.
  uint32_t open_error = 0;
  bool register_fails = false;

  uint32_t Open() override { return open_error; }
  bool Register(TextView service, uint32_t& error) override;
  void Close() noexcept override;
  bool PostAdvise(uint32_t topic, uint32_t item) override;

  const Text& service() const { return service_; }
  bool closed() const { return closed_; }

  // Client side. `same_instance` plays a client of the service's own instance.
  uint32_t Connect(TextView service, TextView topic, TextView peer = u"client",
                   bool same_instance = false);
  // (service, topic) pairs; an empty service or topic is the wildcard.
  std::vector<std::pair<Text, Text>> WildConnect(TextView service, TextView topic,
                                                 bool same_instance = false);
  void Disconnect(uint32_t conversation, TextView peer = u"client");
  // The peer's conversations end, as when a client goes away.
  size_t Vanish(TextView peer);
  // The bytes of the reply; nullopt when the service gave no data.
  std::optional<ByteArray> Request(uint32_t conversation, TextView item, uint32_t format = kCfText,
                                   TextView peer = u"client");
  // The service's result (kDdeFack or 0). Empty `data` travels as no data handle at all.
  uint32_t Poke(uint32_t conversation, TextView item, std::span<const uint8_t> data,
                uint32_t format = kCfText, TextView peer = u"client");
  uint32_t Execute(uint32_t conversation, std::span<const uint8_t> command,
                   TextView peer = u"client");
  bool AdviseStart(uint32_t conversation, TextView item, uint32_t format = kCfText,
                   TextView peer = u"client");
  bool AdviseStop(uint32_t conversation, TextView item, TextView peer = u"client");
  std::vector<Advice> TakeAdvices() { return std::exchange(advices_, {}); }

  // A raw transaction with handles the caller made; for the fuzz target.
  uint32_t Transact(uint32_t type, uint32_t format, uint32_t conversation, uint32_t hsz1,
                    uint32_t hsz2, uint32_t hdata, uint32_t data1, uint32_t data2);

  size_t conversation_count() const { return conversations_.size(); }
  size_t advise_loop_count() const { return conversations_.AdviseLoops(); }

 private:
  Text service_;
  bool closed_ = false;
  Conversations conversations_;
  std::vector<Advice> advices_;
};

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_IN_PROCESS_TRANSPORT_H_
