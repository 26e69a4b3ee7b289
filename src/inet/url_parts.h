// Splitting and joining URLs: the parser behind QelInet.SplitURL and CombineURL.
//
// Neither function decodes or escapes anything, and neither raises: each answers 0 or the
// internet error code the caller raises (inet_error.h). Both run in time linear in their
// input and allocate no more than a few copies of it.
#ifndef QEL_SRC_INET_URL_PARTS_H_
#define QEL_SRC_INET_URL_PARTS_H_

#include <cstddef>
#include <cstdint>

#include "qel/frame/text.h"

namespace qel::internal {

// The buffers of the platform's splitter, kept as limits: a part fits when it is shorter than
// its buffer (room for the terminator).
inline constexpr size_t kMaxHostChars = 255;
inline constexpr size_t kMaxUserChars = 127;
inline constexpr size_t kMaxPasswordChars = 127;
inline constexpr size_t kMaxPathChars = 2047;
inline constexpr size_t kMaxExtraChars = 2047;
// The joined URL's buffer, likewise.
inline constexpr size_t kMaxCombinedChars = 2047;

struct UrlParts {
  int32_t scheme = 0;  // a QelInetSchemes number
  Text host;
  int32_t port = 0;
  Text user;
  Text password;
  Text path;
  Text extra;  // query and fragment, with their "?" or "#"
};

// The scheme number of a scheme name (any case); qelSchemeUnknown for names it does not know.
int32_t SchemeNumber(TextView name);
// The port a scheme uses when a URL names none; 0 for schemes without one.
int32_t DefaultPort(int32_t scheme);

// Cracks `url` into `parts`. Errors: 12006 when the URL has no scheme, 12005 for a port that
// is not a number up to 65535 or an unclosed "[" host, 122 for a part over its limit.
int32_t SplitUrl(TextView url, UrlParts& parts);

// Resolves `relative` against `base` into `out`. Error: 122 for a result over its limit.
int32_t CombineUrl(TextView base, TextView relative, Text& out);

}  // namespace qel::internal

#endif  // QEL_SRC_INET_URL_PARTS_H_
