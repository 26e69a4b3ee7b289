// QelRecordLabel and QelRecordLabels: the labels a record carries on the host link.
//
// A label is a text value identified on the link by one code character; its Code is
// qelLabelCodeBase (65536) plus that character's code. The collection keeps labels in the order
// they were added (the order they are serialised in) and finds them by code or by 1-based
// position: a key above 65536 is a code, any other key a position. Lookups never raise. Labels
// belong to the collection that made them; both live on their creator's thread.
#ifndef QEL_RECORDS_QEL_RECORD_LABELS_H_
#define QEL_RECORDS_QEL_RECORD_LABELS_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/frame/variant.h"

namespace qel {

enum QelLabelCodes : int32_t {
  qelLabelCodeMask = 65535,
  qelLabelCodeBase = 65536,
  qelLabelDynClass = 65585,
  qelLabelDynGroup = 65586,
  qelLabelDynQueue = 65587,
  qelLabelDynPriority = 65588,
  qelLabelDynClientName = 65589,
  qelLabelDynUserName = 65590,
  qelLabelUserName = 65590,
  qelLabelDynChatGroup = 65591,
  qelLabelClientName = 65603,
  qelLabelError = 65605,
  qelLabelFormName = 65606,
  qelLabelGsLocation = 65607,
  qelLabelHostName = 65608,
  qelLabelJobID = 65610,
  qelLabelChecksum = 65611,
  qelLabelMD5 = 65613,
  qelLabelProcessID = 65616,
  qelLabelServerName = 65619,
  qelLabelTranName = 65620,
  qelLabelUniqueID = 65621,
  qelLabelWindow = 65623,
  qelLabelBootHost = 65634,
  qelLabelDefaultHost = 65636,
  qelLabelQelLinkName = 65637,
  qelLabelSignature = 65638,
  qelLabelLocalHost = 65644,
  qelLabelOriginator = 65647,
  qelLabelProcessName = 65648,
  qelLabelSecurityHost = 65651,
  qelLabelTimestamp = 65652,
};

// The two separators of the link-record text, which no label value may hold.
inline constexpr char16_t kLabelSeparator = 28;   // FS, before each label
inline constexpr char16_t kHeaderSeparator = 29;  // GS, after the labels

// One label: a code and a text value.
class QEL_EXPORT QelRecordLabel final : public Object {
 public:
  // REQUIRES: code > qelLabelCodeBase (QelRecordLabels::Add checks it).
  explicit QelRecordLabel(int32_t code) : code_(code) {}

  TextView ClassName() const override { return u"QelRecordLabel"; }
  std::optional<Variant> DefaultValue() override { return Variant(value_); }

  int32_t Code() const { return code_; }
  // The one-character text sent on the link: the character of code Code AND qelLabelCodeMask.
  Text CodeChar() const { return Text(1, static_cast<char16_t>(code_ & qelLabelCodeMask)); }
  const Text& Value() const { return value_; }
  // Stores the text exactly as given (trailing blanks included). A text holding either link
  // separator (FS, character 28, or GS, character 29) would forge labels or header codes in
  // the link text: it raises E_INVALIDARG (source "QelRecordLabel.Value") and nothing changes.
  void SetValue(TextView value);

 private:
  friend class QelRecordLabelsInternal;

  int32_t code_;
  Text value_;
};

using QelRecordLabelPtr = std::shared_ptr<QelRecordLabel>;

// The labels of one record, in the order they were added.
class QEL_EXPORT QelRecordLabels final : public Object {
 public:
  QelRecordLabels();
  ~QelRecordLabels() override;
  TextView ClassName() const override { return u"QelRecordLabels"; }

  // Creates, stores and returns a label with an empty value. Raises E_INVALIDARG (source
  // "QelRecordLabel.Initialize") for a code of 65536 or less, and 457 (source
  // "QelRecordLabels.Add:...") when the code is already there; the collection is unchanged then.
  QelRecordLabelPtr Add(int32_t code);
  // The label under a code (key > 65536) or at a 1-based position; null when absent.
  QelRecordLabelPtr Item(const Variant& key) const;
  // True when a label was removed.
  bool Remove(const Variant& key);
  bool Exists(const Variant& key) const { return Item(key) != nullptr; }
  // The label's value, or "" when absent.
  Text Value(const Variant& key) const;
  // Trailing blanks are cut; an empty result removes the label, anything else sets it,
  // adding a label for the key when there is none (which fails for a position that finds
  // nothing, as Add does for codes of 65536 or less). A value holding FS or GS is refused as
  // QelRecordLabel::SetValue refuses it, before any label is added.
  void SetValue(const Variant& key, const Variant& value);
  int32_t Count() const { return static_cast<int32_t>(labels_.size()); }
  void Clear();

  // Iteration in insertion order.
  std::vector<QelRecordLabelPtr>::const_iterator begin() const { return labels_.begin(); }
  std::vector<QelRecordLabelPtr>::const_iterator end() const { return labels_.end(); }

 private:
  friend class QelRecordLabelsInternal;
  struct CodeIndex;

  // Index in labels_ of the label a key names, or -1.
  ptrdiff_t Find(const Variant& key) const;
  // Add's work: checks the code, appends a label with an empty value and returns it.
  QelRecordLabel& Insert(int32_t code);

  std::vector<QelRecordLabelPtr> labels_;
  // The labels by code once there are many, so that adding many labels is not quadratic.
  std::unique_ptr<CodeIndex> by_code_;
};

}  // namespace qel

#endif  // QEL_RECORDS_QEL_RECORD_LABELS_H_
