// A field made from a descriptor line (the input's first line) and written with a value (the
// rest). Besides not crashing:
//  - Validate's yes means the write succeeds;
//  - a written value read back and written again gives the same slot (a value that reads as
//    zero is left out: a negative number truncated to zero keeps its sign mark, zero has none;
//    so is a blank slot, Null written, which reads as the type's empty value, "0-0" for a RUT,
//    written back in that value's own form; and so is a slot of character 26 only, which reads
//    as Null while Null writes blanks).
#include <string_view>

#include "fields/qel_record_field_internal.h"
#include "fuzz_helpers.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"

namespace {

using qel::fuzz::Check;
using qel::fuzz::Try;

bool IsZero(const qel::Variant& v) {
  return v.Is<qel::Decimal>() && v.Get<qel::Decimal>().IsZero();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using qel::Text;
  using qel::Variant;
  qel::fuzz::UseChileanLocale();
  const Text input = qel::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  const size_t nl = input.find(u'\n');
  const qel::TextView descriptor = qel::TextView(input).substr(0, nl);
  const Variant value = nl == Text::npos ? Variant::Null() : Variant(input.substr(nl + 1));

  auto buffer = std::make_shared<qel::QelRecordData>();
  buffer->SetSignANSI(size % 2 == 1);
  std::shared_ptr<qel::QelRecordField> field;
  try {
    field = qel::QelRecordFieldInternal::Make(descriptor, buffer);
  } catch (const qel::Error&) {
    return 0;
  }
  Try([&] { field->Default(); });
  Try([&] { field->MaxTextLength(); });
  if (field->Length() > 4096) return 0;  // keeps the slots small

  const bool valid = field->Validate(value);
  try {
    field->SetValue(value);
  } catch (const qel::Error&) {
    Check(!valid);
    return 0;
  }
  Try([&] {
    const Variant back = field->Value();
    const Text slot = buffer->Data();
    if (IsZero(back) || back.IsNull() || slot.find_first_not_of(u' ') == Text::npos) return;
    field->SetValue(back);
    Check(buffer->Data() == slot);
  });
  Try([&] { field->Text(); });
  Try([&] { field->IsNull(); });
  Try([&] { field->Mid(1, field->Length() / 2); });
  return 0;
}
