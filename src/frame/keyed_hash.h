// Keyed hashing of names that arrive from outside (bag property names, field names of a
// layout), so that nobody who chooses the names can make them collide on purpose.
//
// The hash is SipHash-1-3 over the text's UTF-16 code units in little-endian order, under a
// 128-bit key drawn from the system's random source once per process. Values therefore
// differ from one run to the next: never store or send them. Thread-safe.
#ifndef QEL_SRC_FRAME_KEYED_HASH_H_
#define QEL_SRC_FRAME_KEYED_HASH_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "qel/frame/text.h"

namespace qel::internal {

// The keyed hash of `text`.
uint64_t KeyedHash(TextView text);

// The keyed hash of `text` with each unit folded by UpperChar: two texts that EqualsNoCase
// finds equal hash alike.
uint64_t KeyedHashNoCase(TextView text);

// Hash objects for unordered containers keyed by Text, looked up by Text or TextView
// (transparent): KeyedTextHash with std::equal_to<>, KeyedTextHashNoCase with TextEqualNoCase.
struct KeyedTextHash {
  using is_transparent = void;
  size_t operator()(TextView text) const noexcept { return static_cast<size_t>(KeyedHash(text)); }
};
struct KeyedTextHashNoCase {
  using is_transparent = void;
  size_t operator()(TextView text) const noexcept {
    return static_cast<size_t>(KeyedHashNoCase(text));
  }
};
struct TextEqualNoCase {
  using is_transparent = void;
  bool operator()(TextView a, TextView b) const noexcept { return EqualsNoCase(a, b); }
};

// SipHash-c-d of `bytes` under `key` (16 bytes), for checking the rounds against the published
// test vectors.
uint64_t SipHashForTesting(int c_rounds, int d_rounds, std::span<const uint8_t, 16> key,
                           std::span<const uint8_t> bytes);

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_KEYED_HASH_H_
