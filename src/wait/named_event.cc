// The registry maps names to weak references under one mutex. Names come from outside (any
// caller of SetNamedEvent), so the map hashes them with the process's keyed hash; an entry
// lives only while its event does, and the event's deleter removes it, so the registry never
// holds more entries than there are live events.
#include "wait/named_event.h"

#include <functional>
#include <unordered_map>

#include "frame/keyed_hash.h"

namespace qel::internal {
namespace {

struct Registry {
  std::mutex mu;
  std::unordered_map<Text, std::weak_ptr<NamedEvent>, KeyedTextHash, std::equal_to<>> events;
};

Registry& Events() {
  static auto* registry = new Registry;  // outlives the events static destructors free
  return *registry;
}

}  // namespace

bool NamedEvent::Set() {
  std::lock_guard lock(mu_);
  if (set_) return true;
  set_ = fd_.Signal();
  return set_;
}

bool NamedEvent::Reset() {
  std::lock_guard lock(mu_);
  if (!set_) return fd_.valid();
  set_ = !fd_.Consume();
  return !set_;
}

std::shared_ptr<NamedEvent> OpenNamedEvent(TextView name) {
  Registry& r = Events();
  std::lock_guard lock(r.mu);
  auto [it, fresh] = r.events.try_emplace(Text(name));
  if (!fresh) {
    if (auto existing = it->second.lock()) return existing;
  }
  EventFd fd = EventFd::Create();
  if (!fd.valid()) {
    r.events.erase(it);
    return nullptr;
  }
  // The deleter drops the entry unless a newer event took the name meanwhile.
  std::shared_ptr<NamedEvent> event(new NamedEvent(std::move(fd)),
                                    [key = it->first](NamedEvent* e) {
                                      Registry& reg = Events();
                                      {
                                        std::lock_guard lock(reg.mu);
                                        auto found = reg.events.find(key);
                                        if (found != reg.events.end() && found->second.expired())
                                          reg.events.erase(found);
                                      }
                                      delete e;
                                    });
  it->second = event;
  return event;
}

std::shared_ptr<NamedEvent> FindNamedEvent(TextView name) {
  Registry& r = Events();
  std::lock_guard lock(r.mu);
  auto it = r.events.find(Text(name));
  return it == r.events.end() ? nullptr : it->second.lock();
}

}  // namespace qel::internal
