// Merge, Copy and Clone of bags read from the input (two bag texts separated by a NUL): none
// crashes, a clone writes the same text as its source, a copy under a key holds the same text,
// merging a clone back into its source changes nothing, and after a merge the target holds
// every name of the source.
#include <memory>
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

namespace {

std::shared_ptr<qel::QelProps> Read(std::string_view utf8) {
  auto bag = std::make_shared<qel::QelProps>();
  try {
    bag->LoadFromText(qel::FromUtf8(utf8));
  } catch (const qel::Error&) {
    // what was read before the error stays, and is as good a bag to merge as any
  }
  return bag;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qel::fuzz::UseChileanLocale();
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t nul = input.find('\0');
  const auto target = Read(input.substr(0, nul));
  const auto source = Read(nul == std::string_view::npos ? "" : input.substr(nul + 1));

  const qel::Text source_text = source->ToText();
  qel::fuzz::Check(source->Clone()->ToText() == source_text);

  const qel::Text target_text = target->ToText();
  target->Merge(target->Clone());
  qel::fuzz::Check(target->ToText() == target_text);

  auto holder = std::make_shared<qel::QelProps>();
  holder->Copy(source, u"k");
  qel::fuzz::Check(holder->Item(u"k")->Props()->ToText() == source_text);

  target->Merge(source);
  for (const auto& p : *source) qel::fuzz::Check(target->Exists(p->Name()));
  qel::fuzz::Try([&] { target->ToText(); });  // may hold a bag shared from the source
  target->Copy(source);
  qel::fuzz::Check(target->ToText() == source_text);
  return 0;
}
