// The unit scans, level by level, and the one table that picks among them.
//
// Every vector version reads whole blocks while they fit inside the text and leaves the rest
// to the next narrower version (the AVX-512 copy, to a lane mask), so no version reads outside
// the text. A level's table reuses a lower level's version where a wider one does not pay: the
// AVX-512 level has its own copy only (bench/README.md, Records).
#include "frame/unit_scan.h"

#include <atomic>
#include <cstdint>

#include "frame/char_class.h"
#include "frame/unit_scan_testing.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace qel::internal {
namespace {

using FindEitherFn = size_t (*)(const char16_t* p, size_t n, size_t from, char16_t a,
                                char16_t b);
using CopyUntilEitherFn = size_t (*)(const char16_t* p, size_t n, char16_t* out, char16_t a,
                                     char16_t b, size_t from);
using TrimmedEndFn = size_t (*)(const char16_t* p, size_t n);
using SkipAsciiWordFn = size_t (*)(const char16_t* p, size_t n, size_t from);

struct ScanTable {
  FindEitherFn find_either;
  CopyUntilEitherFn copy_until_either;
  TrimmedEndFn trimmed_end;
  SkipAsciiWordFn skip_ascii_word;
};

// ---- Plain ------------------------------------------------------------------------------------

size_t FindEitherScalar(const char16_t* p, size_t n, size_t i, char16_t a, char16_t b) {
  for (; i < n; ++i) {
    if (p[i] == a || p[i] == b) return i;
  }
  return TextView::npos;
}

size_t CopyUntilEitherScalar(const char16_t* p, size_t n, char16_t* out, char16_t a, char16_t b,
                             size_t i) {
  for (; i < n; ++i) {
    out[i] = p[i];
    if (p[i] == a || p[i] == b) return i;
  }
  return TextView::npos;
}

size_t TrimmedEndScalar(const char16_t* p, size_t n) {
  while (n > 0 && p[n - 1] == u' ') --n;
  return n;
}

bool IsAsciiWordUnit(char16_t c) { return IsAsciiLetter(c) || IsDigit(c) || c == u'_'; }

size_t SkipAsciiWordScalar(const char16_t* p, size_t n, size_t i) {
  while (i < n && IsAsciiWordUnit(p[i])) ++i;
  return i;
}

constexpr ScanTable kScalarTable = {FindEitherScalar, CopyUntilEitherScalar, TrimmedEndScalar,
                                    SkipAsciiWordScalar};

#if defined(__x86_64__)

// ---- SSE2: 8 units a block ------------------------------------------------------------------

__m128i Load8(const char16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Position of the first unit a byte mask of comparison results marks, in a block at `k`.
size_t FirstMarked(size_t k, unsigned mask) {
  return k + static_cast<size_t>(__builtin_ctz(mask)) / 2;
}

size_t FindEitherSse2(const char16_t* p, size_t n, size_t i, char16_t a, char16_t b) {
  const __m128i na = _mm_set1_epi16(static_cast<short>(a));
  const __m128i nb = _mm_set1_epi16(static_cast<short>(b));
  for (; i + 8 <= n; i += 8) {
    const __m128i x = Load8(p + i);
    const auto mask = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(x, na), _mm_cmpeq_epi16(x, nb))));
    if (mask != 0) return FirstMarked(i, mask);
  }
  return FindEitherScalar(p, n, i, a, b);
}

size_t CopyUntilEitherSse2(const char16_t* p, size_t n, char16_t* out, char16_t a, char16_t b,
                           size_t i) {
  const __m128i na = _mm_set1_epi16(static_cast<short>(a));
  const __m128i nb = _mm_set1_epi16(static_cast<short>(b));
  for (; i + 8 <= n; i += 8) {
    const __m128i x = Load8(p + i);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), x);
    const auto mask = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(x, na), _mm_cmpeq_epi16(x, nb))));
    if (mask != 0) return FirstMarked(i, mask);
  }
  return CopyUntilEitherScalar(p, n, out, a, b, i);
}

size_t TrimmedEndSse2(const char16_t* p, size_t n) {
  const __m128i blank = _mm_set1_epi16(static_cast<short>(u' '));
  while (n >= 8 && _mm_movemask_epi8(_mm_cmpeq_epi16(Load8(p + n - 8), blank)) == 0xFFFF) n -= 8;
  return TrimmedEndScalar(p, n);
}

// x <= limit (unsigned) is tested as the saturating x - limit being zero.
__m128i AsciiWordMask8(__m128i v) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i lower = _mm_or_si128(v, _mm_set1_epi16(0x20));
  const __m128i letter = _mm_cmpeq_epi16(
      _mm_subs_epu16(_mm_sub_epi16(lower, _mm_set1_epi16(u'a')), _mm_set1_epi16(25)), zero);
  const __m128i digit = _mm_cmpeq_epi16(
      _mm_subs_epu16(_mm_sub_epi16(v, _mm_set1_epi16(u'0')), _mm_set1_epi16(9)), zero);
  const __m128i underscore = _mm_cmpeq_epi16(v, _mm_set1_epi16(u'_'));
  return _mm_or_si128(_mm_or_si128(letter, digit), underscore);
}

size_t SkipAsciiWordSse2(const char16_t* p, size_t n, size_t i) {
  for (; i + 8 <= n; i += 8) {
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(AsciiWordMask8(Load8(p + i))));
    if (mask != 0xFFFF) return FirstMarked(i, ~mask);
  }
  return SkipAsciiWordScalar(p, n, i);
}

constexpr ScanTable kSse2Table = {FindEitherSse2, CopyUntilEitherSse2, TrimmedEndSse2,
                                  SkipAsciiWordSse2};

// ---- AVX2: 16 units a block ------------------------------------------------------------------

__attribute__((target("avx2"))) size_t FindEitherAvx2(const char16_t* p, size_t n, size_t i,
                                                      char16_t a, char16_t b) {
  const __m256i na = _mm256_set1_epi16(static_cast<short>(a));
  const __m256i nb = _mm256_set1_epi16(static_cast<short>(b));
  for (; i + 16 <= n; i += 16) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
    const auto mask = static_cast<unsigned>(_mm256_movemask_epi8(
        _mm256_or_si256(_mm256_cmpeq_epi16(x, na), _mm256_cmpeq_epi16(x, nb))));
    if (mask != 0) return FirstMarked(i, mask);
  }
  return FindEitherSse2(p, n, i, a, b);
}

// Copies 16 units and folds into `least`, lane by lane, the least of each unit XOR either
// needle: a lane of `least` is zero once a unit equal to a needle went through it.
__attribute__((target("avx2"))) __m256i Copy16Folding(const char16_t* p, char16_t* out,
                                                      __m256i na, __m256i nb, __m256i least) {
  const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), x);
  return _mm256_min_epu16(least, _mm256_min_epu16(_mm256_xor_si256(x, na), _mm256_xor_si256(x, nb)));
}

// Four blocks are copied before they are tested at once; a round that holds a needle is
// searched again for its place, which happens once per call.
__attribute__((target("avx2"))) size_t CopyUntilEitherAvx2(const char16_t* p, size_t n,
                                                           char16_t* out, char16_t a, char16_t b,
                                                           size_t i) {
  const __m256i na = _mm256_set1_epi16(static_cast<short>(a));
  const __m256i nb = _mm256_set1_epi16(static_cast<short>(b));
  for (; i + 64 <= n; i += 64) {
    __m256i least = _mm256_set1_epi16(-1);
    for (size_t k = 0; k < 64; k += 16) least = Copy16Folding(p + i + k, out + i + k, na, nb, least);
    if (_mm256_movemask_epi8(_mm256_cmpeq_epi16(least, _mm256_setzero_si256())) != 0) {
      return FindEitherSse2(p, i + 64, i, a, b);
    }
  }
  for (; i + 16 <= n; i += 16) {
    const __m256i least = Copy16Folding(p + i, out + i, na, nb, _mm256_set1_epi16(-1));
    const auto mask = static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi16(least, _mm256_setzero_si256())));
    if (mask != 0) return FirstMarked(i, mask);
  }
  return CopyUntilEitherSse2(p, n, out, a, b, i);
}

__attribute__((target("avx2"))) size_t TrimmedEndAvx2(const char16_t* p, size_t n) {
  const __m256i blank = _mm256_set1_epi16(static_cast<short>(u' '));
  while (n >= 16) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + n - 16));
    if (static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(x, blank))) !=
        0xFFFFFFFFu) {
      break;
    }
    n -= 16;
  }
  return TrimmedEndSse2(p, n);
}

constexpr ScanTable kAvx2Table = {FindEitherAvx2, CopyUntilEitherAvx2, TrimmedEndAvx2,
                                  SkipAsciiWordSse2};

// ---- AVX-512: 32 units a block -------------------------------------------------------------

// Only the copy has a version here: it is the one scan over long texts where the wider stores
// measurably pay; the searches gain nothing on the short label values they mostly see.

__attribute__((target("avx512f,avx512bw"))) __mmask32 Marks32(__m512i x, __m512i na,
                                                              __m512i nb) {
  return _mm512_cmpeq_epi16_mask(x, na) | _mm512_cmpeq_epi16_mask(x, nb);
}

// Two blocks a round; the last units through a lane mask, which loads and stores nothing
// outside the text.
__attribute__((target("avx512f,avx512bw"))) size_t CopyUntilEitherAvx512(
    const char16_t* p, size_t n, char16_t* out, char16_t a, char16_t b, size_t i) {
  const __m512i na = _mm512_set1_epi16(static_cast<short>(a));
  const __m512i nb = _mm512_set1_epi16(static_cast<short>(b));
  for (; i + 64 <= n; i += 64) {
    const __m512i x = _mm512_loadu_si512(p + i);
    const __m512i y = _mm512_loadu_si512(p + i + 32);
    _mm512_storeu_si512(out + i, x);
    _mm512_storeu_si512(out + i + 32, y);
    const uint64_t marks = Marks32(x, na, nb) | uint64_t{Marks32(y, na, nb)} << 32;
    if (marks != 0) return i + static_cast<size_t>(__builtin_ctzll(marks));
  }
  for (; i < n; i += 32) {
    const __mmask32 lanes = n - i >= 32 ? ~__mmask32{0} : (__mmask32{1} << (n - i)) - 1;
    const __m512i x = _mm512_maskz_loadu_epi16(lanes, p + i);
    _mm512_mask_storeu_epi16(out + i, lanes, x);
    const __mmask32 marks = lanes & Marks32(x, na, nb);
    if (marks != 0) return i + static_cast<size_t>(__builtin_ctz(marks));
  }
  return TextView::npos;
}

constexpr ScanTable kAvx512Table = {FindEitherAvx2, CopyUntilEitherAvx512, TrimmedEndAvx2,
                                    SkipAsciiWordSse2};

#endif  // __x86_64__

const ScanTable& TableOf(ScanLevel level) {
  switch (level) {
#if defined(__x86_64__)
    case ScanLevel::kSse2:
      return kSse2Table;
    case ScanLevel::kAvx2:
      return kAvx2Table;
    case ScanLevel::kAvx512:
      return kAvx512Table;
#endif
    default:
      return kScalarTable;
  }
}

ScanLevel BestLevel() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx512bw")) return ScanLevel::kAvx512;
  if (__builtin_cpu_supports("avx2")) return ScanLevel::kAvx2;
  return ScanLevel::kSse2;
#else
  return ScanLevel::kScalar;
#endif
}

// The table in use. Relaxed loads suffice: every table is a constant and any of them answers
// right; the testing scope is the only writer after the first pick.
std::atomic<const ScanTable*> chosen_table{nullptr};

const ScanTable& Table() {
  const ScanTable* t = chosen_table.load(std::memory_order_relaxed);
  if (t == nullptr) {
    t = &TableOf(BestLevel());
    chosen_table.store(t, std::memory_order_relaxed);
  }
  return *t;
}

}  // namespace

size_t FindEitherUnit(TextView text, char16_t a, char16_t b, size_t from) {
  if (from >= text.size()) return TextView::npos;
  return Table().find_either(text.data(), text.size(), from, a, b);
}

size_t CopyUntilEither(TextView text, char16_t* out, char16_t a, char16_t b) {
  return Table().copy_until_either(text.data(), text.size(), out, a, b, 0);
}

size_t TrimmedEnd(TextView text) { return Table().trimmed_end(text.data(), text.size()); }

size_t SkipAsciiWord(TextView text, size_t from) {
  if (from >= text.size()) return text.size();
  return Table().skip_ascii_word(text.data(), text.size(), from);
}

// ---- Testing ----------------------------------------------------------------------------------

const char* ForTestingScanLevelName(ScanLevel level) {
  switch (level) {
    case ScanLevel::kScalar:
      return "scalar";
    case ScanLevel::kSse2:
      return "sse2";
    case ScanLevel::kAvx2:
      return "avx2";
    case ScanLevel::kAvx512:
      return "avx512";
  }
  return "?";
}

std::vector<ScanLevel> ForTestingScanLevels() {
  std::vector<ScanLevel> levels = {ScanLevel::kScalar};
  for (auto level : {ScanLevel::kSse2, ScanLevel::kAvx2, ScanLevel::kAvx512}) {
    if (level <= BestLevel()) levels.push_back(level);
  }
  return levels;
}

ForTestingScopedScanLevel::ForTestingScopedScanLevel(ScanLevel level) {
  chosen_table.store(&TableOf(level), std::memory_order_relaxed);
}

ForTestingScopedScanLevel::~ForTestingScopedScanLevel() {
  chosen_table.store(&TableOf(BestLevel()), std::memory_order_relaxed);
}

}  // namespace qel::internal
