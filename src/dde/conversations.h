// Conversations and advise loops, as both transports keep them.
//
// A conversation belongs to one peer (the client that opened it) and one topic; only that
// peer may use it. It holds a reference to the topic's string handle, and each of its advise
// loops a reference to the item's; closing releases them. The limits of dde_transport.h bound
// how many conversations a peer, and all peers, may hold, and how many loops one conversation
// runs, so a client cannot make the service grow without end.
#ifndef QEL_SRC_DDE_CONVERSATIONS_H_
#define QEL_SRC_DDE_CONVERSATIONS_H_

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "dde/dde_transport.h"
#include "qel/frame/text.h"

namespace qel::internal {

struct Conversation {
  uint32_t id = 0;
  Text peer;
  uint32_t topic = 0;                   // string handle, referenced
  std::unordered_set<uint32_t> advise;  // item string handles, referenced
};

class Conversations {
 public:
  Conversations() = default;
  Conversations(const Conversations&) = delete;
  Conversations& operator=(const Conversations&) = delete;
  ~Conversations() { CloseAll(); }

  // True when `peer` may open one more conversation.
  bool HasRoomFor(TextView peer) const;
  // A new conversation of `peer` on `topic`, whose reference it takes. REQUIRES: HasRoomFor.
  uint32_t Open(TextView peer, uint32_t topic);
  // The conversation `id` of `peer`, or nullptr (absent, or another peer's).
  Conversation* Find(uint32_t id, TextView peer);
  // Closes and releases; does nothing for an unknown id.
  void Close(uint32_t id);
  // Closes every conversation of `peer`; answers how many.
  size_t ClosePeer(TextView peer);
  void CloseAll();
  size_t size() const { return by_id_.size(); }
  size_t AdviseLoops() const;

  // True when `c` runs a loop on `item` or may start one more.
  static bool HasAdviseRoom(const Conversation& c, uint32_t item) {
    return c.advise.contains(item) || c.advise.size() < kMaxAdviseLoopsPerConversation;
  }
  // Starts a loop on `item`, taking its reference (released at once when the loop exists or
  // the conversation runs as many as it may). False when there is no room.
  bool AddAdvise(Conversation& c, uint32_t item);
  // Stops a loop; false when none ran.
  bool RemoveAdvise(Conversation& c, uint32_t item);

  // For every loop on `topic` and `item` (every item when 0) that still runs when its turn
  // comes: asks the service for the value (XTYP_ADVREQ) and hands the bytes to `deliver`.
  using Deliver =
      std::function<void(const Conversation&, uint32_t item, std::span<const uint8_t> bytes)>;
  void PostAdvise(uint32_t topic, uint32_t item, const Deliver& deliver);

 private:
  std::map<uint32_t, Conversation> by_id_;  // ordered: advise loops run in opening order
  std::unordered_map<Text, size_t> per_peer_;
  uint32_t last_id_ = 0;
};

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_CONVERSATIONS_H_
