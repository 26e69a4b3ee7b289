#include "qel/frame/text.h"

#include <gtest/gtest.h>

namespace qel {
namespace {

TEST(Justify, RightJustifyPadsOrKeepsTheRight) {
  EXPECT_EQ(RightJustify(u"0", u"123", 5), u"00123");
  EXPECT_EQ(RightJustify(u"0", u"123456", 5), u"23456");
  EXPECT_EQ(RightJustify(u"0", u"12345", 5), u"12345");
  EXPECT_EQ(RightJustify(u"xyz", u"", 2), u"xx");
  EXPECT_EQ(RightJustify(u"0", u"12", -1), u"");
}

TEST(Justify, LeftJustifyPadsOrKeepsTheLeft) {
  EXPECT_EQ(LeftJustify(u"AB", u" ", 4), u"AB  ");
  EXPECT_EQ(LeftJustify(u"ABCDE", u" ", 4), u"ABCD");
  EXPECT_EQ(LeftJustify(u"AB", u"", 3), u"AB ");
}

TEST(QuoteText, DoublesInnerQuotes) {
  EXPECT_EQ(QuoteText(u"a\"b"), u"\"a\"\"b\"");
  EXPECT_EQ(QuoteText(u""), u"\"\"");
}

TEST(Encodings, Utf8RoundTripIncludingAstralAndMalformed) {
  const std::string s = "año €  𝄞";
  EXPECT_EQ(ToUtf8(FromUtf8(s)), s);
  EXPECT_EQ(FromUtf8("\xC3"), u"\uFFFD");         // cut sequence
  EXPECT_EQ(FromUtf8("\xE0\x80\x80"), u"\uFFFD");  // overlong
  EXPECT_EQ(ToUtf8(Text(1, char16_t(0xD800))), "\xEF\xBF\xBD");
  // Unpaired surrogates anywhere (a low one alone, a high one before a letter or at the end)
  // each become U+FFFD; the ASCII before them is kept.
  Text broken = u"ab";
  broken += {char16_t(0xDC00), char16_t(0xD834), u'x', char16_t(0xD834)};
  EXPECT_EQ(ToUtf8(broken), "ab\xEF\xBF\xBD\xEF\xBF\xBDx\xEF\xBF\xBD");
}

// The validator accepts exactly what FromUtf8 decodes without a replacement character.
TEST(Encodings, Utf8ValidatorAgreesWithTheDecoder) {
  struct Case {
    const char* bytes;
    bool valid;
  };
  const Case cases[] = {
      {"", true},
      {"plain", true},
      {"a\xC3\xB1o", true},              // ñ
      {"\xE2\x82\xAC", true},           // €
      {"\xF0\x9D\x84\x9E", true},       // U+1D11E
      {"\xC3", false},                    // cut
      {"\xC3(", false},                   // bad continuation
      {"\xC0\xAF", false},               // overlong
      {"\xE0\x80\x80", false},           // overlong
      {"\xED\xA0\x80", false},           // a surrogate
      {"\xF4\x90\x80\x80", false},       // above U+10FFFF
      {"\xFF", false},
      {"\x80", false},                    // a lone continuation byte
  };
  for (const Case& c : cases) {
    EXPECT_EQ(IsValidUtf8(c.bytes), c.valid) << c.bytes;
    EXPECT_EQ(FromUtf8(c.bytes).find(u'\uFFFD') == Text::npos, c.valid) << c.bytes;
  }
}

TEST(Encodings, Windows1252BothWays) {
  EXPECT_EQ(ToAnsi(u"año €"), "a\xF1o \x80");
  EXPECT_EQ(FromAnsi("a\xF1o \x80\x9F"), u"año €Ÿ");
  EXPECT_EQ(ToAnsi(u"Ω"), "?");
  for (int b = 0; b < 256; ++b) {
    const std::string one(1, static_cast<char>(b));
    EXPECT_EQ(ToAnsi(FromAnsi(one)), one) << b;
  }
}

TEST(CaseAndTrim, FoldsLatin1AndTrimsBlanksOnly) {
  EXPECT_EQ(UCase(u"ñandú_x1"), u"ÑANDÚ_X1");
  EXPECT_TRUE(EqualsNoCase(u"Monto", u"MONTO"));
  EXPECT_FALSE(EqualsNoCase(u"Monto", u"MONTOS"));
  EXPECT_EQ(Trim(u"  a b \t"), u"a b \t");
  EXPECT_EQ(Trim(u"   "), u"");
  // Long runs of blanks, ending at every lane of a block.
  for (size_t text = 0; text <= 3; ++text) {
    for (size_t blanks = 0; blanks <= 40; ++blanks) {
      const Text t = Text(text, u'x') + u" x" + Text(blanks, u' ');
      ASSERT_EQ(RTrim(t), TextView(t).substr(0, text + 2)) << text << " " << blanks;
      ASSERT_EQ(RTrim(Text(blanks, u' ')), u"");
    }
  }
}

TEST(AssignText, CopiesAnyViewIncludingOneOfItself) {
  Text t = u"operador";
  AssignText(t, u"x");
  EXPECT_EQ(t, u"x");
  AssignText(t, Text(40, u'y'));
  EXPECT_EQ(t, Text(40, u'y'));
  t = u"abcdef";
  AssignText(t, TextView(t).substr(2));
  EXPECT_EQ(t, u"cdef");
  AssignText(t, TextView(t).substr(0, 2));
  EXPECT_EQ(t, u"cd");
  AssignText(t, TextView(t).substr(2));  // the empty view just past the end
  EXPECT_EQ(t, u"");
}

}  // namespace
}  // namespace qel
