#include <cstdio>

#include "qel/dde/qel_dde.h"

namespace qel {

// Each character other than an ASCII letter, digit or "-" (and a digit in first place) becomes
// "_" and two upper-case hexadecimal digits per UTF-8 byte; "_" itself is escaped, so the
// mapping is one to one. An empty name gives the lone "_", which no escape produces.
std::string DdeBusName(TextView service) {
  std::string name = std::string(kDdeBusInterface) + ".";
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

}  // namespace qel
