#include "frame/keyed_hash.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <unordered_set>
#include <vector>

namespace qel::internal {
namespace {

std::array<uint8_t, 16> SequenceKey() {
  std::array<uint8_t, 16> key;
  std::iota(key.begin(), key.end(), uint8_t{0});
  return key;
}

TEST(KeyedHash, RoundsMatchThePublishedSipHash24Vectors) {
  const auto key = SequenceKey();
  std::vector<uint8_t> message(15);
  std::iota(message.begin(), message.end(), uint8_t{0});
  EXPECT_EQ(SipHashForTesting(2, 4, key, {}), 0x726fdb47dd0e0e31ULL);
  EXPECT_EQ(SipHashForTesting(2, 4, key, message), 0xa129ca6149be45e5ULL);
}

TEST(KeyedHash, NoCaseFormHashesCaseVariantsAlike) {
  EXPECT_EQ(KeyedHashNoCase(u"Año Ñandú"), KeyedHashNoCase(u"AÑO ñANDÚ"));
  EXPECT_NE(KeyedHash(u"Año"), KeyedHash(u"AÑO"));
  EXPECT_NE(KeyedHashNoCase(u"ab"), KeyedHashNoCase(u"ab "));
  EXPECT_NE(KeyedHashNoCase(u""), KeyedHashNoCase(std::u16string(1, u'\0')));
}

// Every unit up to U+017F, at each place of a word and in the tail, hashes as its UpperChar
// does, and apart from its bit-5 partner when the two fold differently.
TEST(KeyedHash, NoCaseFoldsEachUnitAsUpperCharAtEveryPlace) {
  for (char16_t c = 1; c < 0x180; ++c) {
    for (size_t place = 0; place < 6; ++place) {
      std::u16string text(6, u'x'), upper(6, u'X'), partner(6, u'x');
      text[place] = c;
      upper[place] = UpperChar(c);
      partner[place] = static_cast<char16_t>(c ^ 0x20);
      ASSERT_EQ(KeyedHashNoCase(text), KeyedHashNoCase(upper)) << int{c} << " at " << place;
      if (UpperChar(c) != UpperChar(partner[place])) {
        ASSERT_NE(KeyedHashNoCase(text), KeyedHashNoCase(partner)) << int{c} << " at " << place;
      }
    }
  }
}

// Names that differ only in bit 5 of their characters ('@' and '`', '[' and '{') are the
// classic flood against a hash that ignores that bit; here they must spread like any others.
TEST(KeyedHash, NamesDifferingInBitFiveSpreadOverBuckets) {
  constexpr int kBits = 12;
  std::unordered_set<uint64_t> full, buckets;
  for (int n = 0; n < (1 << kBits); ++n) {
    std::u16string name;
    for (int b = 0; b < kBits; ++b)
      name += (n >> b & 1) ? (b % 2 ? u'{' : u'`') : (b % 2 ? u'[' : u'@');
    const uint64_t h = KeyedHashNoCase(name);
    full.insert(h);
    buckets.insert(h & 1023);
  }
  EXPECT_EQ(full.size(), size_t{1} << kBits);
  // 4,096 random values fill about 1,005 of 1,024 buckets; a biased hash fills far fewer.
  EXPECT_GT(buckets.size(), 950u);
}

}  // namespace
}  // namespace qel::internal
