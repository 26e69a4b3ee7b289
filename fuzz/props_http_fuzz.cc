// HTTP reply header blocks: LoadFromHttp takes any bytes (as Windows-1252, the way header bytes
// arrive) without raising, and the bag it makes has a text form that reads back the same.
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qel::Text headers =
      qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size));
  qel::QelProps bag;
  bag.LoadFromHttp(headers);
  const qel::Text text = bag.ToText();
  qel::QelProps again;
  again.LoadFromText(text);
  qel::fuzz::Check(again.ToText() == text && again.Count() == bag.Count());
  return 0;
}
