// QelMessage and QelMessages: named envelopes carrying one payload, and a keyed collection of
// them.
//
// A message has a name without spaces (never empty: "[UNDEFINED]" stands in), free sender
// text and a payload of any value: a plain value is kept as a copy, an object (a QelRecord,
// a QelProps or any other) by reference. The collection keeps messages in insertion order,
// each under a key (text, compared without regard to case) or without one, and finds them by
// key or by 1-based position. Both belong to the thread that made them.
#ifndef QEL_RECORDS_QEL_MESSAGE_H_
#define QEL_RECORDS_QEL_MESSAGE_H_

#include <memory>
#include <vector>

#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

class QelProps;
class QelRecord;

class QEL_EXPORT QelMessage final : public Object {
 public:
  TextView ClassName() const override { return u"QelMessage"; }

  const Text& Name() const { return name_; }
  // Every space is removed; nothing left names the message "[UNDEFINED]".
  void SetName(TextView name);
  const Text& Sender() const { return sender_; }
  void SetSender(TextView sender) { sender_.assign(sender); }

  const Variant& Data() const { return data_; }
  void SetData(const Variant& data) { data_ = data; }
  bool IsObject() const { return data_.IsObject(); }
  bool IsProps() const;
  bool IsRecord() const;

  // The payload as a bag or a record; null for Nothing. Raises with source "QelMessage.Props"
  // ("QelMessage.Record") and the inner error's number: 424 when the payload is no object, 13
  // when it is another kind of object.
  std::shared_ptr<QelProps> Props() const;
  void SetProps(std::shared_ptr<QelProps> props);
  std::shared_ptr<QelRecord> Record() const;
  void SetRecord(std::shared_ptr<QelRecord> record);

 private:
  Text name_ = u"[UNDEFINED]";
  Text sender_;
  Variant data_;
};

using QelMessagePtr = std::shared_ptr<QelMessage>;

class QEL_EXPORT QelMessages final : public Object {
 public:
  TextView ClassName() const override { return u"QelMessages"; }

  // Stores the message under `name` when it is not empty, else without a key; a null message
  // (Nothing) is stored as well, and Item then gives null for it. Raises with source
  // "QelMessages.Add" and 457 for a key already there; the collection is unchanged then.
  void Add(QelMessagePtr message, TextView name = {});
  // By key (a text) or by 1-based position (a number). Raises with source "QelMessages.Item"
  // and "El mensaje '%1' no existe" (5 for an unknown key, 9 for a position out of range).
  QelMessagePtr Item(const Variant& key) const;
  // The same, or null; never raises.
  QelMessagePtr Find(const Variant& key) const noexcept;
  bool Remove(const Variant& key) noexcept;
  int32_t Count() const { return static_cast<int32_t>(entries_.size()); }
  void Clear() { entries_.clear(); }

  struct Entry {
    Text key;  // empty: stored without a key
    QelMessagePtr message;
  };
  std::vector<Entry>::const_iterator begin() const { return entries_.begin(); }
  std::vector<Entry>::const_iterator end() const { return entries_.end(); }

 private:
  // Index of the entry a key names; or -1 with the number of the error a lookup raises.
  ptrdiff_t Locate(const Variant& key, int32_t* error) const noexcept;

  std::vector<Entry> entries_;
};

}  // namespace qel

#endif  // QEL_RECORDS_QEL_MESSAGE_H_
