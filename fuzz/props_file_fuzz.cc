// Bag text files: the decoding LoadFromFile applies to a file's bytes (byte order marks,
// UTF-8, UTF-16 in both byte orders, Windows-1252) takes any bytes without raising, and
// re-encoding what it decoded with a UTF-16 or UTF-8 byte order mark decodes to the same text.
// The decoded text then goes through LoadFromText as the file's would.
#include <string>
#include <string_view>

#include "fuzz_helpers.h"
#include "props/props_loaders.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

namespace {

std::string Utf16WithMark(const qel::Text& text, bool big_endian) {
  std::string bytes = big_endian ? "\xFE\xFF" : "\xFF\xFE";
  for (char16_t c : text) {
    const char high = static_cast<char>(c >> 8), low = static_cast<char>(c & 0xFF);
    bytes += big_endian ? high : low;
    bytes += big_endian ? low : high;
  }
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qel::fuzz::UseChileanLocale();
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const qel::Text text = qel::internal::DecodeBagFile(bytes);
  for (bool big_endian : {false, true}) {
    qel::fuzz::Check(qel::internal::DecodeBagFile(Utf16WithMark(text, big_endian)) == text);
  }
  // UTF-8 carries every text that has no lone surrogate; those decode the same behind a mark.
  const std::string utf8 = qel::ToUtf8(text);
  if (qel::FromUtf8(utf8) == text) {
    qel::fuzz::Check(qel::internal::DecodeBagFile("\xEF\xBB\xBF" + utf8) == text);
  }
  qel::QelProps bag;
  qel::fuzz::Try([&] { bag.LoadFromText(text); });
  return 0;
}
