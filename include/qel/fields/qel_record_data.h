// QelRecordData: the one data text of a record, which its fields read and write slot by slot.
//
// A slot is a run of characters given by a 1-based start and a length. Reading a slot that
// reaches past the end of the text gives blanks for the missing part; writing one there first
// pads the text with blanks up to it. Writing Null as a slot's text fills the slot with
// blanks (kEmptySlotChar). A slot made only of the null filler, character 26, still reads
// back as Null. Data let stores a text as it stands (no padding, no cut); Pad appends blanks
// up to a length and never cuts.
//
// SignANSI selects how number fields mark negative values when they write (see
// QelRecordField); a new buffer takes the thread's QelDefaultSignANSI.
//
// Shared by reference: a record, its field collection and every field hold the same buffer.
// Belongs to the thread that made it; no locks.
#ifndef QEL_FIELDS_QEL_RECORD_DATA_H_
#define QEL_FIELDS_QEL_RECORD_DATA_H_

#include <cstdint>
#include <span>

#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

// What Null written into a slot leaves there: blanks. A blank slot is what the record holds
// where nothing was ever written, and what the host's record programs read as an empty field
// (an alphanumeric field of spaces; a number field of spaces, "not informed"). Value writes
// never use the null filler below: it would travel to the host inside the link text as a
// control character its programs do not expect, and writing it over a list would destroy the
// data of every member.
inline constexpr char16_t kEmptySlotChar = u' ';
// A slot made only of this character reads as Null. Only Fill with Null writes it (a field's
// or the whole record's), as a deliberate null mark.
inline constexpr char16_t kNullFiller = 26;

// The sign encoding new record data buffers start with on this thread (see SignANSI).
// Initially false. Also reachable as the global object's QelDefaultSignANSI.
QEL_EXPORT bool QelDefaultSignANSI();
QEL_EXPORT void SetQelDefaultSignANSI(bool value);

class QEL_EXPORT QelRecordData final : public Object {
 public:
  QelRecordData();
  TextView ClassName() const override { return u"QelRecordData"; }

  // The whole data text.
  const Text& Data() const { return data_; }
  void SetData(Text data) { data_ = std::move(data); }
  // The same, reusing the buffer the data already has.
  void AssignData(TextView data) { AssignText(data_, data); }
  // The data resized to `length` characters, for the caller to overwrite in full: what they
  // hold until then is unspecified. Reuses the buffer the data already has.
  std::span<char16_t> Overwrite(size_t length) {
    data_.resize(length);
    return std::span<char16_t>(data_.data(), length);
  }
  int32_t Length() const { return static_cast<int32_t>(data_.size()); }

  bool SignANSI() const { return sign_ansi_; }
  void SetSignANSI(bool value) { sign_ansi_ = value; }

  // The slot's text, blank-padded past the end of the data, or Null when every character of a
  // non-empty slot is the null filler. Raises E_INVALIDARG (source "QelRecordData.Slot") when
  // start < 1, length < 0 or the slot would end past kMaxRecordLength (field_types.h).
  Variant Slot(int32_t start, int32_t length) const;
  // Writes a slot: Null fills it with blanks; any other value's text is left-aligned, padded
  // with blanks and cut to `length`. Same range checks as Slot.
  void SetSlot(int32_t start, int32_t length, const Variant& text);
  // Appends blanks until the text is `length` characters long; a longer text is left alone.
  void Pad(int32_t length);

  // Cheap access for the fields; ranges are checked as in Slot.
  // The slot's characters: a view into the data when the slot lies inside it (valid until the
  // data next changes), else a blank-padded copy kept in *scratch.
  TextView View(int32_t start, int32_t length, Text* scratch) const {
    if (start >= 1 && length >= 0 && static_cast<int64_t>(start) + length - 1 <= Length()) {
      return TextView(data_).substr(static_cast<size_t>(start) - 1, static_cast<size_t>(length));
    }
    return PaddedView(start, length, scratch);
  }
  // The slot's characters to be overwritten in place, after padding the data with blanks to
  // reach it. Valid until the data next changes.
  std::span<char16_t> Writable(int32_t start, int32_t length) {
    if (start >= 1 && length >= 0 && static_cast<int64_t>(start) + length - 1 <= Length()) {
      return std::span<char16_t>(data_.data() + start - 1, static_cast<size_t>(length));
    }
    return Extend(start, length);
  }

 private:
  TextView PaddedView(int32_t start, int32_t length, Text* scratch) const;
  std::span<char16_t> Extend(int32_t start, int32_t length);

  Text data_;
  bool sign_ansi_;
};

}  // namespace qel

#endif  // QEL_FIELDS_QEL_RECORD_DATA_H_
