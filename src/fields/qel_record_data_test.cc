#include "qel/fields/qel_record_data.h"

#include <gtest/gtest.h>

#include "frame/testing.h"
#include "qel/fields/field_types.h"

namespace qel {
namespace {

using testing::ErrorOf;

TEST(QelRecordData, SlotsPastTheEndReadBlankAndWritePadded) {
  QelRecordData d;
  d.SetData(u"abc");
  EXPECT_EQ(d.Slot(2, 4), Variant(u"bc  "));
  EXPECT_EQ(d.Slot(10, 2), Variant(u"  "));
  EXPECT_EQ(d.Slot(4, 0), Variant(u""));
  d.SetSlot(6, 3, u"xyzw");
  EXPECT_EQ(d.Data(), u"abc  xyz");
  d.SetSlot(2, 3, u"Q");
  EXPECT_EQ(d.Data(), u"aQ   xyz");
  d.SetSlot(1, 2, 12);
  EXPECT_EQ(d.Data(), u"12   xyz");
}

TEST(QelRecordData, NullWrittenLeavesBlanksAndTheOldFillerStillReadsNull) {
  QelRecordData d;
  d.SetData(u"abcd");
  d.SetSlot(2, 2, Variant::Null());
  EXPECT_EQ(d.Data(), u"a  d");
  d.SetData(u"a\x1a\x1a");
  EXPECT_TRUE(d.Slot(2, 2).IsNull());
  EXPECT_FALSE(d.Slot(1, 2).IsNull()) << "a slot partly filled is not null";
}

TEST(QelRecordData, DataStaysAsGivenAndPadNeverCuts) {
  QelRecordData d;
  d.SetData(u"  ab  ");
  EXPECT_EQ(d.Data(), u"  ab  ");
  d.Pad(8);
  EXPECT_EQ(d.Data(), u"  ab    ");
  d.Pad(3);
  EXPECT_EQ(d.Length(), 8);
}

TEST(QelRecordData, BadRangesAreRefused) {
  QelRecordData d;
  EXPECT_EQ(ErrorOf([&] { d.Slot(0, 1); }),
            "-2147024809|QelRecordData.Slot|El rango de 1 caracteres desde la posición 0 es "
            "inválido");
  EXPECT_EQ(ErrorOf([&] { d.SetSlot(1, -1, u"x"); }),
            "-2147024809|QelRecordData.Slot|El rango de -1 caracteres desde la posición 1 es "
            "inválido");
  EXPECT_EQ(ErrorOf([&] { d.SetSlot(2147483647, 2, u"x"); }),
            "-2147024809|QelRecordData.Slot|El rango de 2 caracteres desde la posición 2147483647 "
            "es inválido");
  // Writes no record reaches are refused before anything is allocated for them; a read past
  // the data gives blanks wherever it starts, and only a length no record has is refused.
  const std::pair<int32_t, int32_t> beyond[] = {
      {2147483647, 1}, {1, 2147483647}, {-2147483647 - 1, 1}, {kMaxRecordLength, 2},
      {1, kMaxRecordLength + 1},
  };
  for (const auto& range : beyond) {
    const int32_t start = range.first, length = range.second;
    EXPECT_EQ(testing::Catch([&] { d.SetSlot(start, length, u"x"); }).Number(), E_INVALIDARG);
  }
  EXPECT_EQ(d.Slot(2147483647, 1), Variant(u" "));
  EXPECT_EQ(d.Slot(kMaxRecordLength, 2), Variant(u"  "));
  for (const auto& range : {std::pair{1, 2147483647}, std::pair{-2147483647 - 1, 1},
                            std::pair{1, kMaxRecordLength + 1}}) {
    EXPECT_EQ(testing::Catch([&] { d.Slot(range.first, range.second); }).Number(), E_INVALIDARG);
  }
  EXPECT_EQ(d.Length(), 0);
  d.SetSlot(kMaxRecordLength, 1, u"x");
  EXPECT_EQ(d.Length(), kMaxRecordLength);
}

TEST(QelRecordData, SignEncodingStartsFromTheThreadDefault) {
  EXPECT_FALSE(QelRecordData().SignANSI());
  SetQelDefaultSignANSI(true);
  QelRecordData d;
  SetQelDefaultSignANSI(false);
  EXPECT_TRUE(d.SignANSI());
  d.SetSignANSI(false);
  EXPECT_FALSE(d.SignANSI());
}

}  // namespace
}  // namespace qel
