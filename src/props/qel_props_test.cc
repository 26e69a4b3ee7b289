#include "qel/props/qel_props.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "fields/qel_record_field_internal.h"
#include "frame/testing.h"
#include "props/props_testing.h"
#include "qel/frame/convert.h"
#include "qel/util/qel_locale.h"

namespace qel {
namespace {

using testing::Dump;
using testing::ErrorOf;

std::shared_ptr<QelProps> Bag(TextView text) {
  auto bag = std::make_shared<QelProps>();
  bag->LoadFromText(text);
  return bag;
}

TEST(QelPropsKeys, NamesIgnoreCaseAndSurroundingBlanks) {
  QelProps bag;
  EXPECT_EQ(bag.Item(u"x"), nullptr);
  bag.SetValue(u"x", 1);
  bag.SetValue(u" a ", 5);
  bag.SetValue(u"A", 6);
  bag.SetValue(T("AÑO"), 2024);
  EXPECT_TRUE(bag.Exists(u"X"));
  EXPECT_TRUE(bag.Exists(T(" año")));
  EXPECT_EQ(Dump(bag), "x(3)=1|a(3)=6|AÑO(3)=2024");
  EXPECT_EQ(bag.Value(u"missing", 7), Variant(7));
  EXPECT_TRUE(bag.Value(u"missing").IsEmpty());
  auto other = std::make_shared<QelProps>();
  EXPECT_EQ(bag.Value(u"missing", other).AsObject(), other);  // an object by reference
}

TEST(QelPropsKeys, NumbersArePositionsOtherKeysAreText) {
  auto bag = Bag(u"a=1;b=2;c=3");
  EXPECT_EQ(bag->Item(1)->Name(), u"a");
  EXPECT_EQ(bag->Item(3.0)->Name(), u"c");
  EXPECT_EQ(bag->Item(Decimal::FromInt64(2))->Name(), u"b");
  for (const Variant& absent : {Variant(0), Variant(4), Variant(u"1"), Variant::Null(),
                                Variant::Nothing(), Variant(true)}) {
    EXPECT_EQ(bag->Item(absent), nullptr);
    EXPECT_FALSE(bag->Remove(absent));
  }
  bag->SetValue(9, u"x");  // a position out of range names a new property
  bag->SetValue(2, u"y");
  bag->SetValue(true, 1);
  EXPECT_EQ(Dump(*bag), "a(3)=1|b(8)=y|c(3)=3|9(8)=x|True(3)=1");
  EXPECT_EQ(ErrorOf([&] { bag->SetValue(Variant::Null(), 1); }),
            "94|QelStd1|Uso no válido de Null");
  EXPECT_EQ(bag->Count(), 5);
}

TEST(QelPropValue, ObjectsAreTakenByClass) {
  QelProps bag;
  bag.SetValue(u"p", 1);
  EXPECT_EQ(ErrorOf([&] { bag.SetValue(u"p", Variant::Nothing()); }),
            "-2147024809|QelProp.ValueSet|Asignación de objeto nulo a la propiedad 'p'");
  EXPECT_EQ(ErrorOf([&] { bag.SetValue(u"p", std::make_shared<QelLocale>()); }),
            "-2147024809|QelProp.ValueSet|Asignación de objeto inválido a la propiedad 'p'");
  EXPECT_EQ(ErrorOf([&] { bag.SetValue(u"new", Variant::Nothing()); }),
            "-2147024809|QelProp.ValueSet|Asignación de objeto nulo a la propiedad 'new'");
  EXPECT_EQ(Dump(bag), "p(3)=1|new(0)");  // no change; the property made for it stays, Empty

  auto source = QelProp::Create(u"src");
  source->SetValue(u"first");
  bag.SetValue(u"copy", source);
  source->SetValue(u"second");
  auto field = QelRecordFieldInternal::Make(u"N:6.2:MONTO", std::make_shared<QelRecordData>());
  field->SetValue(Decimal::FromParts(1250, 2, false));
  bag.SetValue(u"field", field);
  field->SetValue(0);
  EXPECT_EQ(Dump(bag), "p(3)=1|new(0)|copy(8)=first|field(14)=12.5");

  auto inner = std::make_shared<QelProps>();
  bag.SetValue(u"q", inner);
  inner->SetValue(u"x", 1);
  const auto q = bag.Item(u"q");
  EXPECT_TRUE(q->IsObject() && q->IsProps());
  EXPECT_EQ(q->Props(), inner);
  EXPECT_EQ(q->DataType(), 9);
  bag.SetValue(u"q", u"text");
  EXPECT_EQ(q->Props(), nullptr);
  EXPECT_EQ(CStr(Variant(q)), u"text");  // Value is the default member
}

TEST(QelPropStrName, QuotesWhatIsNotANameToken) {
  const std::pair<const char*, const char*> cases[] = {
      {"abc_1", "abc_1"},     {"_x", "_x"},       {"ñandú", "ñandú"},
      {"a b", "\"a b\""},     {"1a", "\"1a\""},   {"", "\"\""},
      {"a\"b", "\"a\"\"b\""}, {"a-b", "\"a-b\""}, {"x×y", "\"x×y\""},
  };
  for (const auto& [name, str] : cases) {
    EXPECT_EQ(ToUtf8(QelProp::Create(T(name))->StrName()), str) << name;
  }
}

TEST(QelPropsOrder, RemovalShiftsPositionsAndOrderIsInsertionOrder) {
  auto bag = Bag(u"b=1;A=2;c=3;a=4");
  std::vector<std::string> names;
  for (const auto& p : *bag) names.push_back(ToUtf8(p->Name()));
  EXPECT_EQ(names, (std::vector<std::string>{"b", "A", "c"}));
  EXPECT_TRUE(bag->Remove(u"a"));
  EXPECT_EQ(bag->Item(2)->Name(), u"c");
  EXPECT_TRUE(bag->Remove(1));
  EXPECT_EQ(Dump(*bag), "c(3)=3");
  bag->Clear();
  EXPECT_EQ(bag->Count(), 0);
}

// Random insertions, updates and removals must agree with a plain list model, on both sides of
// the size where the bag starts keeping a hash index. Names run from 2 to 22 units, each unit
// in either case, so that every part of the key hash sees letters of both cases.
TEST(QelPropsModel, AgreesWithAListUnderRandomEdits) {
  std::mt19937 rng(7);
  QelProps bag;
  std::vector<std::pair<Text, int32_t>> model;
  auto find = [&](const Text& name) {
    return std::find_if(model.begin(), model.end(),
                        [&](const auto& e) { return EqualsNoCase(e.first, name); });
  };
  const Text stem = T("_abcdefghijklmnñopqr");
  for (int step = 0; step < 20000; ++step) {
    const auto number = rng() % (step < 4000 ? 12 : 400);
    Text name = FromUtf8("k" + std::to_string(number)) + stem.substr(0, number % stem.size());
    for (char16_t& c : name) {
      if (rng() % 2) c = UCase(Text(1, c))[0];
    }
    const auto it = find(name);
    const auto v = static_cast<int32_t>(rng() % 1000);
    switch (rng() % 4) {
      case 0:
      case 1:
        bag.SetValue(name, v);
        if (it == model.end()) {
          model.emplace_back(name, v);
        } else {
          it->second = v;
        }
        break;
      case 2:
        ASSERT_EQ(bag.Remove(name), it != model.end());
        if (it != model.end()) model.erase(it);
        break;
      default:
        if (!model.empty()) {
          const auto pos = static_cast<int32_t>(rng() % model.size());
          ASSERT_TRUE(bag.Remove(pos + 1));
          model.erase(model.begin() + pos);
        }
    }
    ASSERT_EQ(bag.Count(), static_cast<int32_t>(model.size()));
    ASSERT_EQ(bag.Exists(name), find(name) != model.end()) << step;
  }
  for (size_t i = 0; i < model.size(); ++i) {
    const auto p = bag.Item(model[i].first);
    ASSERT_EQ(p, bag.Item(static_cast<int32_t>(i + 1)));
    EXPECT_EQ(p->Value(), Variant(model[i].second));
  }
}

TEST(QelPropsMerge, AddsReplacesAndMergesNestedBags) {
  auto target = Bag(u"keep=1;n=2;q=[x=1;y=2];s=[z=1];r=[x=1;y=2]");
  const auto target_r = target->Item(u"r")->Props();
  auto source = Bag(u"n=20;q=[y=3;w=4];s=5;new=[k=1];r=[NOMERGE;y=3]");
  target->Merge(source);
  EXPECT_EQ(Dump(*target),
            "keep(3)=1|n(3)=20|q(9)=[x(3)=1|y(3)=3|w(3)=4]|s(3)=5|r(9)=[NOMERGE(1)|y(3)=3]|"
            "new(9)=[k(3)=1]");
  EXPECT_EQ(target->Item(u"new")->Props(), source->Item(u"new")->Props());  // added by reference
  EXPECT_EQ(target->Item(u"r")->Props(), target_r);  // NOMERGE: same bag, contents replaced
  target->Merge(nullptr);
  target->Merge(target);
  EXPECT_EQ(target->Count(), 6);
}

TEST(QelPropsMerge, BagsThatContainThemselvesMergeOnceAndStopWritingWith28) {
  auto a = Bag(u"x=1");
  auto b = Bag(u"x=2;y=3");
  a->SetValue(u"self", a);
  b->SetValue(u"self", b);
  a->Merge(b);  // b's "self" goes into a's "self", which is a: that pair is merged once
  EXPECT_EQ(a->Count(), 3);
  EXPECT_EQ(a->Value(u"x"), Variant(2));
  EXPECT_EQ(a->Value(u"y"), Variant(3));
  EXPECT_EQ(a->Item(u"self")->Props(), a);
  EXPECT_EQ(ErrorOf([&] { a->ToText(); }), "28|QelStd1|Espacio de pila insuficiente");
  a->Clear();  // break the cycles
  b->Clear();
}

TEST(QelPropsCopy, CopiesAreDeep) {
  auto bag = Bag(u"a=1;q=[x=\"s\"]");
  const auto clone = bag->Clone();
  bag->Item(u"q")->Props()->SetValue(u"x", u"changed");
  EXPECT_EQ(Dump(*clone), "a(3)=1|q(9)=[x(8)=s]");
  bag->Copy(clone, u"sub");
  bag->Copy(nullptr, u"none");
  EXPECT_EQ(Dump(*bag), "a(3)=1|q(9)=[x(8)=changed]|sub(9)=[a(3)=1|q(9)=[x(8)=s]]|none(9)=[]");
  bag->Copy(Bag(u"z=1"));
  bag->Copy(bag);
  EXPECT_EQ(Dump(*bag), "z(3)=1");
  bag->Copy(nullptr);
  EXPECT_EQ(bag->Count(), 0);
}

TEST(QelPropsObject, CreatableByName) {
  auto bag = std::dynamic_pointer_cast<QelProps>(CreateObject(u"qelprops"));
  ASSERT_NE(bag, nullptr);
  EXPECT_EQ(bag->Self(), bag);
  EXPECT_EQ(CreateObject(u"QelProp")->ClassName(), u"QelProp");
}

}  // namespace
}  // namespace qel
