// The names the D-Bus transport uses on the bus; the service's bus name is qel::DdeBusName.
#ifndef QEL_SRC_DDE_DBUS_NAMES_H_
#define QEL_SRC_DDE_DBUS_NAMES_H_

#include "qel/dde/qel_dde.h"

namespace qel::internal {

inline constexpr const char* kDdeInterface = kDdeBusInterface;
inline constexpr const char* kDdeObjectPath = kDdeBusObjectPath;
inline constexpr char kDdeErrorPrefix[] = "org.qelstd.Dde1.Error.";

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_DBUS_NAMES_H_
