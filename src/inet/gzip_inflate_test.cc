#include "inet/gzip_inflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "inet/inet_error.h"

namespace qel::internal {
namespace {

std::vector<uint8_t> Gzip(const std::string& data) {
  z_stream z{};
  deflateInit2(&z, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::vector<uint8_t> out(deflateBound(&z, data.size()) + 32);
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  z.avail_in = static_cast<uInt>(data.size());
  z.next_out = out.data();
  z.avail_out = static_cast<uInt>(out.size());
  deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  return out;
}

std::string Inflate(const std::vector<uint8_t>& in, int32_t* code, size_t max = 1 << 20) {
  std::vector<uint8_t> out;
  *code = GzipInflate(in, max, out);
  return std::string(out.begin(), out.end());
}

TEST(GzipInflate, MembersTruncationAndLimit) {
  int32_t code = -1;
  const std::string text(100000, 'a');
  EXPECT_EQ(Inflate(Gzip(text), &code), text);
  EXPECT_EQ(code, 0);

  std::vector<uint8_t> two = Gzip("uno ");
  const std::vector<uint8_t> second = Gzip("dos");
  two.insert(two.end(), second.begin(), second.end());
  EXPECT_EQ(Inflate(two, &code), "uno dos");
  EXPECT_EQ(code, 0);

  std::vector<uint8_t> cut = Gzip(text);
  cut.resize(cut.size() - 5);
  Inflate(cut, &code);
  EXPECT_EQ(code, kInetDecodingFailed);

  std::vector<uint8_t> junk = Gzip("x");
  junk.push_back(7);
  Inflate(junk, &code);
  EXPECT_EQ(code, kInetDecodingFailed);

  Inflate({'n', 'o', 't', ' ', 'g', 'z'}, &code);
  EXPECT_EQ(code, kInetDecodingFailed);

  // A bomb: 100 MB of zeros in about 100 KB stops at the limit.
  Inflate(Gzip(std::string(100 << 20, '\0')), &code, 1 << 20);
  EXPECT_EQ(code, kErrorNotEnoughMemory);
}

}  // namespace
}  // namespace qel::internal
