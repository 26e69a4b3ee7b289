#include "frame/keyed_hash.h"

#include <sys/random.h>

#include <array>
#include <chrono>
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

// The SipHash state: message words go in through Compress, the total byte count through
// Finish.
class SipState {
 public:
  SipState(SipKey key, int c_rounds, int d_rounds)
      : v0_(key.k0 ^ 0x736f6d6570736575ULL),
        v1_(key.k1 ^ 0x646f72616e646f6dULL),
        v2_(key.k0 ^ 0x6c7967656e657261ULL),
        v3_(key.k1 ^ 0x7465646279746573ULL),
        c_rounds_(c_rounds),
        d_rounds_(d_rounds) {}

  void Compress(uint64_t m) {
    v3_ ^= m;
    for (int i = 0; i < c_rounds_; ++i) Round();
    v0_ ^= m;
  }

  // `tail` holds the last 0..7 message bytes in its low bytes.
  uint64_t Finish(uint64_t tail, uint64_t total_bytes) {
    Compress(tail | (total_bytes << 56));
    v2_ ^= 0xff;
    for (int i = 0; i < d_rounds_; ++i) Round();
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
  int c_rounds_, d_rounds_;
};

// SipHash-1-3 over the units of `text`, each passed through `fold` first; four units make one
// little-endian message word.
template <class Fold>
uint64_t HashUnits(TextView text, Fold fold) {
  SipState state(ProcessKey(), 1, 3);
  const size_t whole = text.size() / 4 * 4;
  for (size_t i = 0; i < whole; i += 4) {
    state.Compress(uint64_t{fold(text[i])} | uint64_t{fold(text[i + 1])} << 16 |
                   uint64_t{fold(text[i + 2])} << 32 | uint64_t{fold(text[i + 3])} << 48);
  }
  uint64_t tail = 0;
  for (size_t i = whole; i < text.size(); ++i)
    tail |= uint64_t{fold(text[i])} << (16 * (i - whole));
  return state.Finish(tail, text.size() * 2);
}

}  // namespace

uint64_t KeyedHash(TextView text) {
  return HashUnits(text, [](char16_t c) { return c; });
}

uint64_t KeyedHashNoCase(TextView text) { return HashUnits(text, UpperChar); }

uint64_t SipHashForTesting(int c_rounds, int d_rounds, std::span<const uint8_t, 16> key,
                           std::span<const uint8_t> bytes) {
  SipState state(SipKey{LoadLittle64(key.data()), LoadLittle64(key.data() + 8)}, c_rounds,
                 d_rounds);
  const size_t whole = bytes.size() / 8 * 8;
  for (size_t i = 0; i < whole; i += 8) state.Compress(LoadLittle64(bytes.data() + i));
  uint64_t tail = 0;
  for (size_t i = whole; i < bytes.size(); ++i) tail |= uint64_t{bytes[i]} << (8 * (i - whole));
  return state.Finish(tail, bytes.size());
}

}  // namespace qel::internal
