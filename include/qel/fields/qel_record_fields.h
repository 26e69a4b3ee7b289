// QelRecordFields: the typed fields of a record, built from a layout signature text.
//
// Assigning a signature text to Layout replaces the whole collection: its name, total length,
// digest and fields, each placed at its start position in the record data, with the fields of
// a repeated group repeated Dimensions times (see QelRecordField). The text is checked before
// anything changes: every line is parsed, the groups and the total length must agree with the
// fields, and the digest computed over the descriptor lines (LayoutDigest) must be the one the
// text carries. A text refused for any reason raises E_INVALIDARG and leaves the collection
// exactly as it was. A text this thread has verified before is recognised and not verified
// again (the thread remembers its last few verified texts).
//
// Fields are found by name (ignoring case) or by 1-based position; a list end shares its
// name with its list begin and is reached by position only.
//
// The collection holds its fields and the record data they read and write, all by shared
// reference; a field handed out stays usable after the collection moved on to another layout.
// Belongs to the thread that made it.
#ifndef QEL_FIELDS_QEL_RECORD_FIELDS_H_
#define QEL_FIELDS_QEL_RECORD_FIELDS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_field.h"
#include "qel/frame/object.h"

namespace qel {

class QelRecordFields final : public Object {
 public:
  using FieldList = std::vector<std::shared_ptr<QelRecordField>>;
  // Upper-case field name -> 0-based position; looked up by view, without a copy.
  struct NameHash {
    using is_transparent = void;
    size_t operator()(TextView name) const noexcept {
      uint64_t h = 14695981039346656037u;  // FNV-1a: names are short
      for (char16_t c : name) h = (h ^ c) * 1099511628211u;
      return static_cast<size_t>(h);
    }
  };
  using NameIndex = std::unordered_map<Text, int32_t, NameHash, std::equal_to<>>;

  // An empty collection with a new record data buffer of its own.
  QelRecordFields();
  // An empty collection whose fields will read and write `data`.
  explicit QelRecordFields(std::shared_ptr<QelRecordData> data);
  TextView ClassName() const override { return u"QelRecordFields"; }

  // The signature text as last assigned; empty for a cleared collection.
  const Text& Layout() const { return layout_; }
  // Replaces the fields by those of a signature text:
  //   signature  := header CRLF descriptor {CRLF descriptor} CRLF checksum
  //   header     := "SD:1.0:" NAME [":" time-stamp]
  //   descriptor := CODE ":" LENGTH ["." PRECISION] ":" NAME [":" DEFAULT]
  //   checksum   := "CS:" TOTAL ":" NAME ":" DIGEST
  // Lone LF line breaks are accepted as CR LF, and one line break after the checksum line is
  // ignored. A digest that does not match raises E_INVALIDARG with source
  // "QelRecordFields.Layout" and "La firma no coincide con la definición de campos"; a text
  // that cannot be read raises E_INVALIDARG with source "QelRecordFields.Layout:" followed by
  // the failed check ("Header", "Checksum", "Line", "NoFields", "Name", "Duplicate",
  // "MissingEnd", "MissingStart", "WrongEnd", "ListLength", "Total", or the descriptor's
  // "QelRecordField.Initialize:..."); total lengths past 32 bits raise 6 (overflow).
  void SetLayout(TextView text);

  // The layout's digest, name (upper case) and total length in characters.
  const Text& Signature() const { return signature_; }
  const Text& Name() const { return name_; }
  // Renames the record; the layout text and its digest keep the declared name.
  void SetName(TextView name) { name_ = Text(name); }
  int32_t Length() const { return length_; }

  int32_t Count() const { return static_cast<int32_t>(fields_.size()); }
  // The field under a name (text, any case) or at a 1-based position (a number). Raises
  // E_INVALIDARG, source "QelRecordFields.Item", "El campo '%1' no existe en el registro '%2'"
  // for an absent key.
  std::shared_ptr<QelRecordField> Item(const Variant& key) const;
  // The same, or null for an absent key.
  std::shared_ptr<QelRecordField> Find(const Variant& key) const;
  // The field under a name in any case, or null; allocates nothing for names of up to 64
  // characters.
  std::shared_ptr<QelRecordField> FindName(TextView name) const;
  bool Exists(const Variant& key) const { return Find(key) != nullptr; }
  FieldList::const_iterator begin() const { return fields_.begin(); }
  FieldList::const_iterator end() const { return fields_.end(); }

  // Removes every field and forgets the layout; the record data is left alone.
  void Clear();

  // The buffer the fields read and write. Setting it rebinds every field, those of the
  // groups' ListFields included.
  const std::shared_ptr<QelRecordData>& RecordData() const { return data_; }
  void SetRecordData(std::shared_ptr<QelRecordData> data);

  // Raises every field's Change for all its occurrences; for owners that replaced the whole
  // data text.
  void NotifyDataChanged();

 private:
  friend class QelRecordFieldsBuilder;

  std::shared_ptr<QelRecordData> data_;
  Text layout_;
  Text name_;
  Text signature_;
  int32_t length_ = 0;
  FieldList fields_;
  std::shared_ptr<const NameIndex> index_;
};

}  // namespace qel

#endif  // QEL_FIELDS_QEL_RECORD_FIELDS_H_
