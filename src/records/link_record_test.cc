#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <vector>

#include "frame/testing.h"
#include "qel/frame/convert.h"
#include "qel/records/qel_record.h"
#include "records/test_layouts.h"

namespace qel {
namespace {

using testing::Catch;
using testing::ErrorOf;
using testing::OrderRecord;

const Text kFS(1, kLabelSeparator), kGS(1, kHeaderSeparator);

TEST(LinkRecord, SerializesTheWorkedExample) {
  QelRecord r;
  r.DefLayout(u"EX");
  r.AddField(u"DATA", qelTypeText, 10);
  r.EndLayout(true);
  r.SetOpCode(57);
  r.Labels()->SetValue(qelLabelUniqueID, u"JUAN");
  r.SetServerCode(u"AB");
  r.SetReplyCode(qelRcodeAck);
  r.SetFormCode(u"F1");
  r.SetData(u"00123     ");
  EXPECT_EQ(r.Serialize(), u"!9" + kFS + u"UJUAN" + kGS + u"AB #F1 00123");
}

TEST(LinkRecord, BlankRecordIsTenCharacters) {
  auto r = OrderRecord();
  r->Labels()->Add(qelLabelHostName);  // empty: not written
  const Text s = r->Serialize();
  EXPECT_EQ(s, u"! " + kGS + u"       ");
  EXPECT_EQ(s.size(), 10u);
}

TEST(LinkRecord, RoundTripRestoresHeaderLabelsAndPaddedData) {
  testing::ScopedLocale es("es_CL.UTF-8");
  auto a = OrderRecord();
  a->SetSequence(50);
  a->SetOpCode(qelOpcodeReply);
  a->SetSessionID(70);
  a->SetReplyCode(qelRcodeNack);
  a->SetServerCode(u"S1");
  a->SetFormCode(u"F9");
  a->SetProtection(qelProtectionInputOnly);
  a->Labels()->SetValue(qelLabelTimestamp, u"20061231");
  a->Labels()->SetValue(qelLabelUserName, u"ana maría");
  a->Fields()->Item(u"CLIENT")->SetValue(u"Ñandú");
  a->Fields()->Item(u"BALANCE")->SetValue(-12.5);
  a->Fields()->Item(u"CODE")->SetValue(u"X1", 3);
  auto b = OrderRecord();
  b->UnSerialize(a->Serialize());
  EXPECT_EQ(b->Sequence(), 50);
  EXPECT_EQ(b->OpCode(), qelOpcodeReply);
  EXPECT_EQ(b->SessionID(), 70);
  EXPECT_EQ(b->ReplyCode(), qelRcodeNack);
  EXPECT_EQ(b->ServerCode(), u"S1");
  EXPECT_EQ(b->FormCode(), u"F9");
  EXPECT_EQ(b->Protection(), qelProtectionInputOnly);
  EXPECT_EQ(b->Labels()->Value(qelLabelUserName), u"ana maría");
  EXPECT_EQ(b->Labels()->Item(1)->Code(), qelLabelTimestamp);
  EXPECT_EQ(b->Data().size(), static_cast<size_t>(b->Length()));
  EXPECT_EQ(b->Data(), a->Data() + Text(b->Length() - a->Data().size(), u' '));
  EXPECT_EQ(CStr(b->Fields()->Item(u"BALANCE")->Value()), u"-12,5");
  EXPECT_EQ(b->Fields()->Item(u"CODE")->Value(3), Variant(u"X1"));
}

TEST(LinkRecord, UnSerializeOddMessages) {
  auto r = OrderRecord();
  r->UnSerialize(u"!9");  // no header section: only sequence and opcode
  EXPECT_EQ(r->Sequence(), 33);
  EXPECT_EQ(r->OpCode(), 57);
  EXPECT_EQ(r->Data(), u"");
  r->UnSerialize(Text(1, char16_t(127)) + u" " + kGS + u"  ~~  ;");
  EXPECT_EQ(r->Sequence(), 127);  // unchecked, unlike the let
  EXPECT_EQ(r->Protection(), qelProtectionDisplayOnly);
  EXPECT_EQ(r->TranCode(), 126);
  // Data longer than the layout is kept whole.
  const Text long_data(200, u'x');
  r->UnSerialize(u"! " + kGS + u"       " + long_data);
  EXPECT_EQ(r->Data(), long_data);
  // Empty labels are skipped.
  r->UnSerialize(u"! " + kFS + u"U" + kFS + u"Hhost" + kGS + u"       data");
  EXPECT_FALSE(r->Labels()->Exists(qelLabelUniqueID));
  EXPECT_EQ(r->Labels()->Value(qelLabelHostName), u"host");
  EXPECT_EQ(r->Text(), u"data");
  // An FS is looked for before the GS: one inside the data ends the label value there, and
  // what follows it is read as another label; no header section is left.
  r->UnSerialize(u"! " + kFS + u"Hhost" + kGS + u"       da" + kFS + u"ta");
  EXPECT_EQ(r->Labels()->Value(qelLabelHostName), u"host" + kGS + u"       da");
  EXPECT_EQ(r->Labels()->Value(65536 + u't'), u"a");
  EXPECT_EQ(r->Data(), u"");
  EXPECT_EQ(ErrorOf([&] { r->UnSerialize(u"!"); }),
            "5|QelLinkRecord.UnSerialize:QelStd1|Argumento o llamada a procedimiento no válida");
  EXPECT_EQ(Catch([&] { r->UnSerialize(u"! " + kGS + u"AB"); }).Number(), kErrInvalidCall);
  EXPECT_EQ(Catch([&] { r->UnSerialize(u"! " + kFS + u"Ua" + kFS + u"Ub" + kGS); }).Number(),
            kErrDuplicateKey);
  // A label refused after its header and data have been read leaves no data behind.
  r->UnSerialize(u"! " + kGS + u"       data");
  EXPECT_EQ(Catch([&] { r->UnSerialize(u"! " + kFS + u"Ua" + kFS + u"Ub" + kGS + u"       x"); })
                .Number(),
            kErrDuplicateKey);
  EXPECT_EQ(r->Data(), u"");
}

// Reply after reply: labels that come back are read over the ones there, except one a client
// holds, which keeps the value it had; labels that do not come back are gone.
TEST(LinkRecord, LabelsOfEachReplyReplaceTheLastOnes) {
  auto r = OrderRecord();
  const auto reply = [](TextView labels) { return u"! " + Text(labels) + kGS + u"       x"; };
  r->UnSerialize(reply(kFS + u"Ha" + kFS + u"Ub" + kFS + u"Jc"));
  const auto held = r->Labels()->Item(qelLabelUniqueID);
  r->UnSerialize(reply(kFS + u"Ha2" + kFS + u"Ub2" + kFS + u"Jc2"));
  EXPECT_EQ(held->Value(), u"b");
  EXPECT_EQ(r->Labels()->Value(qelLabelUniqueID), u"b2");
  EXPECT_EQ(r->Labels()->Value(3), u"c2");
  r->UnSerialize(reply(kFS + u"Ha3" + kFS + u"Jc3"));  // one fewer, the order kept
  ASSERT_EQ(r->Labels()->Count(), 2);
  EXPECT_EQ(r->Labels()->Value(1), u"a3");
  EXPECT_EQ(r->Labels()->Value(2), u"c3");
  r->UnSerialize(reply(kFS + u"Jc4" + kFS + u"Ha4" + kFS + u"Ud"));  // another order, one more
  ASSERT_EQ(r->Labels()->Count(), 3);
  EXPECT_EQ(r->Labels()->Item(1)->Code(), qelLabelJobID);
  EXPECT_EQ(r->Labels()->Value(qelLabelHostName), u"a4");
  EXPECT_EQ(r->Labels()->Value(3), u"d");
  EXPECT_EQ(held->Value(), u"b");
  r->UnSerialize(reply(u""));
  EXPECT_EQ(r->Labels()->Count(), 0);
  // Past the labels a collection finds by scanning, and back.
  Text many;
  for (char16_t code = u'a'; code < u'a' + 20; ++code) many += kFS + Text(1, code) + u"v";
  for (int round = 0; round < 2; ++round) {
    r->UnSerialize(reply(many + kFS + u"zw"));
    ASSERT_EQ(r->Labels()->Count(), 21);
    EXPECT_EQ(r->Labels()->Value(65536 + u'z'), u"w");
    EXPECT_EQ(r->Labels()->Value(65536 + u'c'), u"v");
  }
  r->UnSerialize(reply(kFS + u"zq" + kFS + u"aq"));
  ASSERT_EQ(r->Labels()->Count(), 2);
  EXPECT_EQ(r->Labels()->Value(65536 + u'a'), u"q");
  EXPECT_FALSE(r->Labels()->Exists(65536 + u'c'));
}

// However far into the data an FS lies, it ends the last label's value there.
TEST(LinkRecord, AnFsAnywhereInTheDataEndsTheLastLabel) {
  auto r = OrderRecord();
  const Text head = u"! " + kFS + u"Ujuan" + kFS + u"Hhost";
  const Text header = kGS + u"AB #F1 ";
  Text data;
  for (int i = 0; i < 100; ++i) data.push_back(static_cast<char16_t>(u'0' + i % 10));
  for (size_t k = 0; k + 2 < data.size(); ++k) {
    Text with_fs = data;
    with_fs[k] = kLabelSeparator;
    r->UnSerialize(head + header + with_fs);
    ASSERT_EQ(r->Labels()->Value(qelLabelUniqueID), u"juan");
    ASSERT_EQ(r->Labels()->Value(qelLabelHostName), u"host" + header + data.substr(0, k)) << k;
    ASSERT_EQ(r->Labels()->Value(65536 + data[k + 1]), data.substr(k + 2)) << k;
    ASSERT_EQ(r->Data(), u"");
  }
  // Without labels an FS in the data is only data.
  Text with_fs = data;
  with_fs[70] = kLabelSeparator;
  r->UnSerialize(u"! " + header + with_fs);
  EXPECT_EQ(r->Data(), with_fs);
  EXPECT_EQ(r->FormCode(), u"F1");
  // An FS among the header codes, or after a header cut short, ends the value as well.
  r->UnSerialize(head + kGS + u"AB" + kFS + u"x#F1 data");
  EXPECT_EQ(r->Labels()->Value(qelLabelHostName), u"host" + kGS + u"AB");
  EXPECT_EQ(r->Labels()->Value(65536 + u'x'), u"#F1 data");
  r->UnSerialize(head + kGS + kFS + u"x");
  EXPECT_EQ(r->Labels()->Value(qelLabelHostName), u"host" + kGS);
  EXPECT_EQ(r->Labels()->Value(65536 + u'x'), u"");
}

TEST(LinkRecord, UnSerializeTellsTheFieldsThatListen) {
  auto r = OrderRecord();
  const Text message = u"! " + kFS + u"Ujuan" + kGS + u"AB #F1 CLIENTE 1";
  std::vector<int32_t> client, code;
  auto field = r->Fields()->Item(u"CLIENT");
  const uint64_t h = field->Change.Connect([&](int32_t i) { client.push_back(i); });
  // A field of a repeated group, reached through its group.
  r->Fields()->Item(u"ITEMS")->ListFields()->Item(u"CODE")->Change.Connect(
      [&](int32_t i) { code.push_back(i); });
  r->UnSerialize(message);
  EXPECT_EQ(client, (std::vector<int32_t>{1}));
  EXPECT_EQ(code, (std::vector<int32_t>{1, 2, 3}));
  field->Change.Disconnect(h);
  r->UnSerialize(message);
  EXPECT_EQ(client.size(), 1u);
  EXPECT_EQ(code.size(), 6u);

  // After a new layout the old fields, though still held and listened to, are not told; the
  // new ones are.
  field->Change.Connect([&](int32_t i) { client.push_back(i); });
  r->SetLayout(r->Layout());
  r->UnSerialize(message);
  EXPECT_EQ(client.size(), 1u);
  EXPECT_EQ(code.size(), 6u);
  r->Fields()->Item(u"NOTE")->Change.Connect([&](int32_t i) { client.push_back(i); });
  r->UnSerialize(message);
  EXPECT_EQ(client.size(), 2u);
}

// The link text's grammar taken word for word, slowly: the labels and the data (before
// padding) that UnSerialize must load, or nothing when it must raise.
struct Reading {
  std::vector<std::pair<int32_t, Text>> labels;
  Text data;
};

std::optional<Reading> ReadByTheGrammar(TextView t) {
  if (t.size() < 2) return std::nullopt;
  Reading r;
  size_t pos = 2;
  while (pos < t.size() && t[pos] == kLabelSeparator) {
    if (pos + 1 >= t.size()) return std::nullopt;
    const int32_t code = 65536 + t[pos + 1];
    pos += 2;
    size_t end = t.find(kLabelSeparator, pos);  // FS first, however far
    if (end == t.npos) end = t.find(kHeaderSeparator, pos);
    if (end == t.npos) end = t.size();
    const TextView value = t.substr(pos, end - pos);
    pos = end;
    if (value.empty()) continue;
    if (code == 65536) return std::nullopt;  // no label has code 0
    for (const auto& [c, v] : r.labels) {
      if (c == code) return std::nullopt;
    }
    r.labels.emplace_back(code, Text(value));
  }
  if (pos < t.size() && t[pos] == kHeaderSeparator) {
    if (t.size() - pos < 8) return std::nullopt;
    r.data = Text(t.substr(pos + 8));
  }
  return r;
}

// Random texts over the characters that matter, long enough to reach the wide scans: each
// loads or raises exactly as the grammar says, to the same labels and data.
TEST(LinkRecord, UnSerializeAgreesWithTheGrammarOnRandomText) {
  auto r = OrderRecord();
  std::mt19937 rng(7);
  const char16_t alphabet[] = {u'!', u'9', u'a', u' ', kLabelSeparator, kHeaderSeparator, 0,
                               127, 0xFFFF};
  for (int i = 0; i < 4000; ++i) {
    Text msg(rng() % (i % 4 == 0 ? 120 : 24), u' ');
    for (auto& c : msg) c = alphabet[rng() % std::size(alphabet)];
    const std::optional<Reading> expected = ReadByTheGrammar(msg);
    try {
      r->UnSerialize(msg);
    } catch (const Error& e) {
      ASSERT_FALSE(expected) << ToUtf8(msg);
      ASSERT_EQ(ToUtf8(e.Source()).rfind("QelLinkRecord.UnSerialize:", 0), 0u);
      ASSERT_EQ(r->Data(), u"");
      continue;
    }
    ASSERT_TRUE(expected) << ToUtf8(msg);
    ASSERT_EQ(r->Labels()->Count(), static_cast<int32_t>(expected->labels.size()));
    for (size_t k = 0; k < expected->labels.size(); ++k) {
      const auto label = r->Labels()->Item(static_cast<int32_t>(k + 1));
      ASSERT_EQ(label->Code(), expected->labels[k].first);
      ASSERT_EQ(label->Value(), expected->labels[k].second);
    }
    ASSERT_EQ(r->Data().substr(0, expected->data.size()), expected->data);
    ASSERT_TRUE(r->Data().empty() || r->Data().size() >= static_cast<size_t>(r->Length()));
  }
}

// A view into the data or into a label's value is read as it was before loading began.
TEST(LinkRecord, UnSerializeOfItsOwnDataOrLabel) {
  auto source = OrderRecord();
  source->Labels()->SetValue(qelLabelHostName, u"host");
  source->Fields()->Item(u"CLIENT")->SetValue(u"ANA");
  const Text link = source->Serialize();
  auto r = OrderRecord();
  r->SetData(link);  // shorter than the record: loading it needs a larger buffer
  r->UnSerialize(r->Data());
  EXPECT_EQ(r->Serialize(), link);
  EXPECT_EQ(r->Labels()->Value(qelLabelHostName), u"host");
  r->Labels()->Item(qelLabelHostName)->SetValue(u"!9");
  r->UnSerialize(r->Labels()->Item(qelLabelHostName)->Value());
  EXPECT_EQ(r->OpCode(), u'9');
  EXPECT_EQ(r->Labels()->Count(), 0);
}

// FS or GS typed into a label would forge labels or header codes: refused where set, with
// nothing changed. A host's message may still carry a GS inside a label value, as the
// grammar reads it.
TEST(LinkRecord, SeparatorsInLabelValuesAreRefused) {
  auto r = OrderRecord();
  r->Labels()->SetValue(qelLabelUniqueID, u"ok");
  for (char16_t sep : {kLabelSeparator, kHeaderSeparator}) {
    const Text forged = u"a" + Text(1, sep) + u"Sforged";
    EXPECT_EQ(ErrorOf([&] { r->Labels()->SetValue(qelLabelHostName, forged); }),
              "-2147024809|QelRecordLabel.Value|El valor del Label '65608' no puede contener "
              "los separadores del registro (caracteres 28 y 29)");
    EXPECT_FALSE(r->Labels()->Exists(qelLabelHostName));
    EXPECT_EQ(Catch([&] { r->Labels()->SetValue(qelLabelUniqueID, forged); }).Number(),
              E_INVALIDARG);
    EXPECT_EQ(Catch([&] { r->Labels()->Item(1)->SetValue(forged); }).Number(), E_INVALIDARG);
    EXPECT_EQ(r->Labels()->Value(qelLabelUniqueID), u"ok");
  }
  EXPECT_EQ(r->Serialize(), u"! " + kFS + u"Uok" + kGS + u"       ");
  r->UnSerialize(u"! " + kFS + u"Ua" + kGS + u"b" + kFS + u"Hc" + kGS + u"       x");
  EXPECT_EQ(r->Labels()->Value(qelLabelUniqueID), u"a" + kGS + u"b");
  auto copy = r->Clone();  // a loaded record copies through its own link text
  EXPECT_EQ(copy->Serialize(), r->Serialize());
}

// Every code character a message can carry, each once: loading stays close to linear, also
// when each label runs past a GS, a header and data to the next FS (every label then sends
// the reader through the data that follows it).
TEST(LinkRecord, ManyDistinctLabelsLoadInLinearTime) {
  const Text past_gs = kGS + u"       data";
  const auto message = [&](size_t count, TextView after_value) {
    Text m = u"! ";
    for (size_t i = 0; i < count; ++i) {
      m += kFS;
      m += static_cast<char16_t>(1 + i);
      m += u'v';
      m += after_value;
    }
    return m + kGS + u"       data";
  };
  const auto seconds = [&](size_t count, TextView after_value) {
    auto r = OrderRecord();
    const Text m = message(count, after_value);
    double best = 1e9;
    for (int k = 0; k < 3; ++k) {
      const double t0 = testing::ThreadCpuSeconds();
      r->UnSerialize(m);
      best = std::min(best, testing::ThreadCpuSeconds() - t0);
      EXPECT_EQ(r->Labels()->Count(), static_cast<int32_t>(count));
    }
    EXPECT_EQ(r->Labels()->Value(qelLabelCodeBase + 1), u"v" + Text(after_value));
    EXPECT_EQ(r->Data().substr(0, 4), u"data");
    return best;
  };
  struct Shape {
    size_t all;
    TextView after_value;
  };
  for (const Shape shape : {Shape{65535, TextView()}, Shape{16383, past_gs}}) {
    const double eighth = seconds(shape.all / 8, shape.after_value);
    const double all = seconds(shape.all, shape.after_value);
    // Eight times the labels: linear costs about 8 times as much (up to twice that as the
    // labels outgrow the caches), quadratic 64 times.
    EXPECT_LT(all, 40 * eighth + 0.005) << eighth << " " << all;
  }
}

TEST(LinkRecord, ForUrlEncodesThePlainFields) {
  testing::ScopedLocale es("es_CL.UTF-8");
  QelRecord r;
  r.DefLayout(u"P");
  r.AddField(u"name", qelTypeText, 10);
  r.AddField(u"age", qelTypeNumeric, 3);
  r.AddField(u"L", qelTypeList, 2);
  r.AddField(u"X", qelTypeText, 1);
  r.AddField(u"L", qelTypeListEnd, 0);
  r.EndLayout(true);
  r.Fields()->Item(u"NAME")->SetValue(u"ANA");
  r.Fields()->Item(u"AGE")->SetValue(30);
  r.Fields()->Item(u"X")->SetValue(u"k", 2);
  // A list begin's value is its group's text and a list end's is Null (empty here); the
  // members are not written.
  EXPECT_EQ(r.ForURL(), u"NAME=ANA&AGE=30&L=+k&L=");
  r.Fields()->Item(u"NAME")->SetValue(u"Ana & Ñu");
  EXPECT_EQ(r.ForURL(), u"NAME=Ana+%26+%D1u&AGE=30&L=+k&L=");
}

}  // namespace
}  // namespace qel
