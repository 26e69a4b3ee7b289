// The names the D-Bus transport uses on the bus.
#ifndef QEL_SRC_DDE_DBUS_NAMES_H_
#define QEL_SRC_DDE_DBUS_NAMES_H_

#include <string>

#include "qel/frame/text.h"

namespace qel::internal {

inline constexpr char kDdeInterface[] = "org.qelstd.Dde1";
inline constexpr char kDdeObjectPath[] = "/org/qelstd/Dde1";
inline constexpr char kDdeErrorPrefix[] = "org.qelstd.Dde1.Error.";

// "org.qelstd.Dde1." + the service name folded to lower case, each character other than an
// ASCII letter, digit or "-" (and a digit in first place) written as "_" and two upper-case
// hexadecimal digits per UTF-8 byte. Distinct names without regard to case give distinct bus
// names. The result may be longer than a bus name may be (255): the caller checks.
std::string DdeBusName(TextView service);

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_DBUS_NAMES_H_
