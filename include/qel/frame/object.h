// qel::Object: what every public class shares.
//
// Objects are created by std::make_shared (directly or through CreateObject) and shared by
// reference; Self hands out another reference to the same object. An object belongs to the
// thread that made it and takes no locks.
//
// Events: a class declares typed qel::Event<...> members; handlers run synchronously on the
// raising thread in the order they connected; an exception thrown by a handler propagates to
// whoever raised the event unless the class says otherwise. Late-bound clients (Python) reach
// the same events by name through ConnectEvent.
#ifndef QEL_FRAME_OBJECT_H_
#define QEL_FRAME_OBJECT_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "qel/frame/export.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel {

// A list of handlers for one event with arguments A.
//
// A handler may connect or disconnect handlers of the same event, or drop the object that owns
// the event, while it runs: Raise calls the handlers connected when it started, skips those
// disconnected meanwhile, and touches nothing of the event after a handler has run except
// through its own references.
template <class... A>
class Event {
 public:
  using Handler = std::function<void(A...)>;

  Event() = default;
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;
  // A raise under way skips the handlers that have not run yet.
  ~Event() {
    for (const auto& entry : handlers_) entry->connected = false;
    Tally(-static_cast<int64_t>(handlers_.size()));
  }

  // Returns a handle for Disconnect; never 0.
  uint64_t Connect(Handler h) {
    handlers_.push_back(std::make_shared<Entry>(++last_id_, std::move(h)));
    Tally(1);
    return last_id_;
  }
  bool Disconnect(uint64_t handle) {
    for (auto it = handlers_.begin(); it != handlers_.end(); ++it) {
      if ((*it)->id == handle) {
        (*it)->connected = false;
        handlers_.erase(it);
        Tally(-1);
        return true;
      }
    }
    return false;
  }
  bool empty() const { return handlers_.empty(); }
  template <class... U>
  void Raise(U&&... args) {
    if (handlers_.empty()) return;
    // The snapshot keeps every entry alive however the list changes, or goes, meanwhile.
    const std::vector<std::shared_ptr<Entry>> snapshot = handlers_;
    for (const auto& entry : snapshot) {
      if (entry->connected) entry->handler(args...);
    }
  }

 private:
  struct Entry {
    Entry(uint64_t i, Handler h) : id(i), handler(std::move(h)) {}
    uint64_t id;
    Handler handler;
    bool connected = true;
  };

  friend class EventInternal;
  void Tally(int64_t change) {
    if (tally_) *tally_ += change;
  }

  std::vector<std::shared_ptr<Entry>> handlers_;
  uint64_t last_id_ = 0;
  // Where the library counts the handlers of a group of events it asks about as one; null
  // for most events.
  std::shared_ptr<int64_t> tally_;
};

class QEL_EXPORT Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  // The public class name, e.g. u"QelRecord".
  virtual TextView ClassName() const = 0;

  // Another reference to this object. Raises 91 when the object is not shared (made on the
  // stack rather than by make_shared).
  ObjectPtr Self();

  // The default member's value, for conversions and templates; nullopt when the class has
  // none.
  virtual std::optional<Variant> DefaultValue() { return std::nullopt; }

  // Object-safety interface: accept anything, change nothing, succeed (return 0).
  int32_t GetInterfaceSafetyOptions(std::span<const Variant> = {}) const { return 0; }
  int32_t SetInterfaceSafetyOptions(std::span<const Variant> = {}) const { return 0; }

  // Events by name for late-bound clients. Handlers get the event's arguments as Variants and
  // may change those the event passes by reference. Raises 438 for a name the class does not
  // raise. Disconnect answers whether the handle was connected.
  using GenericHandler = std::function<void(std::span<Variant>)>;
  virtual uint64_t ConnectEvent(TextView name, GenericHandler handler);
  virtual bool DisconnectEvent(uint64_t handle);

 protected:
  Object() = default;
};

// Creates an object of a creatable class by its name (case-insensitive). Raises 429 for a name
// no subsystem registered.
QEL_EXPORT ObjectPtr CreateObject(TextView class_name);
// The creatable class names, in registration order.
QEL_EXPORT std::vector<Text> CreatableClasses();

}  // namespace qel

#endif  // QEL_FRAME_OBJECT_H_
