// QelDdeItems and QelDdeItem: the items a topic of the DDE service publishes.
//
// An item holds its current value as a data handle (hData) ready to be handed to any number
// of clients: the value as Windows-1252 text with its terminating zero byte. The collection
// keys items by name without regard to case, or by 1-based position; enumeration follows
// insertion order. Items are created by Add or, when a client starts an advise loop, by the
// topic's QueryItem event. Remove and Clear release the items' handles; an item kept by the
// application after that has no handles (0) and no Data.
//
// Errors: "QelDdeItems.Add" with "No se pudo agregar item DDE '%1'" + line break + the inner
// description (a duplicate name gives number 457; a service that is not initialised the DDE
// error of the handle helpers); "QelDdeItems.Item" with "Item DDE '%1' no existe" (number 5
// for an absent name, 9 for a position out of range). Find never raises.
//
// Belongs to the thread that initialised the service; no locks.
#ifndef QEL_DDE_QEL_DDE_ITEM_H_
#define QEL_DDE_QEL_DDE_ITEM_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel {

namespace internal {
template <class T>
class NamedList;
class DdeItemsInternal;
}  // namespace internal

class QelDdeItems;

class QEL_EXPORT QelDdeItem final : public Object {
 public:
  QelDdeItem();
  ~QelDdeItem() override;

  TextView ClassName() const override { return u"QelDdeItem"; }

  const Text& Name() const { return name_; }
  const Text& TopicName() const { return topic_name_; }
  const Text& ServiceName() const { return service_name_; }
  // ServiceName + "|" + TopicName + "!" + Name.
  Text LinkName() const;
  // The string handle of the name; 0 before initialisation or after release.
  int32_t hItem() const { return static_cast<int32_t>(h_item_); }
  // The string handle of the topic's name.
  int32_t hTopic() const { return static_cast<int32_t>(h_topic_); }
  // The data handle of the current value; 0 when there is none.
  int32_t hData() const { return static_cast<int32_t>(h_data_); }
  // The current value: the bytes of the data handle (terminating zero included), or Null.
  Variant Data() const;
  // Replaces the value: a byte array is taken as Windows-1252 text, anything else is
  // converted to text (CStr). Does not notify clients (see QelDdeTopic::NotifyChange).
  void SetData(const Variant& item_data);

 private:
  friend class QelDdeItems;
  friend class internal::DdeItemsInternal;
  Text name_;
  Text topic_name_;
  Text service_name_;
  uint32_t h_item_ = 0;
  uint32_t h_topic_ = 0;
  uint32_t h_data_ = 0;
};

class QEL_EXPORT QelDdeItems final : public Object {
 public:
  using ItemPtr = std::shared_ptr<QelDdeItem>;

  QelDdeItems();
  ~QelDdeItems() override;

  TextView ClassName() const override { return u"QelDdeItems"; }

  const Text& ServiceName() const { return service_name_; }
  const Text& TopicName() const { return topic_name_; }
  int32_t hTopic() const { return static_cast<int32_t>(h_topic_); }

  // A new item without value, added under `item_name`.
  ItemPtr Add(TextView item_name);
  // By name (any key that is not a number, as its text) or 1-based position; raises when
  // absent.
  ItemPtr Item(const Variant& key) const;
  // As Item, but nullptr when absent.
  ItemPtr Find(const Variant& key) const;
  ItemPtr Find(TextView name) const;
  ItemPtr Find(const char16_t* name) const { return Find(TextView(name)); }
  // Removes and releases the item; false when absent.
  bool Remove(const Variant& key);
  // Removes and releases every item.
  void Clear();
  int32_t Count() const;
  // The items in insertion order, as they are now.
  std::vector<ItemPtr> NewEnum() const;

 private:
  friend class internal::DdeItemsInternal;
  Text service_name_;
  Text topic_name_;
  uint32_t h_topic_ = 0;
  std::unique_ptr<internal::NamedList<QelDdeItem>> list_;
};

}  // namespace qel

#endif  // QEL_DDE_QEL_DDE_ITEM_H_
