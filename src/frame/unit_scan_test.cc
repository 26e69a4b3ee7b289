#include "frame/unit_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "frame/line_reader.h"
#include "frame/unit_scan_testing.h"

namespace qel::internal {
namespace {

// A text of `n` units where every seventh is an FS, every twenty-third a GS, and the others
// letters, digits, "_", blanks or units beyond ASCII.
Text Mixed(size_t n) {
  Text t;
  for (size_t i = 0; i < n; ++i) {
    char16_t c = static_cast<char16_t>(u'a' + i % 26);
    if (i % 7 == 6) c = 0x1C;
    if (i % 23 == 22) c = 0x1D;
    if (i % 11 == 10) c = i % 2 ? u'_' : u'7';
    if (i % 29 == 28) c = 0xC1;
    t.push_back(c);
  }
  return t;
}

// Every level this processor runs, each against the plain answers, over lengths and offsets
// that put the unit looked for in every lane of the 8- and 16-unit blocks and in the
// tails after them.
TEST(UnitScans, EveryLevelAgreesWithThePlainAnswer) {
  const Text mixed = Mixed(100);
  for (ScanLevel level : ForTestingScanLevels()) {
    SCOPED_TRACE(ForTestingScanLevelName(level));
    ForTestingScopedScanLevel forced(level);
    for (size_t len = 0; len <= mixed.size(); ++len) {
      const TextView v = TextView(mixed).substr(0, len);
      for (size_t from = 0; from <= len + 1; ++from) {
        ASSERT_EQ(FindUnit(v, 0x1C, from), v.find(0x1C, from)) << len << " " << from;
        ASSERT_EQ(FindEitherUnit(v, 0x1D, 0x1C, from), v.find_first_of(u"\x1C\x1D", from))
            << len << " " << from;
        size_t word = std::min(from, len);
        while (word < len && (std::isalnum(v[word] < 128 ? v[word] : 0) || v[word] == u'_')) {
          ++word;
        }
        ASSERT_EQ(SkipAsciiWord(v, from), word) << len << " " << from;
      }
    }
    // The copy up to a separator: every length, one separator in every lane and tail position
    // (or none), a second one after it, and nothing written past the text's length.
    for (size_t len = 0; len <= 70; ++len) {
      for (size_t at = 0; at <= len; ++at) {
        Text in(len, u'a');
        if (at < len) in[at] = at % 2 ? 0x1C : 0x1D;
        if (at + 3 < len) in[at + 3] = 0x1C;
        Text out(len + 8, u'#');
        ASSERT_EQ(CopyUntilEither(in, out.data(), 0x1D, 0x1C), at < len ? at : TextView::npos)
            << len << " " << at;
        ASSERT_EQ(out.substr(0, at), in.substr(0, at)) << len << " " << at;
        ASSERT_EQ(out.substr(len), Text(8, u'#')) << len << " " << at;
      }
    }
    const Text plain(90, u'a');
    Text copy(plain.size(), u'#');
    EXPECT_EQ(CopyUntilEither(plain, copy.data(), 0x1C, 0x1C), TextView::npos);
    EXPECT_EQ(copy, plain);
    // Trailing blanks that end in every lane of a block, after text and alone.
    for (size_t head = 0; head <= 3; ++head) {
      for (size_t blanks = 0; blanks <= 70; ++blanks) {
        ASSERT_EQ(TrimmedEnd(Text(head, u'x') + u" x" + Text(blanks, u' ')), head + 2);
        ASSERT_EQ(TrimmedEnd(Text(blanks, u' ')), 0u);
      }
    }
    EXPECT_EQ(FindUnit(u"abc", 0xFFFF), TextView::npos);
    EXPECT_EQ(FindEitherUnit(Text(100, u'a'), u'b', u'c', TextView::npos), TextView::npos);
    EXPECT_EQ(FindEitherUnit(Text(40, u'a') + u"\xFFFF", 0xFFFF, 0xFFFE), 40u);
    // The ASCII test must not take units that differ from a letter in a high byte.
    EXPECT_EQ(SkipAsciiWord(Text(20, u'a') + u"\u0141" + Text(20, u'a'), 0), 20u);
    EXPECT_EQ(SkipAsciiWord(Text(40, u'Z'), 3), 40u);
  }
}

TEST(UnitScans, TheMachineLevelsIncludeThePlainOne) {
  const auto levels = ForTestingScanLevels();
  ASSERT_FALSE(levels.empty());
  EXPECT_EQ(levels.front(), ScanLevel::kScalar);
}

TEST(LineReader, SplitsAtLfAndDropsTheCrBeforeIt) {
  struct Case {
    const char16_t* text;
    std::vector<Text> lines;
  };
  const Case cases[] = {
      {u"", {}},
      {u"a", {u"a"}},
      {u"a\n", {u"a"}},
      {u"a\r\nb", {u"a", u"b"}},
      {u"a\r\n\r\nb\r\n", {u"a", u"", u"b"}},
      {u"\n\n", {u"", u""}},
      {u"a\rb\n", {u"a\rb"}},  // a CR elsewhere stays
      {u"a\r", {u"a\r"}},      // no LF after it
  };
  for (const Case& c : cases) {
    LineReader reader(c.text);
    std::vector<Text> got;
    for (TextView line; reader.Next(&line);) got.emplace_back(line);
    EXPECT_EQ(got, c.lines) << ToUtf8(c.text);
  }
}

}  // namespace
}  // namespace qel::internal
