#include "frame/keyed_hash.h"

#include <sys/random.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>

namespace qel::internal {
namespace {

struct SipKey {
  uint64_t k0;
  uint64_t k1;
};

uint64_t LoadLittle64(const uint8_t* p) {
  uint64_t v = 0;
  for (int i = 7; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}

// The process's key: from getrandom; should the kernel refuse (a sandbox without the call),
// from the clock and an address, which still differ from run to run.
SipKey ProcessKey() {
  static const SipKey key = [] {
    std::array<uint8_t, 16> bytes{};
    size_t got = 0;
    while (got < bytes.size()) {
      const ssize_t n = getrandom(bytes.data() + got, bytes.size() - got, 0);
      if (n <= 0) break;
      got += static_cast<size_t>(n);
    }
    if (got < bytes.size()) {
      const uint64_t t =
          static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
      const uint64_t a = reinterpret_cast<uintptr_t>(&bytes);
      return SipKey{t ^ 0x736f6d6570736575ULL, a ^ (t << 17) ^ 0x646f72616e646f6dULL};
    }
    return SipKey{LoadLittle64(bytes.data()), LoadLittle64(bytes.data() + 8)};
  }();
  return key;
}

constexpr uint64_t RotateLeft(uint64_t x, int b) { return (x << b) | (x >> (64 - b)); }

// The SipHash state with C compression and D finalisation rounds: message words go in through
// Compress, the total byte count through Finish.
template <int C, int D>
class SipState {
 public:
  explicit SipState(SipKey key)
      : v0_(key.k0 ^ 0x736f6d6570736575ULL),
        v1_(key.k1 ^ 0x646f72616e646f6dULL),
        v2_(key.k0 ^ 0x6c7967656e657261ULL),
        v3_(key.k1 ^ 0x7465646279746573ULL) {}

  void Compress(uint64_t m) {
    v3_ ^= m;
    for (int i = 0; i < C; ++i) Round();
    v0_ ^= m;
  }

  // `tail` holds the last 0..7 message bytes in its low bytes.
  uint64_t Finish(uint64_t tail, uint64_t total_bytes) {
    Compress(tail | (total_bytes << 56));
    v2_ ^= 0xff;
    for (int i = 0; i < D; ++i) Round();
    return v0_ ^ v1_ ^ v2_ ^ v3_;
  }

 private:
  void Round() {
    v0_ += v1_;
    v1_ = RotateLeft(v1_, 13);
    v1_ ^= v0_;
    v0_ = RotateLeft(v0_, 32);
    v2_ += v3_;
    v3_ = RotateLeft(v3_, 16);
    v3_ ^= v2_;
    v0_ += v3_;
    v3_ = RotateLeft(v3_, 21);
    v3_ ^= v0_;
    v2_ += v1_;
    v1_ = RotateLeft(v1_, 17);
    v1_ ^= v2_;
    v2_ = RotateLeft(v2_, 32);
  }

  uint64_t v0_, v1_, v2_, v3_;
};

// SipHash-c-d of little-endian bytes, for the published test vectors.
template <int C, int D>
uint64_t SipHashBytes(SipKey key, std::span<const uint8_t> bytes) {
  SipState<C, D> state(key);
  const size_t whole = bytes.size() / 8 * 8;
  for (size_t i = 0; i < whole; i += 8) state.Compress(LoadLittle64(bytes.data() + i));
  uint64_t tail = 0;
  for (size_t i = whole; i < bytes.size(); ++i) tail |= uint64_t{bytes[i]} << (8 * (i - whole));
  return state.Finish(tail, bytes.size());
}

// Four units as one message word, the first in the low bits.
uint64_t Word(const char16_t* p) {
  return uint64_t{p[0]} | uint64_t{p[1]} << 16 | uint64_t{p[2]} << 32 | uint64_t{p[3]} << 48;
}

// Word with each unit folded by UpperChar. Names are mostly ASCII, whose four units fold at
// once: with every unit below 0x80, adding 0x80 - 'a' (or 0x80 - 'z' - 1) to a unit sets its
// bit 7 exactly when the unit is at least 'a' (above 'z'), and no sum carries into the next unit.
uint64_t FoldedWord(const char16_t* p) {
  constexpr uint64_t kLanes = 0x0001000100010001ULL;
  const uint64_t w = Word(p);
  if ((w & (0xff80 * kLanes)) == 0) {
    const uint64_t from_a = w + (0x80 - u'a') * kLanes;
    const uint64_t past_z = w + (0x80 - u'z' - 1) * kLanes;
    const uint64_t lower = from_a & ~past_z & (0x80 * kLanes);
    return w - (lower >> 2);  // 0x80 >> 2 == 'a' - 'A'
  }
  return uint64_t{UpperChar(p[0])} | uint64_t{UpperChar(p[1])} << 16 |
         uint64_t{UpperChar(p[2])} << 32 | uint64_t{UpperChar(p[3])} << 48;
}

// SipHash-1-3 over the units of `text`, four units to a message word made by `word`; the last
// 0..3 units go into the final word padded with zeros (which every fold leaves zero).
template <class MakeWord>
uint64_t HashUnits(TextView text, MakeWord word) {
  SipState<1, 3> state(ProcessKey());
  const size_t whole = text.size() / 4 * 4;
  for (size_t i = 0; i < whole; i += 4) state.Compress(word(text.data() + i));
  std::array<char16_t, 4> last{};
  for (size_t i = whole; i < text.size(); ++i) last[i - whole] = text[i];
  return state.Finish(word(last.data()), text.size() * 2);
}

}  // namespace

uint64_t KeyedHash(TextView text) {
  return HashUnits(text, [](const char16_t* p) { return Word(p); });
}

uint64_t KeyedHashNoCase(TextView text) {
  return HashUnits(text, [](const char16_t* p) { return FoldedWord(p); });
}

uint64_t SipHashForTesting(int c_rounds, int d_rounds, std::span<const uint8_t, 16> key,
                           std::span<const uint8_t> bytes) {
  const SipKey k{LoadLittle64(key.data()), LoadLittle64(key.data() + 8)};
  if (c_rounds == 2 && d_rounds == 4) return SipHashBytes<2, 4>(k, bytes);
  if (c_rounds == 1 && d_rounds == 3) return SipHashBytes<1, 3>(k, bytes);
  std::abort();  // only the two published variants are built
}

}  // namespace qel::internal
