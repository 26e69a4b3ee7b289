#include "qel/fields/qel_record_fields.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "fields/qel_record_fields_internal.h"
#include "frame/testing.h"
#include "qel/fields/layout_digest.h"
#include "qel/frame/convert.h"

namespace qel {
namespace {

using testing::Catch;
using testing::ErrorOf;

// A signature text with a right digest: header, the lines, "CS:total:name:digest".
Text Signature(const char* name, const std::vector<const char*>& lines, int32_t total,
               const char* eol = "\r\n") {
  std::vector<Text> texts;
  for (const char* l : lines) texts.push_back(T(l));
  const std::vector<TextView> views(texts.begin(), texts.end());
  std::string s = std::string("SD:1.0:") + name + ":2006-03-29:14:05:09";
  for (const char* l : lines) s += eol + std::string(l);
  s += eol + std::string("CS:") + std::to_string(total) + ":" + name + ":" +
       ToUtf8(LayoutDigest(T(name), views, total));
  return T(s);
}

const std::vector<const char*> kClient = {
    "X:10:NOMBRE", "N:12.2:MONTO", "LB:120.4:ITEMS", "X:10:CODE",
    "N:20.2:AMT",  "LE:120:ITEMS", "R:10.1:RUT",
};

// "NAME@start*occurrences/length" for every field.
std::string Positions(const QelRecordFields& fields) {
  std::string out;
  for (const auto& f : fields) {
    if (!out.empty()) out += " ";
    out += ToUtf8(f->Name()) + "@" + std::to_string(f->Start()) + "*" +
           std::to_string(f->Occurrences()) + "/" + std::to_string(f->Length());
  }
  return out;
}

class FieldsTest : public ::testing::Test {
 protected:
  FieldsTest() { fields_.SetLayout(client_); }

  testing::ScopedLocale locale_{"es_CL.UTF-8"};
  Text client_ = Signature("CLIENTE", kClient, 152);
  QelRecordFields fields_;
};

TEST(LayoutDigest, Md5OfTheWindows1252PiecesInOrder) {
  const std::vector<TextView> lines = {u"X:30:NOMBRE", u"N:12.2:MONTO"};
  EXPECT_EQ(LayoutDigest(u"CLIENTE", lines, 42), u"00DD80EFAC92DEC85B5A001B3C661489");
  const Text cafe = T("X:5:CAFÉ");
  const std::vector<TextView> accented = {cafe};
  EXPECT_EQ(LayoutDigest(T("AÑO"), accented, 5), u"1EA9BAAB5179D75BC0D1F5525F426FF6");
}

TEST_F(FieldsTest, BuildsPlacedFieldsFromTheText) {
  EXPECT_EQ(fields_.Name(), u"CLIENTE");
  EXPECT_EQ(fields_.Length(), 152);
  EXPECT_EQ(fields_.Layout(), client_);
  EXPECT_EQ(fields_.Signature().size(), 32u);
  EXPECT_EQ(Positions(fields_),
            "NOMBRE@1*1/10 MONTO@11*1/12 ITEMS@23*4/120 CODE@23*4/10 AMT@33*4/20 "
            "ITEMS@23*1/120 RUT@143*1/10");
  EXPECT_FALSE(fields_.Item(u"NOMBRE")->InList());
  EXPECT_TRUE(fields_.Item(u"AMT")->InList());
  EXPECT_EQ(fields_.Item(u"ITEMS")->Dimensions(), 4);
}

TEST_F(FieldsTest, ListOccurrencesRepeatTheBody) {
  auto code = fields_.Item(u"CODE");
  auto amt = fields_.Item(u"AMT");
  for (int32_t i = 1; i <= 4; ++i) {
    code->SetValue(CStr(Variant(i)), i);
    amt->SetValue(i * 1.5, i);
  }
  fields_.Item(u"NOMBRE")->SetValue(u"ANA");
  fields_.Item(u"MONTO")->SetValue(0);
  fields_.Item(u"RUT")->SetValue(u"6-k");
  std::string expected = "ANA       000000000000";
  for (int i = 1; i <= 4; ++i) {
    const std::string amt = std::to_string(i * 150);
    expected += std::to_string(i) + std::string(9, ' ') + std::string(20 - amt.size(), '0') + amt;
  }
  expected += "000000006K";
  EXPECT_EQ(ToUtf8(fields_.RecordData()->Data()), expected);
  EXPECT_EQ(CStr(amt->Value(3)), u"4,5");
  // The list begin reads a whole repetition, the list end the whole list.
  EXPECT_EQ(fields_.Item(u"ITEMS")->Data(2), Variant(T(expected.substr(52, 30))));
  EXPECT_EQ(fields_.Item(7 - 1)->Data(), Variant(T(expected.substr(22, 120))));
  EXPECT_EQ(ErrorOf([&] { amt->Value(5); }),
            "-2147024809|QelRecordField.ValueGet|No se pudo obtener el valor del campo "
            "'AMT'\r\nIndice '5' fuera de rango");
  // Fill covers every repetition.
  code->SetFill(u"*");
  EXPECT_EQ(code->Data(4), Variant(u"**********"));
}

TEST_F(FieldsTest, ItemByNameOrPosition) {
  EXPECT_EQ(fields_.Count(), 7);
  EXPECT_EQ(fields_.Item(u"monto"), fields_.Item(2));
  EXPECT_EQ(fields_.Item(6)->DataType(), qelTypeListEnd);
  EXPECT_EQ(fields_.Item(u"ITEMS")->DataType(), qelTypeList) << "the begin owns the name";
  EXPECT_EQ(fields_.Item(2.0), fields_.Item(u"MONTO"));
  EXPECT_EQ(fields_.Find(0), nullptr);
  EXPECT_EQ(fields_.Find(Variant::Null()), nullptr);
  EXPECT_TRUE(fields_.Exists(u"Rut"));
  EXPECT_FALSE(fields_.Exists(u"RUT "));
  EXPECT_EQ(ErrorOf([&] { fields_.Item(u"NADA"); }),
            "-2147024809|QelRecordFields.Item|El campo 'NADA' no existe en el registro "
            "'CLIENTE'");

  auto items = fields_.Item(u"ITEMS")->ListFields();
  ASSERT_NE(items, nullptr);
  EXPECT_EQ(items->Name(), u"ITEMS");
  EXPECT_EQ(items->Length(), 120);
  EXPECT_EQ(Positions(*items), "CODE@23*4/10 AMT@33*4/20");
  EXPECT_EQ(items->Item(u"amt"), fields_.Item(u"AMT"));
  EXPECT_EQ(items->RecordData(), fields_.RecordData());
  EXPECT_EQ(fields_.Item(u"CODE")->ListFields(), nullptr);
}

TEST_F(FieldsTest, AcceptsEquivalentForms) {
  // A list begin without its total length, lone LF breaks, a final line break.
  std::vector<const char*> lines = kClient;
  lines[2] = "LB:4:ITEMS";
  QelRecordFields other;
  other.SetLayout(Signature("CLIENTE", lines, 152, "\n") + u"\r\n");
  EXPECT_EQ(Positions(other), Positions(fields_));
  EXPECT_EQ(other.Item(u"ITEMS")->Length(), 120);
  // A descriptor default holding colons.
  other.SetLayout(Signature("R", {"X:8:HORA:12:30:00"}, 8));
  EXPECT_EQ(other.Item(u"HORA")->Default(), Variant(u"12:30:00"));
}

TEST_F(FieldsTest, RefusesDamagedTextsAndKeepsItsFields) {
  auto replace = [&](const std::string& from, const std::string& to) {
    std::string s = ToUtf8(client_);
    const size_t at = s.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return T(s.replace(at, from.size(), to));
  };
  const std::string digest = ToUtf8(fields_.Signature());
  struct Case {
    Text text;
    const char* source;
  };
  const std::vector<Case> cases = {
      // Edited, forged or damaged lines: the digest tells, whatever else the edit broke.
      {replace("X:10:NOMBRE", "X:10:NOMBRF"), "QelRecordFields.Layout"},
      {replace("N:12.2:MONTO", "N:12.1:MONTO"), "QelRecordFields.Layout"},
      {replace(digest, std::string(32, '0')), "QelRecordFields.Layout"},
      {replace("X:10:NOMBRE", "X:11:NOMBRE"), "QelRecordFields.Layout"},
      {replace("CS:152:", "CS:153:"), "QelRecordFields.Layout"},
      {replace("X:10:NOMBRE", "D:7:FECHA"), "QelRecordFields.Layout"},
      {replace("LE:120:ITEMS", "LE:120:ITEMZ"), "QelRecordFields.Layout"},
      // Not a signature at all.
      {replace("SD:1.0:CLIENTE:", "SD:1.0:cliente:"), "QelRecordFields.Layout:Checksum"},
      {replace("CS:152:", "CS:0152:"), "QelRecordFields.Layout:Checksum"},
      {replace(":" + digest, ""), "QelRecordFields.Layout:Checksum"},
      {replace("\r\nCS:152:CLIENTE:" + digest, ""), "QelRecordFields.Layout:Checksum"},
      {client_.substr(0, client_.size() / 2), "QelRecordFields.Layout:Checksum"},
      {u"garbage", "QelRecordFields.Layout:Header"},
      {replace("SD:1.0:", "SD:2.0:"), "QelRecordFields.Layout:Header"},
      // Lines that another writer digested as they stand.
      {Signature("C", {"D:7:FECHA"}, 7),
       "QelRecordFields.Layout:QelRecordField.Initialize:DateLength"},
      {Signature("C", {"X:1:A"}, 2), "QelRecordFields.Layout:Total"},
      {Signature("C", {"X:1:A", "SD:1.0:C", "X:1:B"}, 2), "QelRecordFields.Layout:Line"},
      {Signature("C", {}, 1), "QelRecordFields.Layout:NoFields"},
      {Signature("C", {"X:1:A", "N:1:a"}, 2), "QelRecordFields.Layout:Duplicate"},
      {Signature("C", {"X:1:"}, 1), "QelRecordFields.Layout:Name"},
      {Signature("C", {"LE:1:L"}, 1), "QelRecordFields.Layout:MissingStart"},
      {Signature("C", {"LB:1:L", "X:1:A"}, 1), "QelRecordFields.Layout:MissingEnd"},
      {Signature("C", {"LB:1:L", "LB:1:M", "X:1:A", "LE:1:M", "LE:1:L"}, 1),
       "QelRecordFields.Layout:MissingEnd"},
      {Signature("C", {"LB:2:L", "X:1:A", "LE:2:M"}, 2), "QelRecordFields.Layout:WrongEnd"},
      {Signature("C", {"LB:3.2:L", "X:1:A", "LE:2:L"}, 2), "QelRecordFields.Layout:ListLength"},
      {Signature("C", {"LB:2:L", "X:1:A", "LE:3:L"}, 2), "QelRecordFields.Layout:ListLength"},
  };
  for (const Case& c : cases) {
    const Error e = Catch([&] { fields_.SetLayout(c.text); });
    EXPECT_EQ(e.Number(), E_INVALIDARG) << ToUtf8(c.text);
    EXPECT_EQ(ToUtf8(e.Source()), c.source) << ToUtf8(c.text);
    EXPECT_EQ(fields_.Layout(), client_);
    EXPECT_EQ(fields_.Count(), 7);
  }
  EXPECT_EQ(ErrorOf([&] { fields_.SetLayout(replace("X:10:NOMBRE", "X:10:NOMBRF")); }),
            "-2147024809|QelRecordFields.Layout|La firma no coincide con la definición de "
            "campos");
  EXPECT_EQ(ErrorOf([&] { fields_.SetLayout(Signature("C", {"LB:2:L", "X:1:A", "LE:2:M"}, 2)); }),
            "-2147024809|QelRecordFields.Layout:WrongEnd|Final de lista 'M' y su comienzo 'L' no "
            "coinciden");
  EXPECT_EQ(ErrorOf([&] { fields_.SetLayout(replace("X:10:NOMBRE", "X:11:NOMBRE")); }),
            "-2147024809|QelRecordFields.Layout|La firma no coincide con la definición de "
            "campos");
  EXPECT_EQ(Positions(fields_).substr(0, 14), "NOMBRE@1*1/10 ");
}

// The digest is the checksum line's default, read without its trailing blanks.
TEST_F(FieldsTest, BlanksAfterTheDigestAreIgnored) {
  QelRecordFields other;
  for (const Text& tail : {Text(u"  "), Text(u"   \r\n")}) {
    const Text text = client_ + tail;
    other.SetLayout(text);
    EXPECT_EQ(other.Layout(), text);
    EXPECT_EQ(other.Signature(), fields_.Signature());
  }
}

// Sizes a real host record never has are refused with 6 before anything is allocated, even
// under a digest recomputed for them.
TEST_F(FieldsTest, AbsurdSizesAreRefused) {
  const std::string max = std::to_string(kMaxRecordLength);
  const std::string past = std::to_string(kMaxRecordLength + 1);
  const struct {
    std::vector<std::string> lines;
    int32_t total;
  } refused[] = {
      {{"LB:2147483647:G", "X:1:A", "LE:0:G"}, 1},
      {{"X:2147483647:A"}, 2147483647},
      {{"X:" + past + ":A"}, kMaxRecordLength + 1},
      {{"X:" + max + ":A", "X:1:B"}, kMaxRecordLength + 1},
      {{"LB:65536:G", "X:1:A", "LE:65536:G"}, 65536},
      {{"LB:1048.1048:G", "X:1001:A", "LE:1048:G"}, 1048 * 1001},
      {{"LB:2.2:G", "X:" + max + ":A", "X:1:B", "LE:2:G"}, 2},
  };
  for (const auto& c : refused) {
    std::vector<const char*> lines;
    for (const auto& l : c.lines) lines.push_back(l.c_str());
    const Error e = Catch([&] { fields_.SetLayout(Signature("G", lines, c.total)); });
    EXPECT_EQ(e.Number(), kErrOverflow) << c.lines[0] << " " << ToUtf8(e.Description());
    EXPECT_EQ(fields_.Layout(), client_);
  }
  QelRecordFields at_limit;
  at_limit.SetLayout(Signature("G", {"LB:65535:G", "X:16:A", "LE:1048560:G"}, 1048560));
  EXPECT_EQ(at_limit.Item(u"A")->Occurrences(), kMaxListOccurrences);
  at_limit.SetLayout(Signature("G", {("X:" + max + ":A").c_str()}, kMaxRecordLength));
  EXPECT_EQ(at_limit.Length(), kMaxRecordLength);
}

// Seconds to assign a layout of one-character text fields under `names` and find each field
// by its name in lower case.
double LayoutAndLookups(const std::vector<std::string>& names) {
  std::vector<std::string> lines;
  for (const auto& n : names) lines.push_back("X:1:" + n);
  std::vector<const char*> views;
  for (const auto& l : lines) views.push_back(l.c_str());
  const Text text = Signature("NOMBRES", views, static_cast<int32_t>(names.size()));
  qel::internal::ForgetVerifiedLayoutsForTesting();
  const auto start = std::chrono::steady_clock::now();
  QelRecordFields fields;
  fields.SetLayout(text);
  for (const auto& n : names) {
    std::string lower = n;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    EXPECT_NE(fields.FindName(T(lower.c_str())), nullptr);
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Field names come from outside: names that differ only in bit 5 of their characters (the
// shape that defeats unkeyed hashes of case-folded text) must cost what random names cost.
TEST(FieldNameIndex, NamesChosenToCollideCostAsMuchAsRandomOnes) {
  constexpr int kNames = 20000;
  std::vector<std::string> chosen, random;
  std::mt19937 rng(7);
  for (int i = 0; i < kNames; ++i) {
    std::string c = "F", r = "F";
    for (int b = 0; b < 16; ++b) {
      c += ((i >> b) & 1) ? '`' : '@';
      r += static_cast<char>('A' + rng() % 26);
    }
    chosen.push_back(c);
    random.push_back(r + std::to_string(i));
  }
  const double random_seconds = LayoutAndLookups(random);
  const double chosen_seconds = LayoutAndLookups(chosen);
  EXPECT_LT(chosen_seconds, 4 * random_seconds + 0.05)
      << chosen_seconds << " s against " << random_seconds << " s";
}

TEST_F(FieldsTest, VerifiedTextsAreRecognisedButNothingElse) {
  QelRecordFields again;
  again.SetLayout(client_);  // remembered from the fixture
  EXPECT_EQ(Positions(again), Positions(fields_));
  EXPECT_NE(again.Item(1), fields_.Item(1)) << "each collection has fields of its own";
  // A forgery of a remembered text is still checked.
  Text forged = client_;
  forged[forged.find(u"NOMBRE")] = u'M';
  EXPECT_EQ(ToUtf8(Catch([&] { again.SetLayout(forged); }).Source()), "QelRecordFields.Layout");
  qel::internal::ForgetVerifiedLayoutsForTesting();
  again.SetLayout(client_);
  EXPECT_EQ(Positions(again), Positions(fields_));
  // Sizes are read through the locale, so a text read under other separators is read again.
  const Text odd = Signature("C", {"X:1,5:A"}, 2);
  again.SetLayout(odd);
  EXPECT_EQ(again.Item(u"A")->Length(), 2);
  testing::ScopedLocale en("en_US.UTF-8");
  EXPECT_EQ(ToUtf8(Catch([&] { again.SetLayout(odd); }).Source()),
            "QelRecordFields.Layout:Total");
}

// NotifyDataChanged tells exactly the fields with a handler at that moment, however the
// handlers came and went: connected directly or by name, disconnected, or gone with a field
// of an older layout; through the whole collection or a group's.
TEST_F(FieldsTest, NotifyDataChangedTellsTheFieldsListenedToNow) {
  std::vector<std::string> seen;
  const auto listen = [&](const char* name) {
    return [&seen, name](int32_t i) { seen.push_back(name + std::to_string(i)); };
  };
  const auto told = [&](QelRecordFields& fields) {
    seen.clear();
    fields.NotifyDataChanged();
    std::string out;
    for (const auto& s : seen) out += (out.empty() ? "" : " ") + s;
    return out;
  };
  {
    auto old = fields_.Item(u"MONTO");
    old->Change.Connect(listen("old"));
    fields_.SetLayout(Signature("OTRO", kClient, 152));  // the old fields are not told
  }
  EXPECT_EQ(told(fields_), "");
  auto rut = fields_.Item(u"RUT");
  const uint64_t by_event = rut->Change.Connect(listen("rut"));
  const uint64_t by_name = fields_.Item(u"AMT")->ConnectEvent(
      u"Change", [&](std::span<Variant> args) { seen.push_back("amt" + ToUtf8(CStr(args[0]))); });
  auto items = fields_.Item(u"ITEMS")->ListFields();
  EXPECT_EQ(told(fields_), "amt1 amt2 amt3 amt4 rut1");
  EXPECT_EQ(told(*items), "amt1 amt2 amt3 amt4");
  EXPECT_TRUE(fields_.Item(u"AMT")->DisconnectEvent(by_name));
  EXPECT_FALSE(rut->Change.Disconnect(by_name + 100));
  EXPECT_EQ(told(*items), "");
  EXPECT_EQ(told(fields_), "rut1");
  EXPECT_TRUE(rut->Change.Disconnect(by_event));
  EXPECT_EQ(told(fields_), "");
  rut->Change.Connect(listen("rut"));
  EXPECT_EQ(told(fields_), "rut1");
}

TEST_F(FieldsTest, FieldsOutliveTheirLayoutAndFollowTheData) {
  auto nombre = fields_.Item(u"NOMBRE");
  std::vector<int32_t> seen;
  fields_.Item(u"CODE")->Change.Connect([&](int32_t i) { seen.push_back(i); });
  fields_.NotifyDataChanged();
  EXPECT_EQ(seen, (std::vector<int32_t>{1, 2, 3, 4}));

  auto data = std::make_shared<QelRecordData>();
  fields_.SetRecordData(data);
  fields_.Item(u"CODE")->SetValue(u"x", 2);
  fields_.Item(u"ITEMS")->ListFields()->Item(u"AMT")->SetValue(1, 1);
  EXPECT_EQ(data->Length(), 62);
  EXPECT_EQ(nombre->RecordData(), data);

  fields_.Clear();
  EXPECT_EQ(fields_.Count(), 0);
  EXPECT_EQ(fields_.Layout(), u"");
  EXPECT_EQ(fields_.Length(), 0);
  EXPECT_FALSE(fields_.Exists(u"NOMBRE"));
  nombre->SetValue(u"sigue");
  EXPECT_EQ(nombre->Value(), Variant(u"sigue"));
  EXPECT_EQ(fields_.RecordData(), data);
}

}  // namespace
}  // namespace qel
