#include "qel/frame/text.h"

#include <array>
#include <cstdint>
#include <functional>

#include "frame/unit_scan.h"
#include "frame/utf8_write.h"

namespace qel {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Code points of Windows-1252 bytes 0x80..0x9F; the undefined five map to themselves.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// One UTF-8 sequence from s[*i]: its code point, or nothing when it is malformed. *i moves past
// the sequence, or past a lead byte whose continuation bytes are missing.
bool DecodeUtf8(std::string_view s, size_t* i, char32_t* cp) {
  const auto b0 = static_cast<unsigned char>(s[*i]);
  if (b0 < 0x80) {
    *cp = b0;
    ++*i;
    return true;
  }
  int extra;
  char32_t min;
  if ((b0 & 0xE0) == 0xC0) {
    extra = 1, *cp = b0 & 0x1F, min = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    extra = 2, *cp = b0 & 0x0F, min = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    extra = 3, *cp = b0 & 0x07, min = 0x10000;
  } else {
    ++*i;
    return false;
  }
  size_t j = *i + 1;
  for (int k = 0; k < extra; ++k, ++j) {
    if (j >= s.size() || (static_cast<unsigned char>(s[j]) & 0xC0) != 0x80) {
      ++*i;
      return false;
    }
    *cp = (*cp << 6) | (static_cast<unsigned char>(s[j]) & 0x3F);
  }
  *i = j;
  return *cp >= min && *cp <= 0x10FFFF && !(*cp >= 0xD800 && *cp <= 0xDFFF);
}

}  // namespace

bool IsValidUtf8(std::string_view s) {
  char32_t cp;
  for (size_t i = 0; i < s.size();) {
    if (!DecodeUtf8(s, &i, &cp)) return false;
  }
  return true;
}

Text FromUtf8(std::string_view s) {
  Text out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    char32_t cp;
    if (!DecodeUtf8(s, &i, &cp)) {
      out.push_back(kReplacement);
    } else if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

namespace internal {

namespace {

// The code point at t[*i], a surrogate pair joined or an unpaired surrogate replaced; *i moves
// to the pair's second unit.
char32_t CodePointAt(TextView t, size_t* i) {
  const char32_t c = t[*i];
  if (c < 0xD800 || c > 0xDFFF) return c;
  if (c <= 0xDBFF && *i + 1 < t.size() && t[*i + 1] >= 0xDC00 && t[*i + 1] <= 0xDFFF) {
    ++*i;
    return 0x10000 + ((c - 0xD800) << 10) + (t[*i] - 0xDC00);
  }
  return kReplacement;
}

}  // namespace

char* WriteUtf8(TextView t, char* out) {
  // Most text is ASCII: narrow it all in one pass that vectorises, and encode from the first
  // unit that is not only when one is there.
  char16_t any = 0;
  for (size_t k = 0; k < t.size(); ++k) {
    any |= t[k];
    out[k] = static_cast<char>(t[k]);
  }
  if (any < 0x80) return out + t.size();
  size_t i = 0;
  while (t[i] < 0x80) ++i;
  out += i;
  for (; i < t.size(); ++i) {
    const char16_t c = t[i];
    if (c < 0x80) {  // the classes in the order of their frequency in Latin texts
      *out++ = static_cast<char>(c);
    } else if (c < 0x800) {
      *out++ = static_cast<char>(0xC0 | (c >> 6));
      *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (const char32_t cp = CodePointAt(t, &i); cp < 0x10000) {
      *out++ = static_cast<char>(0xE0 | (cp >> 12));
      *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      *out++ = static_cast<char>(0xF0 | (cp >> 18));
      *out++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
      *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    }
  }
  return out;
}

size_t Utf8Length(TextView t) {
  size_t n = 0;
  for (size_t i = 0; i < t.size(); ++i) {
    const char32_t cp = CodePointAt(t, &i);
    n += cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
  }
  return n;
}

}  // namespace internal

std::string ToUtf8(TextView t) {
  std::string out(internal::Utf8Length(t), '\0');
  internal::WriteUtf8(t, out.data());
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

TextView RTrim(TextView t) { return t.substr(0, internal::TrimmedEnd(t)); }

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

void AssignText(Text& to, TextView from) {
  // Text::assign goes through the general replace, which also handles a view into `to`
  // itself; a view of other storage is copied by the shorter clear-and-append.
  const std::less<const char16_t*> before;
  if (!before(from.data(), to.data()) && !before(to.data() + to.size(), from.data())) {
    to.assign(from);
    return;
  }
  to.clear();
  to.append(from.data(), from.size());
}

}  // namespace qel
