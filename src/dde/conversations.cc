#include "dde/conversations.h"

#include <utility>

#include "dde/dde_module.h"

namespace qel::internal {

bool Conversations::HasRoomFor(TextView peer) const {
  if (by_id_.size() >= kMaxConversations) return false;
  auto it = per_peer_.find(Text(peer));
  return it == per_peer_.end() || it->second < kMaxConversationsPerPeer;
}

uint32_t Conversations::Open(TextView peer, uint32_t topic) {
  do {
    ++last_id_;
  } while (last_id_ == 0 || by_id_.contains(last_id_));
  Conversation& c = by_id_[last_id_];
  c.id = last_id_;
  c.peer = peer;
  c.topic = topic;
  ++per_peer_[c.peer];
  return c.id;
}

Conversation* Conversations::Find(uint32_t id, TextView peer) {
  auto it = by_id_.find(id);
  if (it == by_id_.end() || it->second.peer != peer) return nullptr;
  return &it->second;
}

void Conversations::Close(uint32_t id) {
  auto it = by_id_.find(id);
  if (it == by_id_.end()) return;
  Conversation c = std::move(it->second);
  by_id_.erase(it);
  auto peer = per_peer_.find(c.peer);
  if (peer != per_peer_.end() && --peer->second == 0) per_peer_.erase(peer);
  for (uint32_t item : c.advise) ReleaseStringHandle(item);
  ReleaseStringHandle(c.topic);
}

size_t Conversations::ClosePeer(TextView peer) {
  std::vector<uint32_t> ids;
  for (const auto& [id, c] : by_id_) {
    if (c.peer == peer) ids.push_back(id);
  }
  for (uint32_t id : ids) Close(id);
  return ids.size();
}

void Conversations::CloseAll() {
  while (!by_id_.empty()) Close(by_id_.begin()->first);
}

size_t Conversations::AdviseLoops() const {
  size_t n = 0;
  for (const auto& [id, c] : by_id_) n += c.advise.size();
  return n;
}

bool Conversations::AddAdvise(Conversation& c, uint32_t item) {
  if (c.advise.contains(item) || c.advise.size() >= kMaxAdviseLoopsPerConversation) {
    const bool had = c.advise.contains(item);
    ReleaseStringHandle(item);
    return had;
  }
  c.advise.insert(item);
  return true;
}

bool Conversations::RemoveAdvise(Conversation& c, uint32_t item) {
  if (c.advise.erase(item) == 0) return false;
  ReleaseStringHandle(item);
  return true;
}

void Conversations::PostAdvise(uint32_t topic, uint32_t item, const Deliver& deliver) {
  // The loops as they are now; each is checked again before its turn, since a handler run by
  // an earlier one may have ended it.
  std::vector<std::pair<uint32_t, uint32_t>> loops;
  for (const auto& [id, c] : by_id_) {
    if (c.topic != topic) continue;
    for (uint32_t loop_item : c.advise) {
      if (item == 0 || loop_item == item) loops.emplace_back(id, loop_item);
    }
  }
  uint32_t remaining = static_cast<uint32_t>(loops.size());
  for (const auto& [id, loop_item] : loops) {
    --remaining;
    auto it = by_id_.find(id);
    if (it == by_id_.end() || !it->second.advise.contains(loop_item)) continue;
    const uint32_t hdata = DdeCallback(kXtypAdvReq, kCfText, id, topic, loop_item, 0, remaining, 0);
    if (hdata == 0) continue;
    const DataBlock* block = DataOf(hdata);
    it = by_id_.find(id);  // the callback may have closed it
    if (block != nullptr && it != by_id_.end()) deliver(it->second, loop_item, block->bytes);
    ReleaseReceivedData(hdata);
  }
}

}  // namespace qel::internal
