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

// The vectorised scans against the plain answers, over lengths and offsets that put the unit
// looked for in every lane of the 8- and 32-unit blocks and in the tails after them.
TEST(UnitScans, AgreeWithFindAtEveryOffsetAndLength) {
  Text t;
  for (int i = 0; i < 100; ++i) {
    t.push_back(i % 7 == 6 ? u'\x1C' : i % 23 == 22 ? u'\x1D' : static_cast<char16_t>(u'a' + i));
  }
  Text copy;
  for (size_t len = 0; len <= t.size(); ++len) {
    const TextView v = TextView(t).substr(0, len);
    for (size_t from = 0; from <= len + 1; ++from) {
      ASSERT_EQ(FindUnit(v, u'\x1C', from), v.find(u'\x1C', from)) << len << " " << from;
      ASSERT_EQ(FindEitherUnit(v, u'\x1D', u'\x1C', from), v.find_first_of(u"\x1C\x1D", from))
          << len << " " << from;
    }
    // Every alignment of the source and of the output.
    for (size_t start = 0; start < 8 && start <= len; ++start) {
      const TextView part = v.substr(start);
      for (size_t shift = 0; shift < 16; ++shift) {
        copy.assign(shift + part.size() + 1, u'#');
        ASSERT_EQ(CopyTestingUnit(part, copy.data() + shift, u'\x1D'),
                  part.find(u'\x1D') != part.npos);
        ASSERT_EQ(TextView(copy).substr(shift, part.size()), part) << len << " " << shift;
        ASSERT_EQ(copy.find_first_not_of(u'#'), part.empty() ? Text::npos : shift);  // nothing before
        EXPECT_EQ(copy.back(), u'#');  // nothing written past the text
      }
    }
  }
  EXPECT_EQ(FindUnit(u"abc", 0xFFFF), TextView::npos);
  EXPECT_EQ(FindEitherUnit(Text(100, u'a'), u'b', u'c', TextView::npos), TextView::npos);
  EXPECT_EQ(FindEitherUnit(Text(40, u'a') + u"\xFFFF", 0xFFFF, 0xFFFE), 40u);
}

}  // namespace
}  // namespace qel
