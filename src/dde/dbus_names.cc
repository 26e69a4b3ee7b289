#include "dde/dbus_names.h"

#include <cstdio>

namespace qel::internal {

std::string DdeBusName(TextView service) {
  std::string name = std::string(kDdeInterface) + ".";
  const std::string utf8 = ToUtf8(LCase(service));
  for (size_t i = 0; i < utf8.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(utf8[i]);
    const bool digit = c >= '0' && c <= '9';
    if ((c >= 'a' && c <= 'z') || c == '-' || (digit && i > 0)) {
      name += static_cast<char>(c);
    } else {
      char hex[4];
      std::snprintf(hex, sizeof hex, "_%02X", c);
      name += hex;
    }
  }
  if (service.empty()) name += "_";  // an element may not be empty
  return name;
}

}  // namespace qel::internal
