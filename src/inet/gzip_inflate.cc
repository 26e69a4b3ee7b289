#include "inet/gzip_inflate.h"

#include <zlib.h>

#include <algorithm>
#include <climits>

#include "inet/inet_error.h"

namespace qel::internal {
namespace {

class Inflater {
 public:
  Inflater() { ok_ = inflateInit2(&z_, 16 + MAX_WBITS) == Z_OK; }
  ~Inflater() {
    if (ok_) inflateEnd(&z_);
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  bool ok() const { return ok_; }
  z_stream& z() { return z_; }

 private:
  z_stream z_{};
  bool ok_ = false;
};

// The size the last member announces in its trailer (ISIZE, modulo 2^32): a first guess for
// the output buffer, trusted only up to the limit.
size_t AnnouncedSize(std::span<const uint8_t> in) {
  if (in.size() < 18) return 0;
  const uint8_t* p = in.data() + in.size() - 4;
  return static_cast<size_t>(p[0]) | static_cast<size_t>(p[1]) << 8 |
         static_cast<size_t>(p[2]) << 16 | static_cast<size_t>(p[3]) << 24;
}

}  // namespace

int32_t GzipInflate(std::span<const uint8_t> in, size_t max_out, std::vector<uint8_t>& out) {
  out.clear();
  Inflater inflater;
  if (!inflater.ok()) return kErrorNotEnoughMemory;
  z_stream& z = inflater.z();
  // One byte more than announced, so that zlib can read the trailer in the same call instead
  // of stopping on a full buffer (which would double it for nothing).
  size_t capacity = std::min(std::max(AnnouncedSize(in) + 1, in.size() * 4), max_out);
  capacity = std::max<size_t>(capacity, 64);
  out.resize(capacity);
  size_t produced = 0;
  size_t consumed = 0;
  for (;;) {
    if (produced == out.size()) {
      if (out.size() >= max_out) return kErrorNotEnoughMemory;
      out.resize(std::min(max_out, out.size() * 2));
    }
    const size_t in_chunk = std::min<size_t>(in.size() - consumed, UINT_MAX);
    const size_t out_chunk = std::min<size_t>(out.size() - produced, UINT_MAX);
    z.next_in = const_cast<Bytef*>(in.data() + consumed);
    z.avail_in = static_cast<uInt>(in_chunk);
    z.next_out = out.data() + produced;
    z.avail_out = static_cast<uInt>(out_chunk);
    const int rc = inflate(&z, Z_NO_FLUSH);
    consumed += in_chunk - z.avail_in;
    produced += out_chunk - z.avail_out;
    if (rc == Z_STREAM_END) {
      if (consumed == in.size()) break;
      // Another member follows.
      if (inflateReset(&z) != Z_OK) return kInetDecodingFailed;
      continue;
    }
    if (rc == Z_BUF_ERROR && z.avail_out != 0) return kInetDecodingFailed;  // input ran out
    if (rc != Z_OK && rc != Z_BUF_ERROR) {
      return rc == Z_MEM_ERROR ? kErrorNotEnoughMemory : kInetDecodingFailed;
    }
    if (consumed == in.size() && z.avail_out != 0) return kInetDecodingFailed;
  }
  out.resize(produced);
  return 0;
}

}  // namespace qel::internal
