#include "qel/records/qel_message.h"

#include <gtest/gtest.h>

#include "frame/testing.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_record.h"

namespace qel {
namespace {

using testing::ErrorOf;

TEST(QelMessage, NameLosesSpacesAndIsNeverEmpty) {
  QelMessage m;
  EXPECT_EQ(m.Name(), u"[UNDEFINED]");
  m.SetName(u"MY MSG");
  EXPECT_EQ(m.Name(), u"MYMSG");
  m.SetName(u"   ");
  EXPECT_EQ(m.Name(), u"[UNDEFINED]");
  m.SetSender(u" yo ");
  EXPECT_EQ(m.Sender(), u" yo ");
}

TEST(QelMessage, PayloadKinds) {
  QelMessage m;
  auto record = std::make_shared<QelRecord>();
  m.SetRecord(record);
  EXPECT_TRUE(m.IsObject());
  EXPECT_TRUE(m.IsRecord());
  EXPECT_FALSE(m.IsProps());
  EXPECT_EQ(m.Record(), record);
  EXPECT_EQ(ErrorOf([&] { m.Props(); }),
            "13|QelMessage.Props|No se pudo obtener la Propiedad\r\nNo coinciden los tipos");
  m.SetData(5);
  EXPECT_FALSE(m.IsObject());
  EXPECT_EQ(ErrorOf([&] { m.Record(); }),
            "424|QelMessage.Record|No se pudo obtener el Registro\r\nSe requiere un objeto");
  auto props = std::make_shared<QelProps>();
  m.SetProps(props);
  EXPECT_TRUE(m.IsProps());
  EXPECT_EQ(m.Props(), props);
  m.SetData(Variant::Nothing());
  EXPECT_EQ(m.Props(), nullptr);  // Nothing is a missing object, not an error
}

TEST(QelMessages, KeysPositionsAndErrors) {
  QelMessages list;
  auto a = std::make_shared<QelMessage>();
  auto b = std::make_shared<QelMessage>();
  list.Add(a, u"A");
  EXPECT_EQ(ErrorOf([&] { list.Add(b, u"a"); }),
            "457|QelMessages.Add|No se pudo agregar mensaje\r\nEsta clave ya está asociada a un "
            "elemento de esta colección");
  list.Add(b);
  list.Add(b);  // without a key, as often as wanted
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Item(u"a"), a);
  EXPECT_EQ(list.Item(2), b);
  EXPECT_EQ(list.Find(u"X"), nullptr);
  EXPECT_EQ(ErrorOf([&] { list.Item(u"X"); }), "5|QelMessages.Item|El mensaje 'X' no existe");
  EXPECT_EQ(testing::Catch([&] { list.Item(9); }).Number(), kErrSubscript);
  EXPECT_FALSE(list.Remove(u"X"));
  EXPECT_TRUE(list.Remove(u"A"));
  EXPECT_EQ(list.Item(1), b);
  // Nothing is stored like any message.
  const int32_t before = list.Count();
  list.Add(nullptr, u"Z");
  list.Add(nullptr);
  EXPECT_EQ(list.Count(), before + 2);
  EXPECT_EQ(list.Item(u"Z"), nullptr);
  EXPECT_TRUE(list.Remove(u"Z"));
  EXPECT_EQ(list.Count(), before + 1);
  list.Clear();
  EXPECT_FALSE(list.Remove(1));
}

}  // namespace
}  // namespace qel
