// What the bag loaders expose to the rest of the library and its tests.
#ifndef QEL_SRC_PROPS_PROPS_LOADERS_H_
#define QEL_SRC_PROPS_PROPS_LOADERS_H_

#include <string_view>

#include "qel/frame/text.h"

namespace qel::internal {

// The text of a bag text file's bytes, as QelProps::LoadFromFile decodes them: UTF-8 after a
// UTF-8 byte order mark or when valid UTF-8 throughout, UTF-16 after a UTF-16 byte order mark
// (an odd last byte dropped), Windows-1252 otherwise. Never raises.
Text DecodeBagFile(std::string_view bytes);

}  // namespace qel::internal

#endif  // QEL_SRC_PROPS_PROPS_LOADERS_H_
