// URL joining: the input is a base and a reference separated by the first line feed. A join
// either fails with 122 from "InternetCombineUrl" or gives at most 2047 characters, and the
// result taken as a base with an empty reference gives itself without its fragment.
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/inet/qel_inet.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qel::Text input =
      qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size));
  const size_t cut = input.find(u'\n');
  const qel::TextView base = qel::TextView(input).substr(0, cut);
  const qel::TextView relative =
      cut == qel::Text::npos ? qel::TextView() : qel::TextView(input).substr(cut + 1);
  qel::QelInet inet;
  qel::Text joined;
  try {
    joined = inet.CombineURL(base, relative);
  } catch (const qel::Error& e) {
    qel::fuzz::Check(e.Number() == 122 && e.Source() == u"InternetCombineUrl");
    return 0;
  }
  qel::fuzz::Check(joined.size() <= 2047);
  qel::fuzz::Check(inet.CombineURL(joined, u"") == joined.substr(0, joined.find(u'#')));
  return 0;
}
