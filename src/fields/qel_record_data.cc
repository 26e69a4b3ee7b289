#include "qel/fields/qel_record_data.h"

#include <algorithm>

#include "fields/null_slot.h"
#include "qel/fields/field_types.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {
namespace {

thread_local bool t_default_sign_ansi = false;

[[noreturn]] void RaiseBadRange(int32_t start, int32_t length) {
  RaiseError(E_INVALIDARG, u"QelRecordData.Slot",
             u"El rango de %2 caracteres desde la posición %1 es inválido",
             {Variant(start), Variant(length)});
}

// A slot read past the data reads blanks, wherever it starts; only its length is bounded, since
// that much is allocated to pad it.
void CheckReadRange(int32_t start, int32_t length) {
  if (start < 1 || length < 0 || length > kMaxRecordLength) RaiseBadRange(start, length);
}

// A slot written lies within the largest record a layout may describe, so that no write makes
// the data grow past it.
void CheckWriteRange(int32_t start, int32_t length) {
  if (start < 1 || length < 0 || static_cast<int64_t>(start) + length - 1 > kMaxRecordLength) {
    RaiseBadRange(start, length);
  }
}

}  // namespace

bool QelDefaultSignANSI() { return t_default_sign_ansi; }
void SetQelDefaultSignANSI(bool value) { t_default_sign_ansi = value; }

QelRecordData::QelRecordData() : sign_ansi_(QelDefaultSignANSI()) {}

TextView QelRecordData::PaddedView(int32_t start, int32_t length, Text* scratch) const {
  CheckReadRange(start, length);
  const size_t begin = static_cast<size_t>(start) - 1;
  const auto len = static_cast<size_t>(length);
  scratch->assign(len, u' ');
  if (begin < data_.size()) scratch->replace(0, data_.size() - begin, data_, begin);
  return *scratch;
}

std::span<char16_t> QelRecordData::Extend(int32_t start, int32_t length) {
  CheckWriteRange(start, length);
  const size_t begin = static_cast<size_t>(start) - 1;
  const auto len = static_cast<size_t>(length);
  if (data_.size() < begin + len) data_.resize(begin + len, u' ');
  return std::span<char16_t>(data_.data() + begin, len);
}

Variant QelRecordData::Slot(int32_t start, int32_t length) const {
  Text scratch;
  const TextView slot = View(start, length, &scratch);
  if (internal::IsNullSlot(slot)) return Variant::Null();
  return Variant(slot);
}

void QelRecordData::SetSlot(int32_t start, int32_t length, const Variant& text) {
  CheckWriteRange(start, length);
  if (text.IsNull()) {
    auto out = Writable(start, length);
    std::fill(out.begin(), out.end(), kEmptySlotChar);
    return;
  }
  const Text t = LeftJustify(CStr(text), u" ", length);  // converted before anything changes
  auto out = Writable(start, length);
  std::copy(t.begin(), t.end(), out.begin());
}

void QelRecordData::Pad(int32_t length) {
  if (length > 0 && data_.size() < static_cast<size_t>(length)) data_.resize(length, u' ');
}

}  // namespace qel
