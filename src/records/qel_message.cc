#include "qel/records/qel_message.h"

#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_record.h"

namespace qel {
namespace {

// The payload as a T: null for Nothing, 424 for no object, 13 for another kind of object.
template <class T>
std::shared_ptr<T> PayloadAs(const Variant& data) {
  if (!data.IsObject()) RaiseRuntime(kErrObjectRequired);
  ObjectPtr obj = data.AsObject();
  if (!obj) return nullptr;
  auto typed = std::dynamic_pointer_cast<T>(obj);
  if (!typed) RaiseRuntime(kErrTypeMismatch);
  return typed;
}

}  // namespace

void QelMessage::SetName(TextView name) {
  Text n;
  for (char16_t c : name) {
    if (c != u' ') n.push_back(c);
  }
  name_ = n.empty() ? Text(u"[UNDEFINED]") : std::move(n);
}

bool QelMessage::IsProps() const {
  return std::dynamic_pointer_cast<QelProps>(data_.AsObject()) != nullptr;
}

bool QelMessage::IsRecord() const {
  return std::dynamic_pointer_cast<QelRecord>(data_.AsObject()) != nullptr;
}

std::shared_ptr<QelProps> QelMessage::Props() const {
  return Replacing(u"QelMessage.Props", u"No se pudo obtener la Propiedad%n%1", {},
                   [&] { return PayloadAs<QelProps>(data_); });
}

void QelMessage::SetProps(std::shared_ptr<QelProps> props) { data_ = Variant(std::move(props)); }

std::shared_ptr<QelRecord> QelMessage::Record() const {
  return Replacing(u"QelMessage.Record", u"No se pudo obtener el Registro%n%1", {},
                   [&] { return PayloadAs<QelRecord>(data_); });
}

void QelMessage::SetRecord(std::shared_ptr<QelRecord> record) {
  data_ = Variant(std::move(record));
}

ptrdiff_t QelMessages::Locate(const Variant& key, int32_t* error) const noexcept {
  if (key.IsText()) {
    const Text& k = key.Get<Text>();
    for (size_t i = 0; i < entries_.size(); ++i) {
      if (!entries_[i].key.empty() && EqualsNoCase(entries_[i].key, k)) {
        return static_cast<ptrdiff_t>(i);
      }
    }
    *error = kErrInvalidCall;
    return -1;
  }
  const int32_t position = ToLongOr(key, 0);
  if (key.IsNumeric() && position >= 1 && static_cast<size_t>(position) <= entries_.size()) {
    return position - 1;
  }
  *error = key.IsNumeric() ? kErrSubscript : kErrTypeMismatch;
  return -1;
}

void QelMessages::Add(QelMessagePtr message, TextView name) {
  Replacing(u"QelMessages.Add", u"No se pudo agregar mensaje%n%1", {}, [&] {
    if (!name.empty()) {
      int32_t error = 0;
      if (Locate(Variant(name), &error) >= 0) RaiseRuntime(kErrDuplicateKey);
    }
    entries_.push_back({Text(name), std::move(message)});
  });
}

QelMessagePtr QelMessages::Item(const Variant& key) const {
  int32_t error = 0;
  const ptrdiff_t i = Locate(key, &error);
  if (i < 0) {
    RaiseReplacing(Error(error, kPlatformSource, RuntimeErrorText(error)), u"QelMessages.Item",
                   u"El mensaje '%1' no existe", {key});
  }
  return entries_[static_cast<size_t>(i)].message;
}

QelMessagePtr QelMessages::Find(const Variant& key) const noexcept {
  int32_t error = 0;
  const ptrdiff_t i = Locate(key, &error);
  return i < 0 ? nullptr : entries_[static_cast<size_t>(i)].message;
}

bool QelMessages::Remove(const Variant& key) noexcept {
  int32_t error = 0;
  const ptrdiff_t i = Locate(key, &error);
  if (i < 0) return false;
  entries_.erase(entries_.begin() + i);
  return true;
}

}  // namespace qel
