// Inflating gzip reply bodies (RFC 1952) with zlib.
#ifndef QEL_SRC_INET_GZIP_INFLATE_H_
#define QEL_SRC_INET_GZIP_INFLATE_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qel::internal {

// Inflates the gzip stream `in` (one member or several in a row, as RFC 1952 allows) into
// `out`. Answers 0, kInetDecodingFailed for data that is not a whole gzip stream (including
// trailing bytes that start no member), or kErrorNotEnoughMemory when the output would pass
// `max_out` bytes: a small body cannot blow up without bound.
int32_t GzipInflate(std::span<const uint8_t> in, size_t max_out, std::vector<uint8_t>& out);

}  // namespace qel::internal

#endif  // QEL_SRC_INET_GZIP_INFLATE_H_
