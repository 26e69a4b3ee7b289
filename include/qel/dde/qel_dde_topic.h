// QelDdeTopics and QelDdeTopic: the topics a DDE service offers, and their events.
//
// A client opens a conversation on a topic, then requests, pokes, executes and runs advise
// loops on the topic's items. The topic answers through three events, raised on the thread
// that initialised the service from inside its event loop (the application's GLib loop or
// QelWaiter.WaitForEvent):
//  - Execute(Command): a client's execute; Command is the whole data block as text (it ends
//    with the zero character when the client sent one).
//  - QueryItem(ItemName, ItemData&): a client starts an advise loop or an advise loop asks for
//    the item's new value. ItemData enters as Null; the handler sets it to supply the value,
//    which creates the item when needed. Left Null, the advise is refused. An empty text
//    creates the item with an empty value.
//  - ChangeItem(ItemName, ItemData): a client's poke, ItemData the text poked (the item's
//    stored value does not change).
// An error raised by a handler passes through the topic method with its source prefixed by
// "QelDdeTopic.Execute:", "QelDdeTopic.QueryItem:" or "QelDdeTopic.ChangeItem:"; a client's
// transaction never sees it: it is written to the error log.
//
// Collections key topics by name without regard to case, or by 1-based position; enumeration
// follows insertion order. Errors: "QelDdeTopics.Add", "No se pudo agregar tópico DDE '%1'" +
// line break + inner description (457 for a duplicate); "QelDdeTopics.Item", "Tópico DDE '%1'
// no existe" (5 for an absent name, 9 for a position out of range).
//
// Belongs to the thread that initialised the service; no locks.
#ifndef QEL_DDE_QEL_DDE_TOPIC_H_
#define QEL_DDE_QEL_DDE_TOPIC_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "qel/dde/qel_dde_item.h"
#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel {

namespace internal {
class DdeTopicsInternal;
}  // namespace internal

class QelDdeTopics;

class QEL_EXPORT QelDdeTopic final : public Object {
 public:
  QelDdeTopic();
  ~QelDdeTopic() override;

  TextView ClassName() const override { return u"QelDdeTopic"; }

  const Text& Name() const { return name_; }
  const Text& ServiceName() const { return service_name_; }
  // ServiceName + "|" + Name + "!", ready for an item name to be appended.
  Text LinkName() const;
  // The string handle of the name; 0 before initialisation or after release.
  int32_t hTopic() const { return static_cast<int32_t>(h_topic_); }
  // The items; nullptr before initialisation.
  std::shared_ptr<QelDdeItems> Items() const { return items_; }

  // Tells the clients advising the item that it changed; they then ask for its value through
  // QueryItem. A name no item has refreshes every advise loop of the topic.
  void NotifyChange(TextView item_name);
  // Raises QueryItem; a value supplied by a handler is stored in the item (created when
  // absent), which is returned. nullptr when no handler supplied a value.
  std::shared_ptr<QelDdeItem> QueryItem(TextView item_name);
  // Raises ChangeItem.
  void ChangeItem(TextView item_name, const Variant& item_data);
  // Raises Execute.
  void Execute(TextView command);

  Event<const Text&> ExecuteEvent;                     // late-bound name "Execute"
  Event<const Text&, Variant&> QueryItemEvent;         // "QueryItem"
  Event<const Text&, const Variant&> ChangeItemEvent;  // "ChangeItem"

  uint64_t ConnectEvent(TextView name, GenericHandler handler) override;
  bool DisconnectEvent(uint64_t handle) override;

 private:
  friend class QelDdeTopics;
  friend class internal::DdeTopicsInternal;
  Text name_;
  Text service_name_;
  uint32_t h_topic_ = 0;
  std::shared_ptr<QelDdeItems> items_;
};

class QEL_EXPORT QelDdeTopics final : public Object {
 public:
  using TopicPtr = std::shared_ptr<QelDdeTopic>;

  QelDdeTopics();
  ~QelDdeTopics() override;

  TextView ClassName() const override { return u"QelDdeTopics"; }

  const Text& ServiceName() const { return service_name_; }

  // A new topic without items, added under `topic_name`.
  TopicPtr Add(TextView topic_name);
  // By name (any key that is not a number, as its text) or 1-based position; raises when
  // absent.
  TopicPtr Item(const Variant& key) const;
  // As Item, but nullptr when absent.
  TopicPtr Find(const Variant& key) const;
  TopicPtr Find(TextView name) const;
  TopicPtr Find(const char16_t* name) const { return Find(TextView(name)); }
  // Removes the topic, clears its items and releases its handle; false when absent.
  bool Remove(const Variant& key);
  // Removes and releases every topic.
  void Clear();
  int32_t Count() const;
  // The topics in insertion order, as they are now.
  std::vector<TopicPtr> NewEnum() const;

 private:
  friend class internal::DdeTopicsInternal;
  Text service_name_;
  std::unique_ptr<internal::NamedList<QelDdeTopic>> list_;
};

}  // namespace qel

#endif  // QEL_DDE_QEL_DDE_TOPIC_H_
