// The transport under the DDE dispatch: what carries transactions between the service and its
// clients.
//
// The dispatch module (dde_module.h) owns the service's state and answers transactions in
// DdeCallback; a transport stands where the platform's DDE library stood. It registers the
// service name, turns each client request into one DdeCallback call with string handles and
// data handles of the thread's instance, returns the answer to the client, and keeps the
// advise loops its clients started: PostAdvise asks the service for the current value of
// every matching loop (XTYP_ADVREQ) and sends it to that loop's client.
//
// Transports are made by the thread's factory at Initialize and live until Terminate; a
// transport runs on the thread that made it. Everything a client sends is bounded by the
// limits below; a transaction over them is refused without reaching the service.
#ifndef QEL_SRC_DDE_DDE_TRANSPORT_H_
#define QEL_SRC_DDE_DDE_TRANSPORT_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "qel/frame/text.h"

namespace qel::internal {

// Transaction types (the values the dispatch table is written against).
inline constexpr uint32_t kXtypAdvData = 0x4010;
inline constexpr uint32_t kXtypAdvReq = 0x2022;
inline constexpr uint32_t kXtypAdvStart = 0x1030;
inline constexpr uint32_t kXtypAdvStop = 0x8040;
inline constexpr uint32_t kXtypExecute = 0x4050;
inline constexpr uint32_t kXtypConnect = 0x1062;
inline constexpr uint32_t kXtypConnectConfirm = 0x8072;
inline constexpr uint32_t kXtypXactComplete = 0x8080;
inline constexpr uint32_t kXtypPoke = 0x4090;
inline constexpr uint32_t kXtypRegister = 0x80A2;
inline constexpr uint32_t kXtypRequest = 0x20B0;
inline constexpr uint32_t kXtypDisconnect = 0x80C2;
inline constexpr uint32_t kXtypUnregister = 0x80D2;
inline constexpr uint32_t kXtypWildConnect = 0x20E2;
inline constexpr uint32_t kXtypError = 0x8002;
inline constexpr uint32_t kXtypMonitor = 0x80F2;

inline constexpr uint32_t kCfText = 1;        // the only clipboard format served
inline constexpr uint32_t kDdeFack = 0x8000;  // poke and execute accepted

// Limits on what one client may send or hold.
inline constexpr size_t kMaxDataBytes = 1 << 20;  // a poked or executed block
inline constexpr size_t kMaxNameUnits = 255;      // a topic or item name
inline constexpr size_t kMaxConversationsPerPeer = 256;
inline constexpr size_t kMaxConversations = 4096;  // all peers together
inline constexpr size_t kMaxAdviseLoopsPerConversation = 1024;

class DdeTransport {
 public:
  virtual ~DdeTransport() = default;

  // Connects to the transport's medium. 0, or the DDE error code of the failure.
  virtual uint32_t Open() = 0;
  // Makes the service reachable under `service`. False on failure, with `error` set to a DDE
  // error code or 0 when there is none to tell.
  virtual bool Register(TextView service, uint32_t& error) = 0;
  // Ends every conversation and disconnects. Never fails.
  virtual void Close() noexcept = 0;
  // Sends the current value to every advise loop on `topic` and `item` (every item of the
  // topic when `item` is 0). False when the transport cannot send.
  virtual bool PostAdvise(uint32_t topic, uint32_t item) = 0;
};

using TransportFactory = std::function<std::shared_ptr<DdeTransport>()>;

// Replaces the calling thread's transport factory (the D-Bus session bus by default); an empty
// function restores the default. Takes effect at the next Initialize.
void SetTransportFactoryForTesting(TransportFactory factory);

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_DDE_TRANSPORT_H_
