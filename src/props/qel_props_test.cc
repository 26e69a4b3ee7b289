#include "qel/props/qel_props.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "frame/testing.h"
#include "props/props_testing.h"
#include "qel/frame/error.h"
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

// Stands in for the records subsystem's field, which a bag knows only by its class name.
class FakeRecordField final : public Object {
 public:
  TextView ClassName() const override { return u"QelRecordField"; }
  std::optional<Variant> DefaultValue() override { return value; }
  Variant value;
};

TEST(QelPropsKeys, IgnoreCaseAndSurroundingBlanks) {
  QelProps bag;
  EXPECT_EQ(bag.Item(u"x"), nullptr);
  bag.SetValue(u"x", 1);
  EXPECT_TRUE(bag.Exists(u"X"));
  bag.SetValue(u" a ", 5);
  EXPECT_EQ(bag.Item(u"a")->Name(), u"a");
  EXPECT_EQ(bag.Value(u"  A"), Variant(5));
  bag.SetValue(u"A", 6);  // the same property
  EXPECT_EQ(Dump(bag), "x(3)=1|a(3)=6");
  // Latin-1 letters fold too, as names are compared everywhere in the library.
  bag.SetValue(T("AÑO"), 2024);
  EXPECT_TRUE(bag.Exists(T("año")));
}

TEST(QelPropsKeys, NumbersArePositionsAndOtherKeysAreText) {
  auto bag = Bag(u"a=1;b=2;c=3");
  EXPECT_EQ(bag->Item(1)->Name(), u"a");
  EXPECT_EQ(bag->Item(3.0)->Name(), u"c");
  EXPECT_EQ(bag->Item(Decimal::FromInt64(2))->Name(), u"b");
  EXPECT_EQ(bag->Item(0), nullptr);
  EXPECT_EQ(bag->Item(4), nullptr);
  EXPECT_EQ(bag->Item(-1), nullptr);
  EXPECT_EQ(bag->Item(u"1"), nullptr);  // text is a name, never a position
  EXPECT_EQ(bag->Item(Variant::Null()), nullptr);
  EXPECT_EQ(bag->Item(Variant::Nothing()), nullptr);
  EXPECT_EQ(bag->Value(Variant::Null(), 7), Variant(7));
  // Assigning through a position out of range creates a property named by the number.
  bag->SetValue(9, u"x");
  EXPECT_EQ(bag->Item(4)->Name(), u"9");
  bag->SetValue(2, u"y");
  EXPECT_EQ(bag->Value(u"b"), Variant(u"y"));
  EXPECT_EQ(bag->Item(true), nullptr);
  bag->SetValue(true, 1);
  EXPECT_TRUE(bag->Exists(u"True"));
}

TEST(QelPropsValue, AbsentKeysGiveTheDefault) {
  QelProps bag;
  EXPECT_EQ(bag.Value(u"missing", 7), Variant(7));
  EXPECT_TRUE(bag.Value(u"missing").IsEmpty());
  auto other = std::make_shared<QelProps>();
  EXPECT_EQ(bag.Value(u"missing", other).AsObject(), other);  // an object by reference
  EXPECT_EQ(bag.Count(), 0);
}

TEST(QelPropsValue, NullKeyRaisesAndCreatesNothing) {
  QelProps bag;
  EXPECT_EQ(ErrorOf([&] { bag.SetValue(Variant::Null(), 1); }), "94|QelStd1|Uso no válido de Null");
  EXPECT_EQ(bag.Count(), 0);
}

TEST(QelPropValue, ObjectAssignmentsByClass) {
  QelProps bag;
  bag.SetValue(u"p", 1);
  EXPECT_EQ(ErrorOf([&] { bag.SetValue(u"p", Variant::Nothing()); }),
            "-2147024809|QelProp.ValueSet|Asignación de objeto nulo a la propiedad 'p'");
  EXPECT_EQ(ErrorOf([&] { bag.SetValue(u"p", std::make_shared<QelLocale>()); }),
            "-2147024809|QelProp.ValueSet|Asignación de objeto inválido a la propiedad 'p'");
  EXPECT_EQ(bag.Value(u"p"), Variant(1));  // unchanged by the failures
  // A failed assignment does not leave behind the property it would have created.
  EXPECT_EQ(ErrorOf([&] { bag.SetValue(u"new", Variant::Nothing()); }),
            "-2147024809|QelProp.ValueSet|Asignación de objeto nulo a la propiedad 'new'");
  EXPECT_FALSE(bag.Exists(u"new"));
  EXPECT_EQ(bag.Count(), 1);
}

TEST(QelPropValue, AnotherPropertyIsCopiedByValue) {
  auto source = std::make_shared<QelProp>(u"src");
  source->SetValue(u"first");
  QelProp target(u"t");
  target.SetValue(source);
  source->SetValue(u"second");
  EXPECT_EQ(target.Value(), Variant(u"first"));
  EXPECT_EQ(target.DataType(), 8);
}

TEST(QelPropValue, RecordFieldStoresItsValue) {
  auto field = std::make_shared<FakeRecordField>();
  field->value = Decimal::FromParts(1250, 2, false);
  QelProps bag;
  bag.SetValue(u"amount", field);
  field->value = 0;
  EXPECT_EQ(bag.Value(u"amount"), Variant(Decimal::FromParts(1250, 2, false)));
  EXPECT_FALSE(bag.Item(u"amount")->IsObject());
}

TEST(QelPropValue, NestedBagIsHeldByReference) {
  auto inner = std::make_shared<QelProps>();
  QelProps bag;
  bag.SetValue(u"q", inner);
  inner->SetValue(u"x", 1);
  const auto p = bag.Item(u"q");
  EXPECT_TRUE(p->IsObject());
  EXPECT_TRUE(p->IsProps());
  EXPECT_EQ(p->Props(), inner);
  EXPECT_EQ(p->DataType(), 9);
  EXPECT_EQ(Dump(bag), "q(9)=[x(3)=1]");
  bag.SetValue(u"q", u"text");  // replaced by a plain value
  EXPECT_FALSE(p->IsProps());
  EXPECT_EQ(p->Props(), nullptr);
}

TEST(QelPropState, FlagsFollowTheValue) {
  QelProp p(u"  name ");
  EXPECT_EQ(p.Name(), u"name");
  EXPECT_TRUE(p.IsEmpty());
  EXPECT_EQ(p.DataType(), 0);
  p.SetValue(Variant::Null());
  EXPECT_TRUE(p.IsNull());
  EXPECT_FALSE(p.IsEmpty());
  p.SetValue(ByteArray{1, 2});
  EXPECT_EQ(p.DataType(), 8209);
  EXPECT_FALSE(p.IsObject());
  auto shared = std::make_shared<QelProp>(u"n");
  shared->SetValue(42);
  EXPECT_EQ(CStr(Variant(shared)), u"42");  // Value is the default member
}

TEST(QelPropStrName, QuotesWhatIsNotANameToken) {
  const std::pair<const char*, const char*> cases[] = {
      {"abc_1", "abc_1"},     {"_x", "_x"},       {"ñandú", "ñandú"},
      {"a b", "\"a b\""},     {"1a", "\"1a\""},   {"", "\"\""},
      {"a\"b", "\"a\"\"b\""}, {"a-b", "\"a-b\""}, {"x×y", "\"x×y\""},
  };
  for (const auto& [name, str] : cases) {
    EXPECT_EQ(ToUtf8(QelProp(T(name)).StrName()), str) << name;
  }
}

TEST(QelPropsRemove, ShiftsPositionsAndNeverRaises) {
  auto bag = Bag(u"a=1;b=2;c=3");
  EXPECT_FALSE(bag->Remove(u"zz"));
  EXPECT_FALSE(bag->Remove(Variant::Null()));
  EXPECT_TRUE(bag->Remove(u"B"));
  EXPECT_EQ(Dump(*bag), "a(3)=1|c(3)=3");
  EXPECT_EQ(bag->Item(2)->Name(), u"c");
  EXPECT_TRUE(bag->Remove(1));
  EXPECT_FALSE(bag->Remove(2));
  EXPECT_EQ(Dump(*bag), "c(3)=3");
  bag->Clear();
  EXPECT_EQ(bag->Count(), 0);
  EXPECT_FALSE(bag->Exists(u"c"));
}

TEST(QelPropsOrder, IterationKeepsInsertionOrder) {
  auto bag = Bag(u"b=1;A=2;c=3;a=4");
  std::vector<std::string> names;
  for (const auto& p : *bag) names.push_back(ToUtf8(p->Name()));
  EXPECT_EQ(names, (std::vector<std::string>{"b", "A", "c"}));
  EXPECT_EQ(bag->Value(u"a"), Variant(4));
}

// A bag driven by random insertions, updates and removals must agree with a plain list model,
// on both sides of the size where the bag starts to keep a hash index.
TEST(QelPropsModel, AgreesWithAListUnderRandomEdits) {
  std::mt19937 rng(7);
  QelProps bag;
  std::vector<std::pair<Text, int32_t>> model;
  auto find = [&](const Text& name) {
    return std::find_if(model.begin(), model.end(),
                        [&](const auto& e) { return EqualsNoCase(e.first, name); });
  };
  for (int step = 0; step < 20000; ++step) {
    const int range = step < 4000 ? 12 : 400;
    Text name = u"k" + Text(1, static_cast<char16_t>(u'a' + rng() % 3)) +
                FromUtf8(std::to_string(rng() % range));
    if (rng() % 2) name = UCase(name);
    const auto it = find(name);
    switch (rng() % 4) {
      case 0:
      case 1: {
        const auto v = static_cast<int32_t>(rng() % 1000);
        bag.SetValue(name, v);
        if (it == model.end()) {
          model.emplace_back(name, v);
        } else {
          it->second = v;
        }
        break;
      }
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
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p, bag.Item(static_cast<int32_t>(i + 1)));
    EXPECT_EQ(p->Value(), Variant(model[i].second));
  }
}

TEST(QelPropsMerge, AddsReplacesAndMergesNestedBags) {
  auto target = Bag(u"keep=1;n=2;q=[x=1;y=2];s=[z=1]");
  auto source = Bag(u"n=20;q=[y=3;w=4];s=5;new=[k=1]");
  target->Merge(source);
  EXPECT_EQ(Dump(*target), "keep(3)=1|n(3)=20|q(9)=[x(3)=1|y(3)=3|w(3)=4]|s(3)=5|new(9)=[k(3)=1]");
  // An added nested bag is the source's own object.
  EXPECT_EQ(target->Item(u"new")->Props(), source->Item(u"new")->Props());
}

TEST(QelPropsMerge, NoMergeReplacesTheNestedBag) {
  auto target = Bag(u"q=[x=1;y=2]");
  const auto target_q = target->Item(u"q")->Props();
  target->Merge(Bag(u"q=[NOMERGE;y=3]"));
  EXPECT_EQ(Dump(*target), "q(9)=[NOMERGE(1)|y(3)=3]");
  EXPECT_EQ(target->Item(u"q")->Props(), target_q);  // the same bag, new contents
}

TEST(QelPropsMerge, IgnoresNothingAndItself) {
  auto bag = Bag(u"a=1");
  bag->Merge(nullptr);
  bag->Merge(bag);
  EXPECT_EQ(Dump(*bag), "a(3)=1");
}

TEST(QelPropsMerge, CyclesStopWithError28) {
  auto a = Bag(u"x=1");
  auto b = Bag(u"x=2");
  a->SetValue(u"self", a);
  b->SetValue(u"self", b);
  EXPECT_EQ(ErrorOf([&] { a->Merge(b); }), "28|QelStd1|Espacio de pila insuficiente");
  EXPECT_EQ(ErrorOf([&] { a->ToText(); }), "28|QelStd1|Espacio de pila insuficiente");
  a->Clear();  // break the cycles
  b->Clear();
}

TEST(QelPropsCopy, CloneIsDeepAndIndependent) {
  auto bag = Bag(u"a=1;q=[x=\"s\"]");
  const auto copy = bag->Clone();
  EXPECT_EQ(Dump(*copy), Dump(*bag));
  bag->Item(u"q")->Props()->SetValue(u"x", u"changed");
  EXPECT_EQ(copy->Item(u"q")->Props()->Value(u"x"), Variant(u"s"));
  EXPECT_NE(copy->Item(u"q")->Props(), bag->Item(u"q")->Props());
}

TEST(QelPropsCopy, WithAndWithoutKey) {
  auto bag = Bag(u"a=1;b=2");
  bag->Copy(Bag(u"x=9"), u"sub");
  EXPECT_EQ(Dump(*bag), "a(3)=1|b(3)=2|sub(9)=[x(3)=9]");
  bag->Copy(nullptr, u"none");
  EXPECT_EQ(Dump(*bag->Item(u"none")->Props()), "");
  bag->Copy(Bag(u"z=1"));
  EXPECT_EQ(Dump(*bag), "z(3)=1");
  bag->Copy(bag);
  EXPECT_EQ(Dump(*bag), "z(3)=1");
  bag->Copy(nullptr);
  EXPECT_EQ(bag->Count(), 0);
}

TEST(QelPropsObject, CreatableByNameWithTheCommonMembers) {
  auto obj = CreateObject(u"qelprops");
  EXPECT_EQ(obj->ClassName(), u"QelProps");
  EXPECT_EQ(obj->Self(), obj);
  EXPECT_EQ(CreateObject(u"QelProp")->ClassName(), u"QelProp");
  auto bag = std::dynamic_pointer_cast<QelProps>(obj);
  bag->SetName(u"headers");
  EXPECT_EQ(bag->Name(), u"headers");
}

}  // namespace
}  // namespace qel
