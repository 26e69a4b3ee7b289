// COBOL copybooks read by qel layout import. Besides not crashing: whatever the reader
// accepts is a signature text the field collection accepts, with a field per descriptor line.
// Inputs starting with a byte below 32 take the rest as a map file's names, one a line,
// mapped alternately to dates and RUTs.
#include <stdexcept>
#include <string>
#include <string_view>

#include "copybook.h"
#include "fuzz_helpers.h"
#include "qel/fields/field_types.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/frame/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qel::fuzz::UseChileanLocale();
  std::string_view input(reinterpret_cast<const char*>(data), size);
  qel::cli::CopybookOptions options;
  if (!input.empty() && static_cast<unsigned char>(input[0]) < 32) {
    const size_t split = input.find('\0');
    std::string_view names = input.substr(1, split == std::string_view::npos ? 0 : split - 1);
    input = split == std::string_view::npos ? input.substr(1) : input.substr(split + 1);
    for (size_t at = 0; at < names.size() && options.map.size() < 8;) {
      size_t end = names.find('\n', at);
      if (end == std::string_view::npos) end = names.size();
      options.map.emplace_back(std::string(names.substr(at, end - at)),
                               options.map.size() % 2 == 0 ? qel::qelTypeDate : qel::qelTypeRut);
      at = end + 1;
    }
  }
  qel::Text signature;
  try {
    signature = qel::cli::ImportCopybook(input, "fuzz", options);
  } catch (const std::runtime_error&) {
    return 0;
  } catch (const qel::cli::CopybookFieldError&) {
    return 0;
  } catch (const qel::Error&) {
    return 0;
  }
  qel::QelRecordFields fields;
  fields.SetLayout(signature);  // raises, and so stops the run, if the reader wrote nonsense
  size_t lines = 0;
  for (size_t p = 0; (p = signature.find(u"\r\n", p)) != qel::Text::npos; p += 2) ++lines;
  qel::fuzz::Check(static_cast<int32_t>(lines) - 1 == fields.Count());
  return 0;
}
