#include "records/record_text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "frame/testing.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/decimal.h"
#include "qel/records/qel_record.h"
#include "records/record_text_testing.h"

namespace qel::internal {
namespace {

std::string Actual(const RecordTextReader& reader, int32_t position, int32_t index,
                   bool* present) {
  std::string out = "prefix";
  try {
    *present = reader.Append(position, index, out);
  } catch (const Error& e) {
    *present = false;
    return "!" + std::to_string(e.Number());
  }
  EXPECT_EQ(out.substr(0, 6), "prefix");  // appends, never replaces
  return out.substr(6);
}

std::shared_ptr<QelRecord> EveryType() {
  auto r = std::make_shared<QelRecord>();
  r->DefLayout(u"TODOS");
  r->AddField(u"NOMBRE", qelTypeText, 12);
  r->AddField(u"CODIGO", qelTypeAlpha, 5);
  r->AddField(u"MONTO", qelTypeNumeric, 9, 2);
  r->AddField(u"LARGO", qelTypeNumeric, 27, 4);
  r->AddField(u"SALDO", qelTypeSigned, 7, 3);
  r->AddField(u"CHICO", qelTypeSigned, 2, 4);
  r->AddField(u"F8", qelTypeDate, 8);
  r->AddField(u"F6", qelTypeDate, 6);
  r->AddField(u"F4", qelTypeDate, 4);
  r->AddField(u"RUT", qelTypeRut, 10, 1);
  r->AddField(u"LINEAS", qelTypeList, 3);
  r->AddField(u"ART", qelTypeText, 4);
  r->AddField(u"CANT", qelTypeSigned, 5, 1);
  r->AddField(u"VENCE", qelTypeDate, 8);
  r->AddField(u"LINEAS", qelTypeListEnd, 0);
  r->AddField(u"NOTA", qelTypeAlpha, 3);
  r->EndLayout(true);
  return r;
}

// Slot texts of every kind a file from outside may hold in a field of this type.
Text RandomSlot(std::mt19937& rng, int32_t type, int32_t length) {
  auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  auto digits = [&](int n) {
    Text t;
    for (int i = 0; i < n; ++i) t.push_back(static_cast<char16_t>(u'0' + pick(10)));
    return t;
  };
  const auto n = static_cast<size_t>(length);
  switch (pick(12)) {
    case 0:
      return Text(n, u' ');
    case 1:
      return Text(n, kNullFiller);
    default:
      break;
  }
  switch (type) {
    case qelTypeText:
    case qelTypeAlpha: {
      static constexpr char16_t kChars[] = u"AZaz09 ñÉ-.\u20ac";
      Text t;
      for (size_t i = 0; i < n; ++i) t.push_back(kChars[pick(sizeof kChars / 2 - 1)]);
      return t;
    }
    case qelTypeNumeric:
    case qelTypeSigned: {
      Text t = digits(length);
      static constexpr char16_t kMarks[] = u"{}AIJR";
      switch (pick(7)) {
        case 0: t.back() = static_cast<char16_t>(t.back() | 128); break;
        case 1: t.back() = kMarks[pick(6)]; break;
        case 2: t.replace(0, n / 2, n / 2, u' '); break;
        case 3: t[n / 2] = u'x'; break;
        case 4: t.assign(n, u'0'); break;
        default: break;
      }
      return t;
    }
    case qelTypeDate: {
      char buf[16];
      const int y = 1930 + pick(100), m = 1 + pick(12), d = 1 + pick(28);
      switch (pick(6)) {
        case 0: return Text(n, u'0');
        case 1: return digits(length);  // often no real date
        case 2: return n == 4 ? Text(u"0101") : n == 6 ? Text(u"010101") : Text(u"00010101");
        default: break;
      }
      if (n == 8) std::snprintf(buf, sizeof buf, "%04d%02d%02d", y, m, d);
      if (n == 6) std::snprintf(buf, sizeof buf, "%02d%02d%02d", y % 100, m, d);
      if (n == 4) std::snprintf(buf, sizeof buf, "%02d%02d", y % 100, m);
      return FromUtf8(buf);
    }
    case qelTypeRut: {
      Text body = digits(length - 1);
      for (int k = pick(length - 1); k-- > 0;) body[static_cast<size_t>(k)] = u'0';
      char16_t check = RutCheckChar(body);
      switch (pick(5)) {
        case 0: check = u'?'; break;
        case 1: check = check == u'K' ? u'k' : static_cast<char16_t>(u'0' + (check - u'0' + 1) % 10); break;
        case 2: body.replace(0, 3, u"   "); break;
        default: break;
      }
      return body + check;
    }
    default:
      return Text(n, u' ');
  }
}

TEST(RecordTextReader, AgreesWithValueOnRandomRecords) {
  auto rec = EveryType();
  auto fields = rec->Fields();
  RecordTextReader reader(fields);
  std::mt19937 rng(20061231);
  int compared = 0;
  for (int round = 0; round < 3000; ++round) {
    Text data;
    for (const auto& f : *fields) {
      if (f->DataType() == qelTypeList || f->DataType() == qelTypeListEnd) continue;
      for (int32_t i = 1; i <= f->Occurrences(); ++i) {
        f->SetData(Variant(RandomSlot(rng, f->DataType(), f->Length())), i);
      }
    }
    if (round % 10 == 0) rec->SetData(Variant(Text(rec->Data().substr(0, rng() % 60))));
    for (int32_t p = 1; p <= fields->Count(); ++p) {
      const auto& f = *fields->Item(Variant(p));
      for (int32_t i = 1; i <= f.Occurrences(); ++i) {
        bool want_present, got_present;
        const std::string want = PlainTextForTesting(f, i, &want_present);
        const std::string got = Actual(reader, p, i, &got_present);
        ASSERT_EQ(got, want) << ToUtf8(f.Name()) << "(" << i << ") slot ["
                             << ToUtf8(rec->Data()) << "]";
        ASSERT_EQ(got_present, want_present) << ToUtf8(f.Name());
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 3000 * 20);
}

TEST(RecordTextReader, IndexOutOfRangeRaisesValuesError) {
  auto rec = EveryType();
  RecordTextReader reader(rec->Fields());
  std::string out;
  const int32_t art = 12;
  ASSERT_EQ(rec->Fields()->Item(Variant(art))->Name(), u"ART");
  const Error e = testing::Catch([&] { reader.Append(art, 4, out); });
  EXPECT_EQ(e.Number(), E_INVALIDARG);
  EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace qel::internal
