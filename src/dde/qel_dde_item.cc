#include "qel/dde/qel_dde_item.h"

#include <utility>

#include "dde/dde_module.h"
#include "dde/dde_objects_internal.h"
#include "dde/named_list.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {
namespace internal {

CollectionKey::CollectionKey(const Variant& key)
    : by_position(key.IsNumeric()),
      position(by_position ? CLng(key) : 0),
      name(by_position ? Text() : CStr(key)) {}

std::shared_ptr<QelDdeItems> DdeItemsInternal::Make(TextView service_name, TextView topic_name,
                                                    uint32_t topic_handle) {
  auto items = std::make_shared<QelDdeItems>();
  items->service_name_ = service_name;
  items->topic_name_ = topic_name;
  items->h_topic_ = topic_handle;
  return items;
}

void DdeItemsInternal::Release(QelDdeItem& item) noexcept {
  try {
    if (item.h_item_ != 0) FreeString(std::exchange(item.h_item_, 0));
  } catch (const Error&) {
  }
  try {
    if (item.h_data_ != 0) FreeData(std::exchange(item.h_data_, 0));
  } catch (const Error&) {
  }
}

}  // namespace internal

QelDdeItem::QelDdeItem() = default;
QelDdeItem::~QelDdeItem() = default;

Text QelDdeItem::LinkName() const { return service_name_ + u"|" + topic_name_ + u"!" + name_; }

Variant QelDdeItem::Data() const { return internal::QueryData(h_data_); }

void QelDdeItem::SetData(const Variant& item_data) {
  if (h_data_ != 0) internal::FreeData(std::exchange(h_data_, 0));
  h_data_ = internal::CreateData(h_item_, item_data);
}

QelDdeItems::QelDdeItems() : list_(std::make_unique<internal::NamedList<QelDdeItem>>()) {}
QelDdeItems::~QelDdeItems() = default;

QelDdeItems::ItemPtr QelDdeItems::Add(TextView item_name) {
  const Text name(item_name);
  return Replacing(u"QelDdeItems.Add", u"No se pudo agregar item DDE '%1'%n%2", {Variant(name)},
                   [&] {
                     auto item = std::make_shared<QelDdeItem>();
                     if (!list_->Add(name, item)) RaiseRuntime(kErrDuplicateKey);
                     try {
                       Chaining(u"QelDdeItem.Initialize:", [&] {
                         item->name_ = name;
                         item->topic_name_ = topic_name_;
                         item->service_name_ = service_name_;
                         item->h_topic_ = h_topic_;
                         item->h_item_ = internal::CreateString(name);
                       });
                     } catch (const Error&) {
                       list_->Remove(name);  // no half-made item stays behind
                       throw;
                     }
                     return item;
                   });
}

QelDdeItems::ItemPtr QelDdeItems::Item(const Variant& key) const {
  const internal::CollectionKey k(key);
  if (auto item = internal::FindByKey(*list_, k)) return item;
  RaiseError(k.by_position ? kErrSubscript : kErrInvalidCall, u"QelDdeItems.Item",
             u"Item DDE '%1' no existe", {k.by_position ? Variant(k.position) : Variant(k.name)});
}

QelDdeItems::ItemPtr QelDdeItems::Find(const Variant& key) const {
  return internal::FindByKey(*list_, internal::CollectionKey(key));
}

QelDdeItems::ItemPtr QelDdeItems::Find(TextView name) const { return list_->Find(name); }

bool QelDdeItems::Remove(const Variant& key) {
  const auto item = Find(key);
  if (!item) return false;
  list_->Remove(item->Name());
  internal::DdeItemsInternal::Release(*item);
  return true;
}

void QelDdeItems::Clear() {
  for (const auto& item : list_->TakeAll()) internal::DdeItemsInternal::Release(*item);
}

int32_t QelDdeItems::Count() const { return static_cast<int32_t>(list_->size()); }

std::vector<QelDdeItems::ItemPtr> QelDdeItems::NewEnum() const { return list_->members(); }

}  // namespace qel
