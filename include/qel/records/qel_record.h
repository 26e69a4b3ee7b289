// QelRecord: a fixed-width record with its transaction header, labels and typed fields.
//
// A record joins four parts: the field collection built from its layout (Fields, the default
// member), the one data text those fields read and write, the seven header codes that travel
// in front of the data on the host link, and the labels. A layout is declared with DefLayout,
// AddField ... EndLayout, or assigned as a signature text to Layout; the record serialises
// itself as the link-record text (Serialize) and loads a reply with the same layout
// (UnSerialize). Eval evaluates a condition over the fields.
//
// Header codes are single characters stored as their codes; a let outside a code's range
// stores the code's default instead of failing. The record owns its collection, data buffer
// and labels (shared with the fields and with clients who hold them). Belongs to the thread
// that made it; no locks.
#ifndef QEL_RECORDS_QEL_RECORD_H_
#define QEL_RECORDS_QEL_RECORD_H_

#include <cstdint>
#include <memory>

#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/records/qel_record_labels.h"

namespace qel {

class QelProps;
namespace internal {
class QelLayoutFields;
}

enum QelOpCodes : int32_t {
  qelOpcodeTransaction = 32,
  qelOpcodeConnect = 49,
  qelOpcodeReply = 50,
  qelOpcodeBroadcast = 51,
  qelOpcodeOperator = 52,
  qelOpcodeQuit = 53,
  qelOpcodeReplyAndHold = 54,
  qelOpcodeReleaseHold = 55,
  qelOpcodeSessionID = 56,
  qelOpcodeHostTransaction = 57,
  qelOpcodeOperatorMessage = 57,
  qelOpcodeReplyWithEnc = 66,
  qelOpcodeBroadcastWithEnc = 67,
  qelOpcodeHostEncryption = 69,
  qelOpcodeReplyWithEncAndHold = 70,
  qelOpcodeReplyAndLink = 71,
  qelOpcodeReplyWithEncAndLink = 72,
  qelOpcodeReinit = 82,
  qelOpcodeUnsolicited = 85,
  qelOpcodeFatalAndHold = 88,
};

enum QelReplyCodes : int32_t {
  qelRcodeNull = 0,
  qelRcodeAbort = 1,
  qelRcodeAck = 2,
  qelRcodeNack = 3,
};

enum QelProtectionCodes : int32_t {
  qelProtectionNone = 32,
  qelProtection0 = 48,
  qelProtection1 = 49,
  qelProtection2 = 50,
  qelProtection3 = 51,
  qelProtection4 = 52,
  qelProtection5 = 53,
  qelProtection6 = 54,
  qelProtection7 = 55,
  qelProtection8 = 56,
  qelProtection9 = 57,
  qelProtectionInputOnly = 0x100000,
  qelProtectionDisplayOnly = 0x200000,
};

class QEL_EXPORT QelRecord final : public Object {
 public:
  QelRecord();
  ~QelRecord() override;
  TextView ClassName() const override { return u"QelRecord"; }
  // The default member is Fields.
  std::optional<Variant> DefaultValue() override { return Variant(fields_); }

  // ---- Header ------------------------------------------------------------------------------
  int32_t Sequence() const { return sequence_; }
  void SetSequence(int32_t v) { sequence_ = InRange(v, 33, 95, 33); }
  int32_t OpCode() const { return opcode_; }
  void SetOpCode(int32_t v) { opcode_ = InRange(v, 32, 126, 32); }
  int32_t SessionID() const { return session_id_; }
  void SetSessionID(int32_t v) { session_id_ = InRange(v, 32, 126, 32); }
  int32_t TranCode() const { return tran_code_; }
  void SetTranCode(int32_t v) { tran_code_ = InRange(v, 32, 126, 32); }
  // TranCode - 33; setting it sets TranCode to the value + 33 (so a fresh record reads -1).
  int32_t ReplyCode() const { return tran_code_ - 33; }
  void SetReplyCode(int32_t v) {
    SetTranCode(v <= INT32_MAX - 33 ? v + 33 : 0);  // past the range: the default
  }
  // 48..59 as they are; qelProtectionInputOnly as ":" (58) and qelProtectionDisplayOnly as
  // ";" (59), which read back as those two members; anything else 32.
  int32_t Protection() const;
  void SetProtection(int32_t v) {
    protection_ = v == qelProtectionInputOnly     ? 58
                  : v == qelProtectionDisplayOnly ? 59
                                                  : InRange(v, 48, 59, 32);
  }
  // Two characters: the value's text left-aligned, blank-padded and cut.
  const qel::Text& ServerCode() const { return server_code_; }
  void SetServerCode(const Variant& v);
  const qel::Text& FormCode() const { return form_code_; }
  void SetFormCode(const Variant& v);

  // ---- Shape -------------------------------------------------------------------------------
  const std::shared_ptr<QelRecordFields>& Fields() const { return fields_; }
  const std::shared_ptr<QelRecordLabels>& Labels() const { return labels_; }
  bool Exists(const Variant& key) const { return fields_->Exists(key); }
  const qel::Text& Name() const { return fields_->Name(); }
  void SetName(TextView name);
  int32_t Length() const { return fields_->Length(); }
  // The signature text; assigning one rebuilds the fields (see QelRecordFields::SetLayout).
  const qel::Text& Layout() const { return fields_->Layout(); }
  void SetLayout(const Variant& layout);
  const qel::Text& Dump() const { return fields_->Layout(); }
  // The layout's digest.
  const qel::Text& Signature() const { return fields_->Signature(); }

  // ---- Data --------------------------------------------------------------------------------
  bool SignANSI() const { return data_->SignANSI(); }
  void SetSignANSI(bool v) { data_->SetSignANSI(v); }
  const qel::Text& Data() const { return data_->Data(); }
  // Stores the value's text as it stands (neither padded nor cut) and tells every field.
  void SetData(const Variant& value);
  // The data text without trailing blanks.
  qel::Text Text() const;
  // `length` characters from the 1-based `start` (to the end when omitted; blanks past it).
  Variant Mid(int32_t start, const Variant& length = Variant()) const;
  void SetMid(int32_t start, const Variant& length, const Variant& value);
  // Data becomes Length copies of one character: the value's first character, the character
  // of that code for a number, a blank for the empty text, the null filler for Null.
  void SetFill(const Variant& value);
  // Header to its defaults, data and labels emptied, the layout and its fields forgotten.
  void Clear();
  // Without a source: the data becomes Length blanks and every field takes its default.
  // With one: its data is copied when both layouts have the same signature, else E_INVALIDARG
  // (source "QelRecord.Initialize:Signature"); header and labels stay.
  void Initialize(const QelRecord* source = nullptr);
  // Clear, then the source's layout, header, labels and data (through the link text).
  void Copy(const QelRecord* source);
  std::shared_ptr<QelRecord> Clone() const;
  // Every field outside lists takes the value of the source's field of the same name.
  void MoveCorresponding(const QelRecord& source);

  // ---- Layout definition -------------------------------------------------------------------
  void DefLayout(TextView name);
  void AddField(TextView name, int32_t data_type, int32_t length,
                const Variant& precision = Variant(), const Variant& default_value = Variant());
  // The signature text; with apply, also assigned to Layout.
  qel::Text EndLayout(bool apply);

  // ---- Host link ---------------------------------------------------------------------------
  // Sequence, OpCode, FS code value... per label, GS, ServerCode, SessionID, TranCode,
  // FormCode, Protection, then the data without trailing blanks.
  qel::Text Serialize() const;
  // Resets header, labels and data, then loads them from a link text; the layout stays.
  void UnSerialize(TextView message);
  // "NAME=value&..." of the fields outside lists, URL-encoded.
  qel::Text ForURL() const;

  // ---- Formulas ----------------------------------------------------------------------------
  // Evaluates a condition over the fields; "@name" takes named formulas from `formulas`.
  Variant Eval(TextView expression, const std::shared_ptr<QelProps>& formulas = nullptr);

 private:
  // The header codes' rule: a value outside lo..hi becomes `fallback`.
  static int32_t InRange(int32_t v, int32_t lo, int32_t hi, int32_t fallback) {
    return v >= lo && v <= hi ? v : fallback;
  }
  void ResetHeader();

  int32_t sequence_ = 33;
  int32_t opcode_ = 32;
  qel::Text server_code_ = u"  ";
  int32_t session_id_ = 32;
  int32_t tran_code_ = 32;
  qel::Text form_code_ = u"  ";
  int32_t protection_ = 32;
  std::shared_ptr<QelRecordData> data_;
  std::shared_ptr<QelRecordLabels> labels_;
  std::shared_ptr<QelRecordFields> fields_;
  std::unique_ptr<internal::QelLayoutFields> definition_;
};

}  // namespace qel

#endif  // QEL_RECORDS_QEL_RECORD_H_
