// Text as the library sees it: UTF-16 code units, as in automation strings.
//
// One character is one code unit, so lengths, positions, fixed-width slots and character
// codes (0..65535) are all counted in code units. UTF-8 appears only at the edges (C++
// overloads taking std::string_view, Python, the terminal); Windows-1252 wherever text becomes
// bytes for the outside world (digests, HTTP, URL encoding, IPC data blocks).
//
// Everything here is stateless and thread-safe.
#ifndef QEL_FRAME_TEXT_H_
#define QEL_FRAME_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "qel/frame/export.h"

namespace qel {

using Text = std::u16string;
using TextView = std::u16string_view;

// UTF-8 <-> UTF-16. Malformed UTF-8 sequences become U+FFFD; unpaired surrogates become
// U+FFFD in UTF-8 output. Never throws.
QEL_EXPORT Text FromUtf8(std::string_view utf8);
QEL_EXPORT std::string ToUtf8(TextView text);
// True when FromUtf8 would find no malformed sequence (no overlong forms, no surrogates, nothing
// above U+10FFFF).
QEL_EXPORT bool IsValidUtf8(std::string_view bytes);

// Windows-1252 <-> UTF-16. A character that code page cannot represent becomes "?".
// The five bytes 1252 leaves undefined (0x81 0x8D 0x8F 0x90 0x9D) map to the same code points.
QEL_EXPORT Text FromAnsi(std::string_view bytes);
QEL_EXPORT std::string ToAnsi(TextView text);
// The Windows-1252 byte of one UTF-16 unit, or '?' when it has none.
QEL_EXPORT char ToAnsiChar(char16_t c);

// ASCII-range case folding, as the library compares names and codes ("a".."z" <-> "A".."Z"
// plus the Latin-1 letters that have a Latin-1 counterpart).
QEL_EXPORT char16_t UpperChar(char16_t c);
QEL_EXPORT char16_t LowerChar(char16_t c);
QEL_EXPORT Text UCase(TextView text);
QEL_EXPORT Text LCase(TextView text);
// True when the two texts are equal ignoring case.
QEL_EXPORT bool EqualsNoCase(TextView a, TextView b);

// Blanks (space only, as the platform's Trim) removed from both ends / the left / the right.
QEL_EXPORT TextView Trim(TextView text);
QEL_EXPORT TextView LTrim(TextView text);
QEL_EXPORT TextView RTrim(TextView text);

// Fixed-width helpers (the fill's first character pads; a longer text is cut).
// RightJustify keeps the rightmost `width` characters, LeftJustify the leftmost.
// An empty fill pads with blanks. A width below zero is treated as zero.
QEL_EXPORT Text RightJustify(TextView fill, TextView text, int32_t width);
QEL_EXPORT Text LeftJustify(TextView text, TextView fill, int32_t width);

// The text between double quotes, with each double quote inside doubled.
QEL_EXPORT Text QuoteText(TextView text);

// to = from, reusing to's buffer when it has room; `from` may be a view into `to` itself.
QEL_EXPORT void AssignText(Text& to, TextView from);

}  // namespace qel

#endif  // QEL_FRAME_TEXT_H_
