// The link-record text: the record as it travels to and from the host.
//
//   link    := SEQUENCE OPCODE { FS CODE value } GS SERVER(2) SESSION TRAN FORM(2) PROTECTION
//              data
// One character per code; FS is character 28, GS character 29. A label value runs to the next
// FS, else to the GS, else to the end of the text, so neither label values nor data may hold
// an FS. Labels with an empty value are not written; the data is written without its trailing
// blanks and padded back to the record's length when read.
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/url_encode.h"
#include "qel/records/qel_record.h"

namespace qel {

qel::Text QelRecord::Serialize() const {
  return Chaining(u"QelLinkRecord.Serialize:", [&] {
    qel::Text out;
    const TextView data = RTrim(data_->Data());
    out.reserve(10 + data.size());
    out.push_back(static_cast<char16_t>(sequence_));
    out.push_back(static_cast<char16_t>(opcode_));
    for (const auto& label : *labels_) {
      if (label->Value().empty()) continue;
      out.push_back(kLabelSeparator);
      out.push_back(static_cast<char16_t>(label->Code() & qelLabelCodeMask));
      out += label->Value();
    }
    out.push_back(kHeaderSeparator);
    out += server_code_;
    out.push_back(static_cast<char16_t>(session_id_));
    out.push_back(static_cast<char16_t>(tran_code_));
    out += form_code_;
    out.push_back(static_cast<char16_t>(protection_));
    out += data;
    return out;
  });
}

void QelRecord::UnSerialize(TextView message) {
  Chaining(u"QelLinkRecord.UnSerialize:", [&] { UnSerializeBody(message); });
}

namespace {

// The next FS at or after a position. Searches go forward only, so the last answer serves
// every later question before it, and "none" answers all the rest: the message is scanned once
// however many labels it has.
class SeparatorFinder {
 public:
  explicit SeparatorFinder(TextView text) : text_(text) {}
  size_t Next(size_t from) {
    if (found_ == TextView::npos ? from < searched_from_ : from > found_) {
      found_ = FindUnit(text_, kLabelSeparator, from);
      searched_from_ = from;
    }
    return found_;
  }

 private:
  TextView text_;
  size_t searched_from_ = TextView::npos;
  size_t found_ = TextView::npos;
};

}  // namespace

void QelRecord::UnSerializeBody(TextView message) {
  ResetHeader();
  data_->AssignData(TextView());
  labels_->Clear();
  if (message.size() < 2) RaiseRuntime(kErrInvalidCall);
  // Taken as they come, without the lets' range checks.
  sequence_ = message[0];
  opcode_ = message[1];
  SeparatorFinder separators(message);
  size_t pos = 2;
  while (pos < message.size() && message[pos] == kLabelSeparator) {
    if (pos + 1 >= message.size()) RaiseRuntime(kErrInvalidCall);  // an FS and no code
    const char16_t code = message[pos + 1];
    pos += 2;
    // FS is looked for first: an FS anywhere later, even in the data, ends the value.
    size_t end = separators.Next(pos);
    if (end == TextView::npos) end = FindUnit(message, kHeaderSeparator, pos);
    if (end == TextView::npos) end = message.size();
    const TextView value = message.substr(pos, end - pos);
    pos = end;
    if (value.empty()) continue;
    labels_->Add(qelLabelCodeBase + code)->SetValue(value);
  }
  const TextView rest = message.substr(pos);
  if (rest.empty() || rest[0] != kHeaderSeparator) return;  // no header: nothing more to load
  if (rest.size() < 8) RaiseRuntime(kErrInvalidCall);
  server_code_.assign(rest.substr(1, 2));  // two characters, as SetServerCode would keep them
  SetSessionID(rest[3]);
  SetTranCode(rest[4]);
  form_code_.assign(rest.substr(5, 2));
  SetProtection(rest[7]);
  data_->AssignData(rest.substr(8));
  data_->Pad(Length());
  fields_->NotifyDataChanged();
}

qel::Text QelRecord::ForURL() const {
  return Chaining(u"QelRecord.ForURL:", [&] {
    qel::Text out;
    for (const auto& f : *fields_) {
      // Plain fields only: neither occurrences of a group nor its markers.
      if (f->InList() || f->DataType() == qelTypeList || f->DataType() == qelTypeListEnd) {
        continue;
      }
      const Variant v = f->Value();
      out += u'&';
      out += UrlEncode(f->Name());
      out += u'=';
      out += UrlEncode(v.IsNull() ? qel::Text() : CStr(v));
    }
    return out.empty() ? out : out.substr(1);
  });
}

}  // namespace qel
