// The link-record text: the record as it travels to and from the host.
//
//   link    := SEQUENCE OPCODE { FS CODE value } GS SERVER(2) SESSION TRAN FORM(2) PROTECTION
//              data
// One character per code; FS is character 28, GS character 29. A label value runs to the next
// FS, else to the GS, else to the end of the text, so neither label values nor data may hold
// an FS. Labels with an empty value are not written; the data is written without its trailing
// blanks and padded back to the record's length when read.
#include <algorithm>
#include <functional>

#include "frame/unit_scan.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/url_encode.h"
#include "qel/records/qel_record.h"
#include "records/qel_record_labels_internal.h"
#include "records/whole_value.h"

namespace qel {

qel::Text QelRecord::Serialize() const {
  const TextView data = RTrim(data_->Data());
  size_t size = 10 + data.size();  // the header codes, both separators and the data
  for (const auto& label : *labels_) {
    if (!label->Value().empty()) size += 2 + label->Value().size();
  }
  qel::Text out;
  out.reserve(size);
  out += static_cast<char16_t>(sequence_);
  out += static_cast<char16_t>(opcode_);
  for (const auto& label : *labels_) {
    if (label->Value().empty()) continue;
    out += kLabelSeparator;
    out += static_cast<char16_t>(label->Code() & qelLabelCodeMask);
    out += label->Value();
  }
  out += kHeaderSeparator;
  out += server_code_;
  out += static_cast<char16_t>(session_id_);
  out += static_cast<char16_t>(tran_code_);
  out += form_code_;
  out += static_cast<char16_t>(protection_);
  out += data;
  return out;
}

namespace {

// True when `view` points into the storage of `text`.
bool PointsInto(TextView view, const qel::Text& text) {
  const std::less_equal<const char16_t*> not_after;
  return !view.empty() && not_after(text.data(), view.data()) &&
         not_after(view.data(), text.data() + text.size());
}

// Copies the data of a link text into `data`, padded with blanks to `length`, and returns
// npos; or, when the data holds an FS, returns its position in `body` and leaves `data`
// holding a part of it, for the reader to replace. The copy is the search, so a well-formed
// text's data is read once. The buffer is overwritten where it stands: a reply of the record's
// length resizes nothing, and the calls for one text never grow it after the first (each body
// is a tail of the one before), so the work stays linear in the text.
size_t LoadDataUnlessFs(TextView body, int32_t length, QelRecordData& data) {
  const auto out = data.Overwrite(std::max(body.size(), static_cast<size_t>(length)));
  const size_t fs = internal::CopyUntilEither(body, out.data(), kLabelSeparator, kLabelSeparator);
  if (fs != TextView::npos) return fs;
  std::fill(out.begin() + static_cast<ptrdiff_t>(body.size()), out.end(), kEmptySlotChar);
  return TextView::npos;
}

}  // namespace

void QelRecord::UnSerialize(TextView message) {
  // The message may be a view into what loading rewrites (the data, a label's value): a copy
  // is read then.
  qel::Text copy;
  bool aliased = PointsInto(message, data_->Data());
  for (const auto& label : *labels_) aliased = aliased || PointsInto(message, label->Value());
  if (aliased) {
    copy.assign(message);
    message = copy;
  }
  const auto read = [&](QelRecordLabelsInternal::Loader& labels) {
    if (message.size() < 2) RaiseRuntime(kErrInvalidCall);
    sequence_ = message[0];  // taken as they come, without the lets' range checks
    opcode_ = message[1];
    const size_t n = message.size();
    bool data_loaded = false;
    size_t pos = 2;
    while (pos < n && message[pos] == kLabelSeparator) {
      if (pos + 1 >= n) RaiseRuntime(kErrInvalidCall);  // an FS and no code
      const int32_t code = qelLabelCodeBase + message[pos + 1];
      pos += 2;
      size_t end = internal::FindEitherUnit(message, kLabelSeparator, kHeaderSeparator, pos);
      if (end == TextView::npos) {
        end = n;
      } else if (message[end] == kHeaderSeparator) {
        // An FS anywhere later, even in the data, still ends the value. The header codes are
        // looked at first; the data is searched by loading it, which a text without such an
        // FS needs next anyway. Each search stops at the FS it finds and the next label
        // starts there, so no unit is searched twice. A partial load is replaced by a later
        // one, emptied when no header follows, or emptied with the error.
        const size_t header_end = std::min(n, end + 8);
        size_t fs = internal::FindUnit(message.substr(0, header_end), kLabelSeparator, end);
        if (fs == TextView::npos && header_end - end == 8) {
          fs = LoadDataUnlessFs(message.substr(header_end), Length(), *data_);
          data_loaded = fs == TextView::npos;
          if (!data_loaded) fs += header_end;
        }
        if (fs != TextView::npos) end = fs;
      }
      const TextView value = message.substr(pos, end - pos);
      pos = end;
      if (!value.empty()) labels.Add(code, value);
    }
    if (pos == n || message[pos] != kHeaderSeparator) {  // no header, no data
      data_->AssignData(TextView());
      return false;
    }
    if (n - pos < 8) RaiseRuntime(kErrInvalidCall);
    const TextView header = message.substr(pos + 1, 7);
    // The two-character codes keep their size, as SetServerCode and SetFormCode leave them.
    server_code_[0] = header[0];
    server_code_[1] = header[1];
    SetSessionID(header[2]);
    SetTranCode(header[3]);
    form_code_[0] = header[4];
    form_code_[1] = header[5];
    SetProtection(header[6]);
    if (!data_loaded) {  // no label came before the GS: the data may hold anything
      data_->AssignData(message.substr(pos + 8));
      data_->Pad(Length());
    }
    return true;
  };
  Chaining(u"QelLinkRecord.UnSerialize:", [&] {
    ResetHeader();
    bool data_read = false;
    try {
      QelRecordLabelsInternal::Loader labels(*labels_);
      data_read = read(labels);
    } catch (const Error&) {
      data_->AssignData(TextView());  // a message refused leaves no data
      throw;
    }
    if (data_read) fields_->NotifyDataChanged();
  });
}

qel::Text QelRecord::ForURL() const {
  return Chaining(u"QelRecord.ForURL:", [&] {
    qel::Text out;
    for (const auto& f : *fields_) {
      // Every field outside the groups, their begin and end included: a list begin's value is
      // its group's text, a list end's is Null (an empty value here).
      if (f->InList()) continue;
      const Variant v = internal::WholeValue(*f);
      out += u'&';
      out += UrlEncode(f->Name());
      out += u'=';
      out += UrlEncode(v.IsNull() ? qel::Text() : CStr(v));
    }
    return out.empty() ? out : out.substr(1);
  });
}

}  // namespace qel
