#include "qel/dde/qel_dde_topic.h"

#include <utility>

#include "dde/dde_module.h"
#include "dde/dde_objects_internal.h"
#include "dde/named_list.h"
#include "qel/frame/error.h"

namespace qel {
namespace internal {

std::shared_ptr<QelDdeTopics> DdeTopicsInternal::Make(TextView service_name) {
  auto topics = std::make_shared<QelDdeTopics>();
  topics->service_name_ = service_name;
  return topics;
}

void DdeTopicsInternal::Release(QelDdeTopic& topic) noexcept {
  try {
    if (topic.h_topic_ != 0) FreeString(std::exchange(topic.h_topic_, 0));
  } catch (const Error&) {
  }
  if (topic.items_) topic.items_->Clear();
}

}  // namespace internal

QelDdeTopic::QelDdeTopic() = default;
QelDdeTopic::~QelDdeTopic() = default;

Text QelDdeTopic::LinkName() const { return service_name_ + u"|" + name_ + u"!"; }

void QelDdeTopic::NotifyChange(TextView item_name) {
  Chaining(u"QelDdeTopic.NotifyChange:", [&] {
    const auto item = items_ ? items_->Find(item_name) : nullptr;
    internal::TopicChanged(h_topic_, item ? static_cast<uint32_t>(item->hItem()) : 0);
  });
}

std::shared_ptr<QelDdeItem> QelDdeTopic::QueryItem(TextView item_name) {
  return Chaining(u"QelDdeTopic.QueryItem:", [&]() -> std::shared_ptr<QelDdeItem> {
    const Text name(item_name);
    Variant value = Variant::Null();
    QueryItemEvent.Raise(name, value);
    if (value.IsNull()) return nullptr;
    // A handler may have removed the topic meanwhile: its items are what it held then.
    const auto items = items_;
    if (!items) return nullptr;
    auto item = items->Find(TextView(name));
    if (!item) item = items->Add(name);
    item->SetData(value);
    return item;
  });
}

void QelDdeTopic::ChangeItem(TextView item_name, const Variant& item_data) {
  Chaining(u"QelDdeTopic.ChangeItem:", [&] { ChangeItemEvent.Raise(Text(item_name), item_data); });
}

void QelDdeTopic::Execute(TextView command) {
  Chaining(u"QelDdeTopic.Execute:", [&] { ExecuteEvent.Raise(Text(command)); });
}

// Late-bound handles carry the event in their low two bits, since each event counts its own
// handles from 1.
namespace {
enum EventTag : uint64_t { kExecuteTag = 1, kQueryItemTag = 2, kChangeItemTag = 3 };
uint64_t Tagged(uint64_t handle, EventTag tag) { return (handle << 2) | tag; }
}  // namespace

uint64_t QelDdeTopic::ConnectEvent(TextView name, GenericHandler handler) {
  if (EqualsNoCase(name, u"Execute")) {
    return Tagged(ExecuteEvent.Connect([handler = std::move(handler)](const Text& command) {
      Variant args[] = {Variant(command)};
      handler(args);
    }),
                  kExecuteTag);
  }
  if (EqualsNoCase(name, u"QueryItem")) {
    return Tagged(QueryItemEvent.Connect(
                      [handler = std::move(handler)](const Text& item_name, Variant& item_data) {
                        Variant args[] = {Variant(item_name), item_data};
                        handler(args);
                        item_data = std::move(args[1]);  // passed by reference
                      }),
                  kQueryItemTag);
  }
  if (EqualsNoCase(name, u"ChangeItem")) {
    return Tagged(ChangeItemEvent.Connect([handler = std::move(handler)](const Text& item_name,
                                                                         const Variant& item_data) {
      Variant args[] = {Variant(item_name), item_data};
      handler(args);
    }),
                  kChangeItemTag);
  }
  return Object::ConnectEvent(name, std::move(handler));
}

bool QelDdeTopic::DisconnectEvent(uint64_t handle) {
  switch (handle & 3) {
    case kExecuteTag:
      return ExecuteEvent.Disconnect(handle >> 2);
    case kQueryItemTag:
      return QueryItemEvent.Disconnect(handle >> 2);
    case kChangeItemTag:
      return ChangeItemEvent.Disconnect(handle >> 2);
    default:
      return false;
  }
}

QelDdeTopics::QelDdeTopics() : list_(std::make_unique<internal::NamedList<QelDdeTopic>>()) {}
QelDdeTopics::~QelDdeTopics() = default;

QelDdeTopics::TopicPtr QelDdeTopics::Add(TextView topic_name) {
  const Text name(topic_name);
  return Replacing(
      u"QelDdeTopics.Add", u"No se pudo agregar tópico DDE '%1'%n%2", {Variant(name)}, [&] {
        auto topic = std::make_shared<QelDdeTopic>();
        if (!list_->Add(name, topic)) RaiseRuntime(kErrDuplicateKey);
        try {
          topic->name_ = name;
          topic->service_name_ = service_name_;
          topic->h_topic_ = internal::CreateString(name);
          topic->items_ = internal::DdeItemsInternal::Make(service_name_, name, topic->h_topic_);
        } catch (const Error&) {
          list_->Remove(name);  // no half-made topic stays behind
          throw;
        }
        return topic;
      });
}

QelDdeTopics::TopicPtr QelDdeTopics::Item(const Variant& key) const {
  const internal::CollectionKey k(key);
  if (auto topic = internal::FindByKey(*list_, k)) return topic;
  RaiseError(k.by_position ? kErrSubscript : kErrInvalidCall, u"QelDdeTopics.Item",
             u"Tópico DDE '%1' no existe", {k.by_position ? Variant(k.position) : Variant(k.name)});
}

QelDdeTopics::TopicPtr QelDdeTopics::Find(const Variant& key) const {
  return internal::FindByKey(*list_, internal::CollectionKey(key));
}

QelDdeTopics::TopicPtr QelDdeTopics::Find(TextView name) const { return list_->Find(name); }

bool QelDdeTopics::Remove(const Variant& key) {
  const auto topic = Find(key);
  if (!topic) return false;
  list_->Remove(topic->Name());
  internal::DdeTopicsInternal::Release(*topic);
  return true;
}

void QelDdeTopics::Clear() {
  for (const auto& topic : list_->TakeAll()) internal::DdeTopicsInternal::Release(*topic);
}

int32_t QelDdeTopics::Count() const { return static_cast<int32_t>(list_->size()); }

std::vector<QelDdeTopics::TopicPtr> QelDdeTopics::NewEnum() const { return list_->members(); }

}  // namespace qel
