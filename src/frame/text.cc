#include "qel/frame/text.h"

#include <array>
#include <cstdint>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace qel {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Code points of Windows-1252 bytes 0x80..0x9F; the undefined five map to themselves.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

#if defined(__x86_64__)
__m128i Load8(const char16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
#endif

}  // namespace

Text FromUtf8(std::string_view s) {
  Text out;
  out.reserve(s.size());
  size_t i = 0;
  const size_t n = s.size();
  while (i < n) {
    const auto b0 = static_cast<unsigned char>(s[i]);
    if (b0 < 0x80) {
      out.push_back(b0);
      ++i;
      continue;
    }
    int extra;
    char32_t cp;
    char32_t min;
    if ((b0 & 0xE0) == 0xC0) {
      extra = 1, cp = b0 & 0x1F, min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
      extra = 2, cp = b0 & 0x0F, min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
      extra = 3, cp = b0 & 0x07, min = 0x10000;
    } else {
      out.push_back(kReplacement);
      ++i;
      continue;
    }
    size_t j = i + 1;
    bool ok = true;
    for (int k = 0; k < extra; ++k, ++j) {
      if (j >= n || (static_cast<unsigned char>(s[j]) & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      cp = (cp << 6) | (static_cast<unsigned char>(s[j]) & 0x3F);
    }
    if (!ok || cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
      out.push_back(kReplacement);
      i = ok ? j : i + 1;
      continue;
    }
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
    i = j;
  }
  return out;
}

std::string ToUtf8(TextView t) {
  std::string out;
  out.reserve(t.size());
  for (size_t i = 0; i < t.size(); ++i) {
    char32_t cp = t[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < t.size() && t[i + 1] >= 0xDC00 &&
        t[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (t[i + 1] - 0xDC00);
      ++i;
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      cp = kReplacement;
    }
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

Text FromAnsi(std::string_view bytes) {
  Text out;
  out.resize(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto b = static_cast<unsigned char>(bytes[i]);
    out[i] = (b >= 0x80 && b < 0xA0) ? kCp1252High[b - 0x80] : b;
  }
  return out;
}

char ToAnsiChar(char16_t c) {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(c);
  for (size_t k = 0; k < kCp1252High.size(); ++k) {
    if (kCp1252High[k] == c) return static_cast<char>(0x80 + k);
  }
  return '?';
}

std::string ToAnsi(TextView t) {
  std::string out;
  out.resize(t.size());
  for (size_t i = 0; i < t.size(); ++i) out[i] = ToAnsiChar(t[i]);
  return out;
}

char16_t UpperChar(char16_t c) {
  if (c >= u'a' && c <= u'z') return c - 32;
  // Latin-1 lower-case letters, except the division sign and y-diaeresis/sharp s.
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
  return c;
}

char16_t LowerChar(char16_t c) {
  if (c >= u'A' && c <= u'Z') return c + 32;
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
  return c;
}

Text UCase(TextView text) {
  Text out(text);
  for (auto& c : out) c = UpperChar(c);
  return out;
}

Text LCase(TextView text) {
  Text out(text);
  for (auto& c : out) c = LowerChar(c);
  return out;
}

bool EqualsNoCase(TextView a, TextView b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && UpperChar(a[i]) != UpperChar(b[i])) return false;
  }
  return true;
}

TextView LTrim(TextView t) {
  size_t i = 0;
  while (i < t.size() && t[i] == u' ') ++i;
  return t.substr(i);
}

TextView RTrim(TextView t) {
  size_t n = t.size();
#if defined(__x86_64__)
  // Records often end in hundreds of blanks: they are passed over eight at a time.
  const __m128i blank = _mm_set1_epi16(static_cast<short>(u' '));
  while (n >= 8 && _mm_movemask_epi8(_mm_cmpeq_epi16(Load8(t.data() + n - 8), blank)) == 0xFFFF) {
    n -= 8;
  }
#endif
  while (n > 0 && t[n - 1] == u' ') --n;
  return t.substr(0, n);
}

TextView Trim(TextView t) { return RTrim(LTrim(t)); }

Text RightJustify(TextView fill, TextView text, int32_t width) {
  const size_t w = width < 0 ? 0 : static_cast<size_t>(width);
  if (text.size() >= w) return Text(text.substr(text.size() - w));
  Text out(w - text.size(), fill.empty() ? u' ' : fill[0]);
  out.append(text);
  return out;
}

Text LeftJustify(TextView text, TextView fill, int32_t width) {
  const size_t w = width < 0 ? 0 : static_cast<size_t>(width);
  if (text.size() >= w) return Text(text.substr(0, w));
  Text out(text);
  out.append(w - text.size(), fill.empty() ? u' ' : fill[0]);
  return out;
}

// The scans below read 32 units at a time with AVX-512BW where the processor has it, else 16
// with AVX2 (each asked once), else 8 with the SSE2 every x86-64 has, and finish unit by unit
// (AVX-512 under a mask).
namespace {

#if defined(__x86_64__)
bool HasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2");
  return has;
}

bool HasAvx512() {
  static const bool has = __builtin_cpu_supports("avx512bw");
  return has;
}

// The mask of the first `n` of 32 lanes (n <= 32).
__mmask32 FirstLanes(size_t n) { return static_cast<__mmask32>((uint64_t{1} << n) - 1); }

__attribute__((target("avx2"))) __m256i Load16(const char16_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// Position of the first unit a comparison mask marks, in a block starting at `k`.
size_t FirstMarked(size_t k, int mask) {
  return k + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
}

// The first `a` or `b` in whole blocks of 32 from *from, or npos with *from left at the first
// unit not read.
__attribute__((target("avx2"))) size_t FindEitherAvx2(const char16_t* p, size_t n, size_t* from,
                                                      char16_t a, char16_t b) {
  const __m256i na = _mm256_set1_epi16(static_cast<short>(a));
  const __m256i nb = _mm256_set1_epi16(static_cast<short>(b));
  size_t i = *from;  // a local, so the loop keeps it in a register
  for (; i + 32 <= n; i += 32) {
    const __m256i x = Load16(p + i), y = Load16(p + i + 16);
    const __m256i mx = _mm256_or_si256(_mm256_cmpeq_epi16(x, na), _mm256_cmpeq_epi16(x, nb));
    const __m256i my = _mm256_or_si256(_mm256_cmpeq_epi16(y, na), _mm256_cmpeq_epi16(y, nb));
    const __m256i both = _mm256_or_si256(mx, my);
    if (_mm256_testz_si256(both, both)) continue;
    if (int m = _mm256_movemask_epi8(mx)) return FirstMarked(i, m);
    return FirstMarked(i + 16, _mm256_movemask_epi8(my));
  }
  *from = i;
  return TextView::npos;
}

// The first `a` or `b` from `from`, 32 units at a time, the last ones under a mask: as cheap for
// the few units up to the end of a label as for a long text.
__attribute__((target("avx512f,avx512bw"))) size_t FindEitherAvx512(const char16_t* p, size_t n,
                                                                    size_t from, char16_t a,
                                                                    char16_t b) {
  const __m512i na = _mm512_set1_epi16(static_cast<short>(a));
  const __m512i nb = _mm512_set1_epi16(static_cast<short>(b));
  for (size_t i = from; i < n; i += 32) {
    const __mmask32 lanes = n - i >= 32 ? ~__mmask32{0} : FirstLanes(n - i);
    const __m512i x = _mm512_maskz_loadu_epi16(lanes, p + i);
    const __mmask32 hit = _mm512_mask_cmpeq_epi16_mask(lanes, x, na) |
                          _mm512_mask_cmpeq_epi16_mask(lanes, x, nb);
    if (hit != 0) return i + static_cast<size_t>(__builtin_ctz(hit));
  }
  return TextView::npos;
}

// Copies 16 units, marking those equal to the needle's.
__attribute__((target("avx2"))) __m256i Copy16(const char16_t* p, char16_t* out, __m256i needle) {
  const __m256i x = Load16(p);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), x);
  return _mm256_cmpeq_epi16(x, needle);
}

// Units to skip from `out` to the next `align`-byte boundary (at most align / 2 - 1).
size_t UnitsToBoundary(const char16_t* out, size_t align) {
  const auto addr = reinterpret_cast<uintptr_t>(out);
  return ((align - (addr & (align - 1))) & (align - 1)) / sizeof(char16_t);
}

// The copies below store on vector-sized boundaries of `out` after a first unaligned block (the
// units between are stored twice): a store that straddles two cache lines costs about twice as
// much, and a buffer from malloc is only 16-byte aligned.
//
// Copies from *from while at least 16 units remain, leaving *from at the first unit not copied;
// true when one of the units copied was `c`.
__attribute__((target("avx2"))) bool CopyTestingAvx2(const char16_t* p, size_t n, size_t* from,
                                                     char16_t* out, char16_t c) {
  const __m256i needle = _mm256_set1_epi16(static_cast<short>(c));
  size_t i = *from;
  if (i + 16 > n) return false;
  __m256i seen = Copy16(p + i, out + i, needle);
  i += UnitsToBoundary(out + i, 32);
  for (; i + 64 <= n; i += 64) {  // four blocks a step, their marks joined pairwise
    const __m256i wx = _mm256_or_si256(Copy16(p + i, out + i, needle),
                                       Copy16(p + i + 16, out + i + 16, needle));
    const __m256i yz = _mm256_or_si256(Copy16(p + i + 32, out + i + 32, needle),
                                       Copy16(p + i + 48, out + i + 48, needle));
    seen = _mm256_or_si256(seen, _mm256_or_si256(wx, yz));
  }
  for (; i + 16 <= n; i += 16) seen = _mm256_or_si256(seen, Copy16(p + i, out + i, needle));
  *from = i;
  return !_mm256_testz_si256(seen, seen);
}

// Copies 32 units, folding each one's XOR with the needle into `least`.
__attribute__((target("avx512f,avx512bw"))) __m512i CopyNoting(const char16_t* p, char16_t* out,
                                                              __m512i needle, __m512i least) {
  const __m512i x = _mm512_loadu_si512(p);
  _mm512_storeu_si512(out, x);
  return _mm512_min_epu16(least, _mm512_xor_si512(x, needle));
}

// The whole copy, 32 units to a register; the last units with a masked load and store. The
// test keeps, lane by lane, the least of (unit XOR c), which is zero once a unit equals c: two
// vector operations a block, and nothing moved out of the vector unit until the end.
__attribute__((target("avx512f,avx512bw"))) bool CopyTestingAvx512(const char16_t* p, size_t n,
                                                                   char16_t* out, char16_t c) {
  const __m512i needle = _mm512_set1_epi16(static_cast<short>(c));
  __m512i least = _mm512_set1_epi16(-1);
  size_t i = 0;
  if (n >= 32) {
    least = CopyNoting(p, out, needle, least);
    for (i = UnitsToBoundary(out, 64); i + 64 <= n; i += 64) {
      least = CopyNoting(p + i, out + i, needle, least);
      least = CopyNoting(p + i + 32, out + i + 32, needle, least);
    }
    if (i + 32 <= n) {
      least = CopyNoting(p + i, out + i, needle, least);
      i += 32;
    }
  }
  if (i < n) {
    const __mmask32 m = FirstLanes(n - i);
    const __m512i x = _mm512_maskz_loadu_epi16(m, p + i);
    _mm512_mask_storeu_epi16(out + i, m, x);
    least = _mm512_mask_min_epu16(least, m, least, _mm512_xor_si512(x, needle));
  }
  return _mm512_cmpeq_epi16_mask(least, _mm512_setzero_si512()) != 0;
}

#endif

}  // namespace

size_t FindUnit(TextView text, char16_t c, size_t from) {
  return FindEitherUnit(text, c, c, from);
}

size_t FindEitherUnit(TextView text, char16_t a, char16_t b, size_t from) {
  const char16_t* p = text.data();
  const size_t n = text.size();
  if (from >= n) return TextView::npos;  // also keeps the sums below from wrapping
  size_t i = from;
#if defined(__x86_64__)
  const __m128i na = _mm_set1_epi16(static_cast<short>(a));
  const __m128i nb = _mm_set1_epi16(static_cast<short>(b));
  const auto find8 = [&] {
    const __m128i x = Load8(p + i);
    return _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(x, na), _mm_cmpeq_epi16(x, nb)));
  };
  // Many searches end within a few units (the value of a label): the first two blocks are
  // looked at before the wide loops are worth starting.
  for (const size_t near = from + 16; i + 8 <= n && i < near; i += 8) {
    if (int mask = find8()) return FirstMarked(i, mask);
  }
  if (HasAvx512()) return FindEitherAvx512(p, n, i, a, b);
  if (HasAvx2()) {
    if (size_t found = FindEitherAvx2(p, n, &i, a, b); found != TextView::npos) return found;
  }
  for (; i + 8 <= n; i += 8) {
    if (int mask = find8()) return FirstMarked(i, mask);
  }
#endif
  for (; i < n; ++i) {
    if (p[i] == a || p[i] == b) return i;
  }
  return TextView::npos;
}

bool CopyTestingUnit(TextView text, char16_t* out, char16_t c) {
  const char16_t* p = text.data();
  const size_t n = text.size();
  size_t i = 0;
  bool found = false;
#if defined(__x86_64__)
  if (HasAvx512()) return CopyTestingAvx512(p, n, out, c);
  if (HasAvx2()) found = CopyTestingAvx2(p, n, &i, out, c);
  const __m128i needle = _mm_set1_epi16(static_cast<short>(c));
  __m128i seen = _mm_setzero_si128();
  for (; i + 8 <= n; i += 8) {
    const __m128i x = Load8(p + i);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), x);
    seen = _mm_or_si128(seen, _mm_cmpeq_epi16(x, needle));
  }
  found |= _mm_movemask_epi8(seen) != 0;
#endif
  for (; i < n; ++i) {
    out[i] = p[i];
    found |= p[i] == c;
  }
  return found;
}

Text QuoteText(TextView text) {
  Text out;
  out.reserve(text.size() + 2);
  out.push_back(u'"');
  for (char16_t c : text) {
    if (c == u'"') out.push_back(u'"');
    out.push_back(c);
  }
  out.push_back(u'"');
  return out;
}

}  // namespace qel
