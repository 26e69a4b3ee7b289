#include "qel/records/qel_record.h"

#include <gtest/gtest.h>

#include <thread>

#include "frame/testing.h"
#include "qel/fields/layout_digest.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "records/test_layouts.h"

namespace qel {
namespace {

using testing::Catch;
using testing::ErrorOf;
using testing::OrderRecord;

std::vector<std::string> Lines(const Text& t) {
  std::vector<std::string> out;
  size_t start = 0;
  for (size_t p; (p = t.find(u"\r\n", start)) != Text::npos; start = p + 2) {
    out.push_back(ToUtf8(t.substr(start, p - start)));
  }
  out.push_back(ToUtf8(t.substr(start)));
  return out;
}

TEST(QelRecordHeader, OutOfRangeLetsStoreDefaults) {
  QelRecord r;
  r.SetOpCode(200);
  EXPECT_EQ(r.OpCode(), 32);
  r.SetSequence(96);
  EXPECT_EQ(r.Sequence(), 33);
  r.SetSequence(95);
  EXPECT_EQ(r.Sequence(), 95);
  r.SetProtection(qelProtectionDisplayOnly);
  EXPECT_EQ(r.Protection(), qelProtectionDisplayOnly);
  r.SetProtection(58);
  EXPECT_EQ(r.Protection(), qelProtectionInputOnly);
  r.SetProtection(60);
  EXPECT_EQ(r.Protection(), 32);
  EXPECT_EQ(r.ReplyCode(), -1);
  r.SetReplyCode(qelRcodeAck);
  EXPECT_EQ(r.TranCode(), 35);
  r.SetServerCode(u"ABC");
  EXPECT_EQ(r.ServerCode(), u"AB");
  r.SetFormCode(u"A");
  EXPECT_EQ(r.FormCode(), u"A ");
}

TEST(QelRecordLayout, DeclaringFieldsWritesTheSignature) {
  QelRecord r;
  r.DefLayout(u" client ");
  r.AddField(u"client-name", qelTypeText, 30);
  r.AddField(u"AMOUNT", qelTypeNumeric, 12, 2);
  r.AddField(u"COUNT", qelTypeNumeric, 3, Variant(), 0);
  r.AddField(u"NOTE", qelTypeText, 5, Variant(), u"");
  r.AddField(u"ITEMS", qelTypeList, 4);
  r.AddField(u"CODE", qelTypeText, 10);
  r.AddField(u"AMT", qelTypeNumeric, 20, 2);
  r.AddField(u"items", qelTypeListEnd, 0);
  const Text sig = r.EndLayout(false);
  const auto lines = Lines(sig);
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ(lines[0].substr(0, 14), "SD:1.0:CLIENT:");
  EXPECT_EQ(lines[0].size(), 14u + 19u);  // YYYY-MM-DD:HH:NN:SS
  EXPECT_EQ(lines[1], "X:30:CLIENT_NAME");
  EXPECT_EQ(lines[2], "N:12.2:AMOUNT");
  EXPECT_EQ(lines[3], "N:3:COUNT:0");
  EXPECT_EQ(lines[4], "X:5:NOTE");
  EXPECT_EQ(lines[5], "LB:120.4:ITEMS");
  EXPECT_EQ(lines[8], "LE:120:ITEMS");
  std::vector<TextView> desc;
  std::vector<Text> keep;
  for (int i = 1; i <= 8; ++i) keep.push_back(FromUtf8(lines[static_cast<size_t>(i)]));
  for (const auto& k : keep) desc.push_back(k);
  EXPECT_EQ(lines[9], "CS:170:CLIENT:" + ToUtf8(LayoutDigest(u"CLIENT", desc, 170)));
  EXPECT_EQ(r.Length(), 0);  // not applied
  r.SetLayout(sig);
  EXPECT_EQ(r.Length(), 170);
  EXPECT_EQ(r.Fields()->Item(u"AMT")->Occurrences(), 4);
}

TEST(QelRecordLayout, ErrorsAndStates) {
  QelRecord r;
  EXPECT_EQ(ErrorOf([&] { r.AddField(u"A", qelTypeText, 1); }),
            "-2147467259|QelRecord.AddField:DefLayout|No se ha ejecutado el método 'DefLayout'");
  EXPECT_EQ(ErrorOf([&] { r.DefLayout(u"  "); }),
            "-2147024809|QelRecord.DefLayout:Name|El Largo del Nombre del Layout debe mayor que "
            "cero");
  // The failed definition stays open.
  EXPECT_EQ(ErrorOf([&] { r.DefLayout(u"X"); }),
            "-2147467259|QelRecord.DefLayout:EndLayout|No se ha ejecutado el método 'EndLayout'");
  EXPECT_EQ(ErrorOf([&] { r.AddField(u"x", 9, 5); }),
            "-2147024809|QelRecord.AddField:Length|El Tipo del campo es inválido");
  EXPECT_EQ(ErrorOf([&] { r.AddField(u" ", qelTypeText, 5); }),
            "-2147024809|QelRecord.AddField:Name|El Nombre del campo no puede ser nulo");
  EXPECT_EQ(ErrorOf([&] { r.AddField(u"A", qelTypeText, -1); }),
            "-2147024809|QelRecord.AddField:Length|El Largo del campo no puede ser negativo");
  EXPECT_EQ(ErrorOf([&] { r.AddField(u"A", qelTypeText, 0); }),
            "-2147024809|QelRecord.AddField:Length|El Largo del campo debe ser mayor que cero");
  EXPECT_EQ(ErrorOf([&] { r.AddField(u"A", qelTypeNumeric, 3, -1); }),
            "-2147024809|QelRecord.AddField:Precision|La Precisión del campo no puede ser "
            "negativa");
  EXPECT_EQ(ErrorOf([&] { r.EndLayout(true); }),
            "-2147024809|QelRecord.EndLayout:NoFields|No se ha definido ningún campo del registro");
  r.AddField(u"FIRST", qelTypeList, 2);
  r.AddField(u"A", qelTypeText, 1);
  EXPECT_EQ(Catch([&] { r.AddField(u"a", qelTypeText, 1); }).Number(), kErrDuplicateKey);
  r.AddField(u"SECOND", qelTypeList, 2);
  EXPECT_EQ(ErrorOf([&] { r.EndLayout(true); }),
            "-2147024809|QelRecord.EndLayout:MissingEnd|La lista 'FIRST' no se finalizó");
  QelRecord s;
  s.DefLayout(u"S");
  s.AddField(u"X", qelTypeListEnd, 0);
  EXPECT_EQ(ErrorOf([&] { s.EndLayout(true); }),
            "-2147024809|QelRecord.EndLayout:MissingStart|Final de lista 'X' sin un comienzo");
  QelRecord w;
  w.DefLayout(u"W");
  w.AddField(u"L1", qelTypeList, 2);
  w.AddField(u"A", qelTypeText, 1);
  w.AddField(u"L2", qelTypeListEnd, 0);
  EXPECT_EQ(ErrorOf([&] { w.EndLayout(true); }),
            "-2147024809|QelRecord.EndLayout:WrongEnd|Final de lista 'L2' y su comienzo 'L1' no "
            "coinciden");
  // A failed EndLayout leaves the definition open to be completed.
  w.AddField(u"L1", qelTypeListEnd, 0);
  EXPECT_THROW(w.EndLayout(true), Error);  // L2 still ends nothing
  QelRecord ok;
  ok.DefLayout(u"OK");
  ok.AddField(u"A", qelTypeText, 1);
  ok.EndLayout(true);
  EXPECT_EQ(ErrorOf([&] { ok.EndLayout(true); }),
            "-2147467259|QelRecord.EndLayout:DefLayout|No se ha ejecutado el método 'DefLayout'");
}

TEST(QelRecordLayout, OverflowingSizesRaise6) {
  QelRecord r;
  r.DefLayout(u"BIG");
  r.AddField(u"L", qelTypeList, 100000);
  r.AddField(u"A", qelTypeText, 100000);
  r.AddField(u"L", qelTypeListEnd, 0);
  EXPECT_EQ(Catch([&] { r.EndLayout(false); }).Number(), kErrOverflow);
}

// A declaration read from a file may be long: each new name is checked against the others in
// constant time, so eight times the fields cost about eight times as much, not 64.
TEST(QelRecordLayout, ManyFieldsDeclareInLinearTime) {
  const auto seconds = [](int count) {
    double best = 1e9;
    for (int k = 0; k < 3; ++k) {
      QelRecord r;
      r.DefLayout(u"LARGO");
      const double t0 = testing::ThreadCpuSeconds();
      for (int i = 0; i < count; ++i) r.AddField(u"F" + CStr(Variant(i)), qelTypeText, 1);
      best = std::min(best, testing::ThreadCpuSeconds() - t0);
      EXPECT_EQ(Catch([&] { r.AddField(u"f0", qelTypeText, 1); }).Number(), kErrDuplicateKey);
    }
    return best;
  };
  const double eighth = seconds(8192), all = seconds(65536);
  EXPECT_LT(all, 24 * eighth + 0.005) << eighth << " " << all;
}

TEST(QelRecordLayout, SameFieldsAtAnotherTimeShareTheChecksum) {
  const Text a = OrderRecord()->Layout();
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  auto b = OrderRecord();
  EXPECT_NE(Lines(a)[0], Lines(b->Layout())[0]);
  EXPECT_EQ(Lines(a).back(), Lines(b->Layout()).back());
  QelRecord c;
  c.SetLayout(a);
  c.Fields()->Item(u"CLIENT")->SetValue(u"ANA");
  b->Initialize(&c);  // different stamps, same digest
  EXPECT_EQ(b->Fields()->Item(u"CLIENT")->Value(), Variant(u"ANA"));
}

TEST(QelRecordData, FillTextMidAndClear) {
  testing::ScopedLocale es("es_CL.UTF-8");
  auto r = OrderRecord();
  ASSERT_EQ(r->Length(), 10 + 9 + 7 + 8 + 10 + 21 + 6);
  r->SetFill(u"*");
  EXPECT_EQ(r->Data(), Text(71, u'*'));
  r->SetFill(Variant::Null());
  EXPECT_EQ(r->Data(), Text(71, char16_t(26)));
  r->SetFill(65);
  EXPECT_EQ(r->Data()[70], u'A');
  r->SetData(u"ABC       ");
  EXPECT_EQ(r->Text(), u"ABC");
  EXPECT_EQ(r->Data().size(), 10u);  // stored as it stands
  EXPECT_EQ(r->Mid(2, 2), Variant(u"BC"));
  r->SetMid(1, 2, u"xy");
  EXPECT_EQ(r->Mid(1), Variant(u"xyC       "));
  r->Clear();
  EXPECT_EQ(r->Length(), 0);
  EXPECT_EQ(r->Layout(), u"");
  EXPECT_EQ(r->Fields()->Count(), 0);
}

TEST(QelRecordData, InitializeWritesDefaultsOrCopiesFromTheSameLayout) {
  testing::ScopedLocale es("es_CL.UTF-8");
  QelRecord r;
  r.DefLayout(u"D");
  r.AddField(u"N", qelTypeNumeric, 4, Variant(), 12);
  r.AddField(u"T", qelTypeText, 3, Variant(), u"ab");
  r.AddField(u"L", qelTypeList, 2);
  r.AddField(u"Q", qelTypeNumeric, 2, Variant(), 7);
  r.AddField(u"L", qelTypeListEnd, 0);
  r.EndLayout(true);
  r.Initialize();
  EXPECT_EQ(r.Data(), u"0012ab 0707");
  auto other = OrderRecord();
  EXPECT_EQ(ErrorOf([&] { r.Initialize(other.get()); }),
            "-2147024809|QelRecord.Initialize:Signature|Las firmas de los registros no coinciden");
  EXPECT_EQ(r.Data(), u"0012ab 0707");
}

TEST(QelRecordData, CopyCloneAndMoveCorresponding) {
  testing::ScopedLocale es("es_CL.UTF-8");
  auto a = OrderRecord();
  a->SetSequence(40);
  a->SetReplyCode(qelRcodeNack);
  a->Labels()->SetValue(qelLabelUniqueID, u"JUAN");
  a->Fields()->Item(u"CLIENT")->SetValue(u"ANA");
  a->Fields()->Item(u"QTY")->SetValue(9, 1);
  a->Fields()->Item(u"QTY")->SetValue(5, 2);
  auto b = a->Clone();
  EXPECT_EQ(b->Serialize(), a->Serialize());
  EXPECT_EQ(b->Text(), a->Text());  // through the link text: padded to the length
  EXPECT_EQ(b->Data().size(), static_cast<size_t>(a->Length()));
  EXPECT_EQ(b->Layout(), a->Layout());
  b->Copy(nullptr);
  EXPECT_EQ(b->Length(), 0);

  QelRecord other;
  other.DefLayout(u"OTHER");
  other.AddField(u"CLIENT", qelTypeText, 20);
  other.AddField(u"QTY", qelTypeNumeric, 3);
  other.AddField(u"EXTRA", qelTypeText, 3);
  other.EndLayout(true);
  other.Fields()->Item(u"EXTRA")->SetValue(u"zzz");
  other.MoveCorresponding(*a);
  EXPECT_EQ(other.Fields()->Item(u"CLIENT")->Value(), Variant(u"ANA"));
  // The partner may sit in a group of the source: its first occurrence is taken.
  EXPECT_EQ(CLng(other.Fields()->Item(u"QTY")->Value()), 9);
  EXPECT_EQ(other.Fields()->Item(u"EXTRA")->Value(), Variant(u"zzz"));
}

TEST(QelRecordData, CopyAndCloneOfARecordWithoutLayout) {
  QelRecord bare;
  bare.SetSequence(50);
  bare.Labels()->SetValue(qelLabelHostName, u"h1");
  auto copy = bare.Clone();
  EXPECT_EQ(copy->Length(), 0);
  EXPECT_EQ(copy->Layout(), u"");
  EXPECT_EQ(copy->Sequence(), 50);
  EXPECT_EQ(copy->Labels()->Value(qelLabelHostName), u"h1");
  // An empty layout text is a record without fields.
  auto r = OrderRecord();
  r->SetLayout(Variant(u""));
  EXPECT_EQ(r->Fields()->Count(), 0);
  EXPECT_EQ(r->Length(), 0);
}

TEST(QelRecordData, CopyKeepsTheCopysOwnSignAnsi) {
  for (bool source_sign : {false, true}) {
    auto a = OrderRecord();
    a->SetSignANSI(source_sign);
    auto b = OrderRecord();
    b->SetSignANSI(!source_sign);
    b->Copy(a.get());
    EXPECT_EQ(b->SignANSI(), !source_sign);
    EXPECT_EQ(a->Clone()->SignANSI(), QelRecord().SignANSI());  // the thread's default
  }
}

TEST(QelRecordData, FillRefusesCodesOutsideTheCharacters) {
  auto r = OrderRecord();
  r->SetFill(65535);
  EXPECT_EQ(r->Data(), Text(static_cast<size_t>(r->Length()), char16_t(0xFFFF)));
  r->SetFill(65);
  EXPECT_EQ(r->Data(), Text(static_cast<size_t>(r->Length()), u'A'));
  for (const Variant& code : {Variant(65536), Variant(-1), Variant(2147483647.0), Variant(1e300)}) {
    EXPECT_EQ(Catch([&] { r->SetFill(code); }).Number(), kErrInvalidCall);
    EXPECT_EQ(r->Data(), Text(static_cast<size_t>(r->Length()), u'A'));  // unchanged
  }
}

TEST(QelRecordData, IntegerEdgesDoNotOverflow) {
  auto r = OrderRecord();
  r->SetReplyCode(2147483647);
  EXPECT_EQ(r->TranCode(), 32);
  r->SetReplyCode(-2147483647 - 1);
  EXPECT_EQ(r->TranCode(), 32);
  r->SetReplyCode(qelRcodeAck);
  EXPECT_EQ(r->TranCode(), 35);
  r->SetData(u"abc");
  EXPECT_EQ(Catch([&] { r->Mid(-2147483647 - 1); }).Number(), E_INVALIDARG);
  EXPECT_EQ(Catch([&] { r->Mid(2147483647, Variant(2147483647)); }).Number(), E_INVALIDARG);
  EXPECT_EQ(r->Mid(2147483647).Get<Text>(), u"");
  EXPECT_EQ(r->Mid(2).Get<Text>(), u"bc");
}

TEST(QelRecordLayout, ANullDefaultIsKeptAsNoDefault) {
  QelRecord r;
  r.DefLayout(u"N");
  r.AddField(u"A", qelTypeText, 3, Variant(), Variant::Null());
  r.AddField(u"B", qelTypeNumeric, 2, Variant(), Variant(7));
  const auto lines = Lines(r.EndLayout(true));
  EXPECT_EQ(lines[1], "X:3:A");
  EXPECT_EQ(lines[2], "N:2:B:7");
  r.Initialize();
  EXPECT_EQ(r.Data(), u"   07");
}

// A list begin's value is its whole group's text: it moves with its members, by position; a
// list end is never written, so the members keep what the begin brought.
TEST(QelRecordData, MoveCorrespondingMovesListsAsTheirGroupsText) {
  testing::ScopedLocale es("es_CL.UTF-8");
  auto a = OrderRecord();
  a->Fields()->Item(u"CODE")->SetValue(u"C1", 1);
  a->Fields()->Item(u"QTY")->SetValue(7, 3);
  auto b = OrderRecord(u"OTHER");
  b->Fields()->Item(u"CODE")->SetValue(u"old", 2);
  std::vector<int32_t> told;
  b->Fields()->Item(u"ITEMS")->ListFields()->Item(u"QTY")->Change.Connect(
      [&](int32_t i) { told.push_back(i); });
  b->MoveCorresponding(*a);
  EXPECT_EQ(b->Fields()->Item(u"CODE")->Value(1), Variant(u"C1"));
  EXPECT_EQ(b->Fields()->Item(u"CODE")->Value(2), Variant(u""));
  EXPECT_EQ(CLng(b->Fields()->Item(u"QTY")->Value(3)), 7);
  EXPECT_EQ(told, (std::vector<int32_t>{1, 2, 3}));
}

// A Change handler that clears the record, or disconnects itself and others, while the record
// tells its fields: nothing freed is walked (this runs under AddressSanitizer in the sanitizer
// build).
TEST(QelRecordData, HandlersThatChangeWhatIsBeingNotified) {
  const Text message = u"! " + Text(1, kHeaderSeparator) + u"AB #F1 CLIENTE 1";
  for (int what = 0; what < 4; ++what) {
    auto r = OrderRecord();
    int calls = 0;
    uint64_t others[2] = {0, 0};
    auto client = r->Fields()->Item(u"CLIENT");
    // Raw pointers: a handler that held its field would keep it alive for ever.
    const auto handler = [&, raw = r.get(), field = client.get()](int32_t) {
      ++calls;
      if (what == 0) raw->Clear();
      if (what == 1) raw->SetLayout(raw->Layout());
      if (what == 2) field->Change.Disconnect(others[0]), field->Change.Disconnect(others[1]);
      if (what == 3) raw->Fields()->Clear();
    };
    others[0] = client->Change.Connect(handler);
    others[1] = client->Change.Connect(handler);
    r->Fields()->Item(u"NOTE")->Change.Connect(handler);
    switch (what) {
      case 0:
        r->UnSerialize(message);
        break;
      case 1:
        r->SetData(u"x");
        break;
      case 2:
        r->Initialize();
        break;
      default:
        r->Initialize(OrderRecord().get());
    }
    EXPECT_GE(calls, 1) << what;
  }
}

}  // namespace
}  // namespace qel
