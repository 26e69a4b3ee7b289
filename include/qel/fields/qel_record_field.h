// QelRecordField: one typed field of a record, reading and writing its slots of the record's
// data text.
//
// A field is made by its collection (QelRecordFields) from one descriptor line such as
// "N:12.2:MONTO" and never holds a value of its own: its value lives in the shared
// QelRecordData, in one slot per occurrence. A field outside lists has one occurrence. A
// field inside a repeated group (between a list begin and its list end) has one occurrence
// per repetition: occurrence i starts (i - 1) times the group's body length after the first.
// The list begin itself has one occurrence per repetition covering the whole body, and the
// list end one occurrence covering the whole list.
//
// How each type is stored in a slot and read back:
//  - text, alpha, list begin: the value's text, left-aligned, blank-padded and cut to the
//    slot; read back without the trailing blanks.
//  - numeric, signed: digits right-justified with zeros; the fraction is truncated to
//    Precision digits; a wider number loses its leftmost digits. A negative number marks its
//    last digit: bit 7 set (SignANSI false) or "}" and "J".."R" (SignANSI true). Reading
//    accepts every marking, and "{", "A".."I" as positive ones; blanks read as zero. The
//    text "*" stands for the current time (HH, HHMM or HHMMSS by the field's length).
//  - date: "YYMM", "YYMMDD" or "YYYYMMDD" by length 4, 6 or 8 (length 4 keeps year and
//    month); 1 January 100, the earliest date and the type's default, as "0101", "010101" or
//    "00010101"; Null as zeros. Reading gives Null for zeros or blanks; two-digit years are
//    00-29 -> 2000-2029 and 30-99 -> 1930-1999, as the date conversions read them. A 4- or
//    6-character slot holding "0101" or "010101" reads as the earliest date, so January 2001
//    (length 4) and 1 January 2001 (length 6) cannot be stored apart from it.
//  - RUT: the compact form, Length - 1 digits and the check character; read back in dashed
//    form without leading zeros ("12345678-5"; a blank slot reads "0-0"). The check
//    character is verified on reading as on writing.
//  - list end: writing leaves the data alone (the list end's slot is its members' data);
//    reading gives Null.
// Null written by Value, Data, Mid or Fill leaves blanks (see kEmptySlotChar), which read back
// as a never-written slot does: "" for texts, 0 for numbers, "0-0" for a RUT; a date slot
// takes zeros and reads Null. A slot of the null filler (character 26) reads as Null for
// every type. Text written by Value, Data, Mid or Fill may not hold FS (28) or GS (29), which
// separate the parts of the link text: such a value raises E_INVALIDARG (source
// "LinkSeparator", naming the field) and nothing is written.
//
// Events: Change(Index) after every write through Value, Data or Mid, with the occurrence
// written; after Fill and NotifyDataChanged, once for every occurrence. Handlers run before the
// writer returns; an error they raise reaches the writer's caller through the writer's own
// re-raise, after the data was written.
//
// Shared by reference (the collection and the list begin's ListFields hold it); belongs to
// the thread that made it.
#ifndef QEL_FIELDS_QEL_RECORD_FIELD_H_
#define QEL_FIELDS_QEL_RECORD_FIELD_H_

#include <cstdint>
#include <memory>

#include "qel/fields/field_types.h"
#include "qel/fields/qel_record_data.h"
#include "qel/frame/decimal.h"
#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

class QelRecordFields;
class QelRecordFieldInternal;

class QEL_EXPORT QelRecordField final : public Object {
 private:
  struct Key {
    explicit Key() = default;
  };

 public:
  // Made only by the library (see QelRecordFieldInternal).
  QelRecordField(Key, std::shared_ptr<QelRecordData> data);
  qel::TextView ClassName() const override { return u"QelRecordField"; }
  // The default member is Value of the first occurrence.
  std::optional<Variant> DefaultValue() override { return Value(1); }

  // ---- Definition (read-only except Format) ----------------------------------------------

  // The QelFieldTypes member (1..8).
  int32_t DataType() const { return type_; }
  // Characters the field occupies (the whole group's for a list begin or end).
  int32_t Length() const { return length_; }
  // Decimals of a number; 1 for a RUT; 0 otherwise.
  int32_t Precision() const { return precision_; }
  // Occurrences of a list begin's group; 0 for any other field.
  int32_t Dimensions() const { return dimensions_; }
  // Display pattern used by Text: "#,##0" or "#,##0.00..." for numbers, "#,##0" for the digits
  // of a RUT, "dd-mm-yyyy" for dates (d, dd, m, mm, yy, yyyy; anything else stays literal).
  const qel::Text& Format() const { return format_; }
  void SetFormat(qel::TextView format) { format_ = qel::Text(format); }
  // Upper-case name.
  const qel::Text& Name() const { return name_; }
  // The stored default converted by type: the text for text and alpha, a Decimal for
  // numbers, a Date for dates, the dashed RUT for RUTs, Null for lists. Raises the
  // conversion's error when the descriptor's default does not convert.
  Variant Default() const;
  // Width of the display text (see Text). Raises 6 (overflow) past 32 bits.
  int32_t MaxTextLength() const;
  // True for the fields inside a repeated group.
  bool InList() const { return in_list_; }
  // The fields of the group a list begin opens; null for any other field.
  const std::shared_ptr<QelRecordFields>& ListFields() const { return list_fields_; }
  // 1-based position of the first occurrence in the data text.
  int32_t Start() const { return start_; }
  // Number of occurrences (Dimensions of the enclosing list, or 1).
  int32_t Occurrences() const { return occurrences_; }

  // ---- Values (index: 1-based occurrence) --------------------------------------------------
  // Errors are re-raised with the inner number, a "QelRecordField.<Member>Get/Let" source and
  // a description naming the field, the inner description on its second line. An index out
  // of range fails inside with source "ObtainSegment", "Indice '%1' fuera de rango".

  // The typed value (see the table above).
  Variant Value(int32_t index = 1) const;
  void SetValue(const Variant& value, int32_t index = 1);
  // The display text: the text types without trailing blanks; numbers by Format with the
  // thread locale's separators ("1.234,50"); dates by Format ("15-03-2006"), the empty text
  // for Null and for the earliest date; RUTs as "12.345.678-5"; the empty text for a null
  // slot and for a list end.
  qel::Text Text(int32_t index = 1) const;
  // The slot's raw text, or Null for a null slot.
  Variant Data(int32_t index = 1) const;
  // Writes a raw text: padded with blanks to the slot; Null blanks the slot. A text longer
  // than the slot fails with source "CheckLength".
  void SetData(const Variant& value, int32_t index = 1);
  // `length` raw characters from the 1-based `start` within the slot (null fillers included).
  // The range must lie inside the slot (source "CheckLength").
  qel::Text Mid(int32_t start, int32_t length, int32_t index = 1) const;
  // Replaces that range by the value's text, blank-padded and cut to `length`; Null puts
  // blanks there.
  void SetMid(int32_t start, int32_t length, const Variant& value, int32_t index = 1);
  // Writes the value's first character over every occurrence (of every repetition for a
  // list member): a blank for the empty text and for Null.
  void SetFill(const Variant& value);
  // True when the occurrence holds no value: a null slot, a blank slot (never written), or a
  // date slot of zeros. Raises the ObtainSegment error for an index out of range.
  bool IsNull(int32_t index = 1) const;
  // True when SetValue(value, index) would succeed and store the value without loss: a text
  // that fits and holds no FS or GS, a number whose integer digits fit (and that is not negative in
  // a numeric field; fraction digits beyond Precision are truncated by design and allowed), a date,
  // a RUT with a right check character and not too many digits, Null for every type. False
  // for a list end unless Null, and for an index out of range. Never raises.
  bool Validate(const Variant& value, int32_t index = 1) const;

  // ---- Change notifications ----------------------------------------------------------------

  // Raises Change(index).
  void NotifyChange(int32_t index);
  // Raises Change for every occurrence; for owners that replaced the whole data text.
  void NotifyDataChanged();

  Event<int32_t> Change;
  // "Change" by name, its handler receiving the index.
  uint64_t ConnectEvent(qel::TextView name, GenericHandler handler) override;
  bool DisconnectEvent(uint64_t handle) override;

  // The buffer the field reads and writes.
  const std::shared_ptr<QelRecordData>& RecordData() const { return data_; }

 private:
  friend class QelRecordFieldInternal;

  struct Segment {
    int32_t start;
    int32_t length;
  };
  // Where occurrence `index` lies.
  Segment ObtainSegment(int32_t index) const;
  // Raises E_INVALIDARG when `length` characters from `start` do not fit in a slot of
  // `slot_length`.
  static void CheckLength(int32_t start, int32_t length, int32_t slot_length);

  // Value's slot text into `out` (sized to the slot); false when the slot is to be null.
  // Every conversion that can fail happens before the first character of `out` is written.
  bool MakeSlot(const Variant& value, std::span<char16_t> out, qel::Text* scratch) const;
  Variant ReadSlot(qel::TextView slot) const;
  bool NumberSlot(const Variant& value, std::span<char16_t> out) const;
  Variant ReadNumber(qel::TextView slot) const;
  Variant ReadDate(qel::TextView slot) const;
  Variant ReadRut(qel::TextView slot) const;
  Decimal ToNumber(const Variant& value) const;
  template <class F>
  decltype(auto) Reraising(const char16_t* source, const char16_t* tmpl, F&& body) const;

  // Definition (see QelRecordFieldInternal::Initialize).
  qel::Text name_;
  int32_t type_ = 0;
  int32_t length_ = 0;
  int32_t precision_ = 0;
  int32_t dimensions_ = 0;
  qel::Text format_;
  qel::Text default_;
  Decimal scale_;  // 10^Precision for numbers

  // Placement, set by the collection.
  int32_t start_ = 1;
  int32_t slot_length_ = 0;  // characters of one occurrence
  int32_t occurrences_ = 1;
  int32_t stride_ = 0;  // from one occurrence to the next
  bool in_list_ = false;
  std::shared_ptr<QelRecordFields> list_fields_;

  std::shared_ptr<QelRecordData> data_;
};

}  // namespace qel

#endif  // QEL_FIELDS_QEL_RECORD_FIELD_H_
