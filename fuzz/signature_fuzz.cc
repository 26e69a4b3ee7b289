// Signature texts, twice per input: as they stand, and wrapped into a signature with the right
// digest (first line the layout name, second the total, the rest descriptor lines) so that the
// fuzzer reaches the accepting paths. Besides not crashing, an accepted text:
//  - assigns again, to a new collection and after the thread forgot it, to the same fields;
//  - has fields whose slots cover exactly its total length (every field filled, the data is
//    as long as the layout).
#include <string>
#include <string_view>
#include <vector>

#include "fields/qel_record_fields_internal.h"
#include "fuzz_helpers.h"
#include "qel/fields/layout_digest.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"

namespace {

using qel::fuzz::Check;

std::string Dump(const qel::QelRecordFields& fields) {
  std::string out = qel::ToUtf8(fields.Name()) + "/" + std::to_string(fields.Length()) + "/" +
                    qel::ToUtf8(fields.Signature());
  for (const auto& f : fields) {
    out += "|" + qel::ToUtf8(f->Name()) + ":" + std::to_string(f->DataType()) + ":" +
           std::to_string(f->Start()) + ":" + std::to_string(f->Occurrences()) + ":" +
           std::to_string(f->Length()) + ":" + std::to_string(f->Precision());
  }
  return out;
}

void Exercise(const qel::Text& text) {
  qel::QelRecordFields fields;
  try {
    fields.SetLayout(text);
  } catch (const qel::Error&) {
    return;
  }
  const std::string dump = Dump(fields);
  qel::QelRecordFields again;
  again.SetLayout(fields.Layout());
  Check(Dump(again) == dump);
  qel::internal::ForgetVerifiedLayoutsForTesting();
  again.SetLayout(fields.Layout());
  Check(Dump(again) == dump);

  if (fields.Length() > (1 << 16)) return;
  for (const auto& f : fields) f->SetFill(u"x");
  Check(fields.RecordData()->Length() == fields.Length());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using qel::Text;
  using qel::TextView;
  qel::fuzz::UseChileanLocale();
  const Text input = qel::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  Exercise(input);

  std::vector<TextView> lines;
  for (size_t begin = 0; begin <= input.size();) {
    size_t end = input.find(u'\n', begin);
    if (end == Text::npos) end = input.size();
    lines.push_back(TextView(input).substr(begin, end - begin));
    begin = end + 1;
  }
  if (lines.size() < 3) return 0;
  const int32_t total = qel::ToLongOr(qel::Variant(lines[1]), 0);
  const std::span<const TextView> descriptors(lines.data() + 2, lines.size() - 2);
  Text wrapped = u"SD:1.0:" + Text(lines[0]) + u":2006-03-29:14:05:09";
  for (const TextView d : descriptors) wrapped += u"\r\n" + Text(d);
  wrapped += u"\r\nCS:" + qel::CStr(qel::Variant(total)) + u":" + Text(lines[0]) + u":" +
             qel::LayoutDigest(lines[0], descriptors, total);
  Exercise(wrapped);
  return 0;
}
