// The link-record text: the record as it travels to and from the host.
//
//   link    := SEQUENCE OPCODE { FS CODE value } GS SERVER(2) SESSION TRAN FORM(2) PROTECTION
//              data
// One character per code; FS is character 28, GS character 29. A label value runs to the next
// FS, else to the GS, else to the end of the text, so neither label values nor data may hold
// an FS. Labels with an empty value are not written; the data is written without its trailing
// blanks and padded back to the record's length when read.
#include <algorithm>
#include <array>

#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/url_encode.h"
#include "qel/records/qel_record.h"

namespace qel {

qel::Text QelRecord::Serialize() const {
  const TextView data = RTrim(data_->Data());
  size_t head_size = 10;  // everything before the data
  for (const auto& label : *labels_) {
    if (!label->Value().empty()) head_size += 2 + label->Value().size();
  }
  const auto write_head = [&](char16_t* p) {
    const auto put = [](char16_t* to, TextView text) {
      return std::copy(text.begin(), text.end(), to);
    };
    *p++ = static_cast<char16_t>(sequence_);
    *p++ = static_cast<char16_t>(opcode_);
    for (const auto& label : *labels_) {
      if (label->Value().empty()) continue;
      *p++ = kLabelSeparator;
      *p++ = static_cast<char16_t>(label->Code() & qelLabelCodeMask);
      p = put(p, label->Value());
    }
    *p++ = kHeaderSeparator;
    p = put(p, server_code_);
    *p++ = static_cast<char16_t>(session_id_);
    *p++ = static_cast<char16_t>(tran_code_);
    p = put(p, form_code_);
    *p++ = static_cast<char16_t>(protection_);
  };
  // One allocation of the final size. The head is written on the stack when it fits, as it
  // nearly always does, so that no part of the text is written twice.
  qel::Text out;
  out.reserve(head_size + data.size());
  constexpr size_t kStackHead = 256;
  if (head_size <= kStackHead) {
    std::array<char16_t, kStackHead> head;
    write_head(head.data());
    out.append(head.data(), head_size);
  } else {
    out.resize(head_size);
    write_head(out.data());
  }
  out.append(data);
  return out;
}

void QelRecord::UnSerialize(TextView message) {
  Chaining(u"QelLinkRecord.UnSerialize:", [&] {
    try {
      UnSerializeBody(message);
    } catch (const Error&) {
      data_->AssignData(TextView());  // a message that fails to load leaves no data
      throw;
    }
  });
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

// A label's value runs to the next FS anywhere later in the message, else to the GS. The
// reader looks for whichever of FS and GS comes first instead, which agrees unless the last
// label's value is ended by the GS and an FS still follows, in the header or the data; the
// data copy notes that case (at no extra pass) and the message is then read again by the rule
// as written.
void QelRecord::UnSerializeBody(TextView message) {
  if (!UnSerializeQuick(message)) UnSerializeLiteral(message);
}

bool QelRecord::UnSerializeQuick(TextView message) {
  ResetHeader();
  if (message.size() < 2) {
    labels_->Clear();
    RaiseRuntime(kErrInvalidCall);
  }
  sequence_ = message[0];  // taken as they come, without the lets' range checks
  opcode_ = message[1];
  // Labels are read over the present ones while they come with the same codes in the same
  // order, as they do reply after reply.
  size_t reloaded = 0;
  bool reloading = true;
  const auto end_reload = [&] {
    if (reloading) labels_->KeepFirst(reloaded);
    reloading = false;
  };
  size_t pos = 2;
  bool ended_by_gs = false;  // the last label read was ended by the GS
  while (pos < message.size() && message[pos] == kLabelSeparator) {
    if (pos + 1 >= message.size()) {  // an FS and no code
      end_reload();
      RaiseRuntime(kErrInvalidCall);
    }
    const int32_t code = qelLabelCodeBase + message[pos + 1];
    pos += 2;
    size_t end = FindEitherUnit(message, kLabelSeparator, kHeaderSeparator, pos);
    if (end == TextView::npos) end = message.size();
    ended_by_gs = end < message.size() && message[end] == kHeaderSeparator;
    const TextView value = message.substr(pos, end - pos);
    pos = end;
    if (value.empty()) continue;
    if (reloading && labels_->Reload(reloaded, code, value)) {
      ++reloaded;
      continue;
    }
    end_reload();
    labels_->Add(code, value);
  }
  end_reload();
  const TextView rest = message.substr(pos);
  if (rest.empty() || rest[0] != kHeaderSeparator) {  // no header: nothing more to load
    data_->AssignData(TextView());
    return true;
  }
  // Read by the rule as written when an FS follows a label the GS ended.
  const TextView header = rest.substr(1, 7);
  if (ended_by_gs && std::find(header.begin(), header.end(), kLabelSeparator) != header.end()) {
    return false;
  }
  if (header.size() < 7) RaiseRuntime(kErrInvalidCall);
  const TextView data = rest.substr(8);
  const auto out = data_->Overwrite(std::max<size_t>(data.size(), Length()));
  if (CopyTestingUnit(data, out.data(), kLabelSeparator) && ended_by_gs) return false;
  std::fill(out.begin() + static_cast<ptrdiff_t>(data.size()), out.end(), u' ');
  LoadHeader(header);
  fields_->NotifyDataChanged();
  return true;
}

void QelRecord::UnSerializeLiteral(TextView message) {
  ResetHeader();
  data_->AssignData(TextView());
  labels_->Clear();
  sequence_ = message[0];
  opcode_ = message[1];
  SeparatorFinder separators(message);
  size_t pos = 2;
  while (pos < message.size() && message[pos] == kLabelSeparator) {
    if (pos + 1 >= message.size()) RaiseRuntime(kErrInvalidCall);
    const char16_t code = message[pos + 1];
    pos += 2;
    // FS is looked for first: an FS anywhere later, even in the data, ends the value.
    size_t end = separators.Next(pos);
    if (end == TextView::npos) end = FindUnit(message, kHeaderSeparator, pos);
    if (end == TextView::npos) end = message.size();
    const TextView value = message.substr(pos, end - pos);
    pos = end;
    if (!value.empty()) labels_->Add(qelLabelCodeBase + code, value);
  }
  const TextView rest = message.substr(pos);
  if (rest.empty() || rest[0] != kHeaderSeparator) return;
  if (rest.size() < 8) RaiseRuntime(kErrInvalidCall);
  data_->AssignData(rest.substr(8));
  data_->Pad(Length());
  LoadHeader(rest.substr(1, 7));
  fields_->NotifyDataChanged();
}

void QelRecord::LoadHeader(TextView header) {
  // The codes keep their two characters, as SetServerCode and SetFormCode leave them.
  server_code_[0] = header[0];
  server_code_[1] = header[1];
  SetSessionID(header[2]);
  SetTranCode(header[3]);
  form_code_[0] = header[4];
  form_code_[1] = header[5];
  SetProtection(header[6]);
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
