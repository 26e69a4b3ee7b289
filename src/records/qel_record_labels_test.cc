#include "qel/records/qel_record_labels.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "frame/testing.h"
#include "qel/frame/convert.h"

namespace qel {
namespace {

using testing::ErrorOf;

TEST(QelRecordLabels, ValueTrimsCreatesAndRemoves) {
  QelRecordLabels labels;
  labels.SetValue(qelLabelUniqueID, u"ABC   ");
  ASSERT_TRUE(labels.Exists(qelLabelUniqueID));
  EXPECT_EQ(labels.Value(qelLabelUniqueID), u"ABC");
  EXPECT_EQ(labels.Item(qelLabelUniqueID)->CodeChar(), u"U");
  labels.SetValue(qelLabelUniqueID, u"   ");
  EXPECT_FALSE(labels.Exists(qelLabelUniqueID));
  EXPECT_EQ(labels.Value(qelLabelUniqueID), u"");
  labels.SetValue(qelLabelHostName, u"");  // removing an absent label is no error
  EXPECT_EQ(labels.Count(), 0);
}

TEST(QelRecordLabels, KeysAreCodesOrPositions) {
  QelRecordLabels labels;
  labels.SetValue(qelLabelTimestamp, u"t1");
  labels.SetValue(qelLabelJobID, u"j1");
  EXPECT_EQ(labels.Item(1)->Code(), qelLabelTimestamp);
  EXPECT_EQ(labels.Item(2)->CodeChar(), u"J");
  EXPECT_EQ(labels.Item(u"65610")->Value(), u"j1");  // a text key is read as a number
  EXPECT_EQ(labels.Item(qelLabelUserName), labels.Item(qelLabelDynUserName));
  EXPECT_EQ(labels.Item(3), nullptr);
  EXPECT_EQ(labels.Item(99999), nullptr);
  EXPECT_EQ(labels.Item(u"abc"), nullptr);
  EXPECT_FALSE(labels.Remove(99999));
  EXPECT_TRUE(labels.Remove(1));
  EXPECT_EQ(labels.Item(1)->Code(), qelLabelJobID);
  EXPECT_EQ(labels.Item(qelLabelTimestamp), nullptr);
}

TEST(QelRecordLabels, AddRefusesBadAndDuplicateCodes) {
  QelRecordLabels labels;
  EXPECT_EQ(ErrorOf([&] { labels.Add(65536); }),
            "-2147024809|QelRecordLabel.Initialize|Código de Label '65536' es inválido");
  labels.Add(qelLabelJobID);
  EXPECT_EQ(ErrorOf([&] { labels.Add(qelLabelJobID); }),
            "457|QelRecordLabels.Add:QelStd1|El Label '65610' ya existe en la colección");
  EXPECT_EQ(labels.Count(), 1);
  // A position that finds nothing cannot become a label.
  EXPECT_EQ(testing::Catch([&] { labels.SetValue(5, u"x"); }).Number(), E_INVALIDARG);
  // Any code above the base is accepted, named or not.
  labels.SetValue(65536 + 0x263A, u"smile");
  EXPECT_EQ(labels.Item(65536 + 0x263A)->CodeChar(), u"\u263A");
}

TEST(QelRecordLabels, LabelValueSetDirectlyKeepsBlanks) {
  QelRecordLabels labels;
  auto l = labels.Add(qelLabelError);
  l->SetValue(u"x  ");
  EXPECT_EQ(labels.Value(qelLabelError), u"x  ");
  EXPECT_EQ(CStr(Variant(l)), u"x  ");  // Value is the default member
}

TEST(QelRecordLabels, ALabelHeldByAClientOutlivesClear) {
  QelRecordLabels labels;
  labels.SetValue(qelLabelUniqueID, u"a");
  labels.SetValue(qelLabelJobID, u"j");
  const auto held = labels.Item(qelLabelUniqueID);
  labels.Clear();
  EXPECT_EQ(labels.Count(), 0);
  labels.SetValue(qelLabelUniqueID, u"b");
  labels.SetValue(qelLabelJobID, u"k");
  EXPECT_EQ(held->Value(), u"a");
  EXPECT_NE(labels.Item(qelLabelUniqueID), held);
  EXPECT_EQ(labels.Value(qelLabelJobID), u"k");
  EXPECT_EQ(labels.Item(1)->Code(), qelLabelUniqueID);  // order is the order of adding

}

// Labels added after a Clear start with their own code and an empty value, whatever the
// cleared ones held, and are distinct objects, indexed or not.
TEST(QelRecordLabels, LabelsAddedAfterClearStartEmpty) {
  QelRecordLabels labels;
  for (int count : {2, 40}) {
    for (int32_t i = 1; i <= count; ++i) labels.SetValue(qelLabelCodeBase + i, u"old value");
    labels.Clear();
    std::vector<QelRecordLabelPtr> added;
    for (int32_t i = count; i >= 1; --i) {
      added.push_back(labels.Add(qelLabelCodeBase + 100 + i));
      ASSERT_EQ(added.back()->Value(), u"");
      ASSERT_EQ(added.back()->Code(), qelLabelCodeBase + 100 + i);
    }
    EXPECT_EQ(labels.Count(), count);
    EXPECT_EQ(labels.Item(qelLabelCodeBase + 101), added.back());
    EXPECT_EQ(std::set<QelRecordLabelPtr>(added.begin(), added.end()).size(), added.size());
    labels.Clear();
  }
}

// Beyond a handful of labels the collection finds them through an index: the same answers.
TEST(QelRecordLabels, ManyLabelsAnswerAsFewDo) {
  QelRecordLabels labels;
  for (int32_t i = 0; i < 40; ++i) labels.SetValue(qelLabelCodeBase + 1 + i, Text(1, u'a' + i % 26));
  EXPECT_EQ(labels.Count(), 40);
  EXPECT_EQ(testing::Catch([&] { labels.Add(qelLabelCodeBase + 30); }).Number(), kErrDuplicateKey);
  EXPECT_EQ(labels.Item(qelLabelCodeBase + 30), labels.Item(30));
  for (int32_t i = 40; i > 10; --i) {
    ASSERT_TRUE(labels.Remove(qelLabelCodeBase + i));
    ASSERT_FALSE(labels.Exists(qelLabelCodeBase + i));
  }
  EXPECT_EQ(labels.Count(), 10);
  EXPECT_EQ(labels.Value(qelLabelCodeBase + 10), u"j");
  EXPECT_EQ(testing::Catch([&] { labels.Add(qelLabelCodeBase + 3); }).Number(), kErrDuplicateKey);
  for (int32_t i = 11; i <= 30; ++i) labels.Add(qelLabelCodeBase + i);  // indexed again
  EXPECT_EQ(labels.Item(30)->Code(), qelLabelCodeBase + 30);
  EXPECT_EQ(testing::Catch([&] { labels.Add(qelLabelCodeBase + 3); }).Number(), kErrDuplicateKey);
}

}  // namespace
}  // namespace qel
