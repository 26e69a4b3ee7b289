// QelRecordFields: the typed fields of a record, built from a layout signature text.
//
// Assigning a signature text to Layout replaces the whole collection: its name, total length,
// digest and fields, each placed at its start position in the record data, with the fields of
// a repeated group repeated Dimensions times (see QelRecordField). The text is checked before
// anything changes: the digest computed over the descriptor lines (LayoutDigest) must be the
// one the text carries, every line is parsed, and the groups and the total length must agree
// with the fields and stay within kMaxRecordLength and kMaxListOccurrences (field_types.h). A text
// refused for any reason raises E_INVALIDARG and leaves the collection exactly as it was. A text
// this thread has verified before is recognised and not verified again (the thread remembers its
// last few verified texts).
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
#include <vector>

#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_field.h"
#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

class QEL_EXPORT QelRecordFields final : public Object {
 public:
  using FieldList = std::vector<std::shared_ptr<QelRecordField>>;

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
  // Lone LF line breaks are accepted as CR LF, one line break after the checksum line is
  // ignored, and so are blanks after the digest. Checked in this order:
  //  1. the header and checksum lines: E_INVALIDARG, source "QelRecordFields.Layout:Header",
  //     ":Checksum" or ":NoFields" (a text that is no signature at all);
  //  2. the digest: any mismatch between the lines and the digest (an edited or damaged line)
  //     raises E_INVALIDARG with source "QelRecordFields.Layout" and "La firma no coincide
  //     con la definición de campos";
  //  3. the fields of a text whose digest matches: E_INVALIDARG with source
  //     "QelRecordFields.Layout:" followed by "Line", "Name", "Duplicate", "MissingEnd",
  //     "MissingStart", "WrongEnd", "ListLength", "Total" or the descriptor's
  //     "QelRecordField.Initialize:..."; lengths or occurrences past the limits raise 6
  //     (overflow).
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
  // The field under a name in any case, or null; allocates nothing.
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
  friend struct ParsedLayout;
  struct NameIndex;  // the names of the fields, by keyed hash

  std::shared_ptr<QelRecordData> data_;
  Text layout_;
  Text name_;
  Text signature_;
  int32_t length_ = 0;
  FieldList fields_;
  std::shared_ptr<const NameIndex> index_;
  // The Change handlers of the fields, shared with the groups' ListFields; null while empty.
  std::shared_ptr<const int64_t> listeners_;
};

}  // namespace qel

#endif  // QEL_FIELDS_QEL_RECORD_FIELDS_H_
