// HTTP reply header blocks: LoadFromHttp takes any bytes (as Windows-1252, the way header bytes
// arrive) and either refuses a block of too many lines, leaving the bag as it was, or makes a
// bag whose text form reads back the same.
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qel::Text headers =
      qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size));
  qel::QelProps bag;
  bag.SetValue(u"before", 1);
  try {
    bag.LoadFromHttp(headers);
  } catch (const qel::Error&) {
    qel::fuzz::Check(bag.Count() == 1 && bag.Exists(u"before"));
    return 0;
  }
  const qel::Text text = bag.ToText();
  qel::QelProps again;
  again.LoadFromText(text);
  qel::fuzz::Check(again.ToText() == text && again.Count() == bag.Count());
  return 0;
}
