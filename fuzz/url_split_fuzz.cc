// URL splitting: any bytes (as Windows-1252) either fail with an internet code from
// "InternetCrackUrl" or give parts within their limits, of which the path and the extra
// information are the URL's tail as written.
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/inet/qel_inet.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qel::Text url = qel::FromAnsi(std::string_view(reinterpret_cast<const char*>(data), size));
  qel::QelInet inet;
  try {
    inet.SplitURL(url);
  } catch (const qel::Error& e) {
    qel::fuzz::Check(e.Source() == u"InternetCrackUrl" && inet.URL() == url &&
                     inet.HostName().empty() && inet.Port() == 0);
    return 0;
  }
  qel::fuzz::Check(inet.HostName().size() <= 255 && inet.UserName().size() <= 127 &&
                   inet.Password().size() <= 127 && inet.UrlPath().size() <= 2047 &&
                   inet.ExtraInfo().size() <= 2047 && inet.Port() >= 0 && inet.Port() <= 65535);
  if (!url.empty()) qel::fuzz::Check(url.ends_with(inet.UrlPath() + inet.ExtraInfo()));
  return 0;
}
