// The object model: QelDde, its topics and items, through the public interface.
#include "qel/dde/qel_dde.h"

#include <gtest/gtest.h>

#include <thread>

#include "dde/dde_testing.h"
#include "qel/frame/error.h"

namespace qel::testing {
namespace {

using QelDdeTest = DdeTest;

TEST_F(QelDdeTest, CollectionsAreKeyedWithoutRegardToCaseOrByPosition) {
  auto topics = dde_->Topics();
  auto a = topics->Add(u"Precios");
  auto b = topics->Add(u"Stock");
  EXPECT_EQ(topics->Count(), 2);
  EXPECT_EQ(topics->Item(Variant(u"PRECIOS")), a);
  EXPECT_EQ(topics->Item(Variant(int32_t{2})), b);
  EXPECT_EQ(topics->Item(Variant(2.0)), b);
  EXPECT_EQ(topics->Find(Variant(u"nada")), nullptr);
  EXPECT_EQ(topics->Find(Variant(int32_t{3})), nullptr);
  EXPECT_EQ(topics->NewEnum(), (std::vector<std::shared_ptr<QelDdeTopic>>{a, b}));

  auto items = a->Items();
  auto pan = items->Add(u"Pan");
  items->Add(u"Leche");
  EXPECT_EQ(items->Item(Variant(u"pAN")), pan);
  EXPECT_EQ(items->Item(Variant(int32_t{1})), pan);
  EXPECT_TRUE(items->Remove(Variant(u"PAN")));
  EXPECT_FALSE(items->Remove(Variant(u"Pan")));
  EXPECT_EQ(items->Count(), 1);
  EXPECT_EQ(pan->hItem(), 0);  // released
  items->Clear();
  EXPECT_EQ(items->Count(), 0);

  EXPECT_TRUE(topics->Remove(Variant(int32_t{1})));
  EXPECT_EQ(a->hTopic(), 0);
  EXPECT_EQ(topics->NewEnum(), (std::vector<std::shared_ptr<QelDdeTopic>>{b}));
  topics->Clear();
  EXPECT_EQ(topics->Count(), 0);
}

TEST_F(QelDdeTest, FailureTableWithSources) {
  auto topics = dde_->Topics();
  auto topic = topics->Add(u"Precios");
  topic->Items()->Add(u"Pan");
  const struct {
    std::function<void()> body;
    std::string error;
  } cases[] = {
      {[&] { topics->Item(Variant(u"Ventas")); },
       "5|QelDdeTopics.Item|Tópico DDE 'Ventas' no existe"},
      {[&] { topics->Item(Variant(int32_t{7})); }, "9|QelDdeTopics.Item|Tópico DDE '7' no existe"},
      {[&] { topics->Add(u"PRECIOS"); },
       "457|QelDdeTopics.Add|No se pudo agregar tópico DDE 'PRECIOS'\r\nEsta clave ya está "
       "asociada a un elemento de esta colección"},
      {[&] { topic->Items()->Item(Variant(u"Leche")); },
       "5|QelDdeItems.Item|Item DDE 'Leche' no existe"},
      {[&] { topic->Items()->Add(u"pan"); },
       "457|QelDdeItems.Add|No se pudo agregar item DDE 'pan'\r\nEsta clave ya está asociada a "
       "un elemento de esta colección"},
      {[&] { topic->Items()->Add(Text(256, u'x')); },
       "16390|QelDdeItems.Add|No se pudo agregar item DDE '" + std::string(256, 'x') +
           "'\r\nNo se pudo crear Texto DDE\r\nParámetro inválido"},
  };
  for (const auto& c : cases) EXPECT_EQ(ErrorOf(c.body), c.error);
  EXPECT_EQ(topics->Count(), 1);  // failed adds leave nothing behind
  EXPECT_EQ(topic->Items()->Count(), 1);
}

TEST_F(QelDdeTest, EventErrorsPassThroughTheTopicMethodsWithTheirPrefix) {
  auto topic = dde_->Topics()->Add(u"T");
  auto fail = [](auto&&...) { RaiseError(E_INVALIDARG, u"App.Handler", u"malo"); };
  topic->ExecuteEvent.Connect(fail);
  topic->QueryItemEvent.Connect(fail);
  topic->ChangeItemEvent.Connect(fail);
  EXPECT_EQ(ErrorOf([&] { topic->Execute(u"x"); }),
            "-2147024809|QelDdeTopic.Execute:App.Handler|malo");
  EXPECT_EQ(ErrorOf([&] { topic->QueryItem(u"x"); }),
            "-2147024809|QelDdeTopic.QueryItem:App.Handler|malo");
  EXPECT_EQ(ErrorOf([&] { topic->ChangeItem(u"x", Variant(u"1")); }),
            "-2147024809|QelDdeTopic.ChangeItem:App.Handler|malo");
  bus_->Close();  // the transport can no longer send
  EXPECT_EQ(ErrorOf([&] { topic->NotifyChange(u"x"); }),
            "16399|QelDdeTopic.NotifyChange:QelDDE.TopicChanged|No se pudo notificar del cambio "
            "de un item DDE\r\nError interno de la biblioteca");
}

TEST_F(QelDdeTest, LinkNamesAndData) {
  ScopedLocale locale("es_CL.UTF-8");
  auto topic = dde_->Topics()->Add(u"Precios");
  auto item = topic->Items()->Add(u"Pan");
  EXPECT_EQ(topic->LinkName(), u"Server|Precios!");
  EXPECT_EQ(item->LinkName(), u"Server|Precios!Pan");
  EXPECT_EQ(item->TopicName(), u"Precios");
  EXPECT_EQ(item->ServiceName(), u"Server");
  EXPECT_EQ(item->hTopic(), topic->hTopic());
  EXPECT_EQ(item->Data(), Variant::Null());
  EXPECT_EQ(item->hData(), 0);
  const struct {
    Variant value;
    ByteArray bytes;
  } cases[] = {
      {Variant(u"1200"), Block("1200")},
      {Variant(u""), ByteArray{0}},
      {Variant(T("año")), Block("a\xF1o")},
      {Variant(12.5), Block("12,5")},
      {Variant(Bytes("a\xF1o")), Block("a\xF1o")},  // bytes taken as Windows-1252 text
      {Variant(true), Block("True")},
  };
  for (const auto& c : cases) {
    item->SetData(c.value);
    EXPECT_NE(item->hData(), 0);
    const Variant data = item->Data();
    ASSERT_TRUE(data.Is<ByteArray>());
    EXPECT_EQ(std::string(data.Get<ByteArray>().begin(), data.Get<ByteArray>().end()),
              std::string(c.bytes.begin(), c.bytes.end()));
  }
}

TEST_F(QelDdeTest, QueryItemCreatesTheItemOnlyForAValue) {
  auto topic = dde_->Topics()->Add(u"T");
  Variant answer = Variant::Null();
  const uint64_t h = topic->ConnectEvent(u"queryitem", [&](std::span<Variant> args) {
    EXPECT_TRUE(args[1].IsNull());  // enters as Null
    args[1] = answer;
  });
  EXPECT_EQ(topic->QueryItem(u"A"), nullptr);
  EXPECT_EQ(topic->Items()->Count(), 0);
  answer = Variant(u"");
  auto item = topic->QueryItem(u"A");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->Data(), Variant(ByteArray{0}));
  answer = Variant(u"2");
  EXPECT_EQ(topic->QueryItem(u"a"), item);  // the same item, new value
  EXPECT_EQ(item->Data(), Variant(Block("2")));
  EXPECT_TRUE(topic->DisconnectEvent(h));
  EXPECT_FALSE(topic->DisconnectEvent(h));
  EXPECT_EQ(topic->QueryItem(u"A"), nullptr);
}

TEST_F(QelDdeTest, LateBoundEventsKeepTheirHandlesApart) {
  auto topic = dde_->Topics()->Add(u"T");
  std::vector<std::string> seen;
  const uint64_t e = topic->ConnectEvent(
      u"Execute", [&](std::span<Variant> a) { seen.push_back("E:" + ToUtf8(a[0].Get<Text>())); });
  const uint64_t c = topic->ConnectEvent(u"ChangeItem", [&](std::span<Variant> a) {
    seen.push_back("C:" + ToUtf8(a[0].Get<Text>()) + "=" + ToUtf8(a[1].Get<Text>()));
  });
  EXPECT_NE(e, c);
  topic->Execute(u"x");
  topic->ChangeItem(u"i", Variant(u"v"));
  EXPECT_TRUE(topic->DisconnectEvent(c));
  topic->Execute(u"y");
  topic->ChangeItem(u"i", Variant(u"w"));
  EXPECT_EQ(seen, (std::vector<std::string>{"E:x", "C:i=v", "E:y"}));
  EXPECT_THROW(topic->ConnectEvent(u"Click", [](std::span<Variant>) {}), Error);
}

TEST_F(QelDdeTest, InitializeAgainTerminatesTheRunningService) {
  auto old_topics = dde_->Topics();
  auto old_topic = old_topics->Add(u"T");
  auto first_bus = bus_;
  auto other = std::make_shared<QelDde>();
  other->Initialize(u"Nuevo");
  EXPECT_TRUE(first_bus->closed());
  EXPECT_EQ(old_topics->Count(), 0);
  EXPECT_EQ(old_topic->hTopic(), 0);
  EXPECT_EQ(bus_->service(), u"Nuevo");
  EXPECT_EQ(other->Name(), u"Nuevo");
  // The first object no longer owns the service: destroying it leaves the new one running.
  dde_.reset();
  EXPECT_NE(internal::InstanceId(), 0u);
  other.reset();
  EXPECT_EQ(internal::InstanceId(), 0u);
  dde_ = std::make_shared<QelDde>();
}

TEST_F(QelDdeTest, InitializeFailuresLeaveNoServiceRunning) {
  internal::SetTransportFactoryForTesting([] {
    auto t = std::make_shared<internal::InProcessTransport>();
    t->register_fails = true;
    return t;
  });
  EXPECT_EQ(ErrorOf([&] { dde_->Initialize(u"Caja"); }),
            "-2147467259|QelDDE.Initialize|No se pudo registrar el servicio DDE 'Caja'");
  EXPECT_EQ(internal::InstanceId(), 0u);
  EXPECT_EQ(dde_->Topics(), nullptr);
  EXPECT_EQ(dde_->Name(), u"");

  internal::SetTransportFactoryForTesting([] {
    auto t = std::make_shared<internal::InProcessTransport>();
    t->open_error = 0x400F;
    return t;
  });
  EXPECT_EQ(ErrorOf([&] { dde_->Initialize(u"Caja"); }),
            "-2147467259|QelDDE.Initialize|No se pudo inicializar la biblioteca DDE\r\nError "
            "interno de la biblioteca");
  internal::SetTransportFactoryForTesting(
      [] { return std::make_shared<internal::InProcessTransport>(); });
  EXPECT_EQ(ErrorOf([&] { dde_->Initialize(Text(256, u'x')); }),
            "16390|QelDDE.CreateString|No se pudo crear Texto DDE\r\nParámetro inválido");
  EXPECT_EQ(internal::InstanceId(), 0u);
}

TEST_F(QelDdeTest, ObjectsKeptAfterTerminateFailWithTheDdeError) {
  auto topics = dde_->Topics();
  auto item = topics->Add(u"T")->Items()->Add(u"I");
  dde_->Terminate();
  EXPECT_EQ(dde_->Topics(), nullptr);
  EXPECT_EQ(ErrorOf([&] { topics->Add(u"U"); }),
            "16387|QelDdeTopics.Add|No se pudo agregar tópico DDE 'U'\r\nNo se pudo crear Texto "
            "DDE\r\nBiblioteca no ha sido inicializada");
  EXPECT_EQ(ErrorOf([&] { item->SetData(Variant(u"1")); }),
            "16387|QelDDE.CreateData|No se pudo crear Data DDE\r\nBiblioteca no ha sido "
            "inicializada");
  EXPECT_EQ(topics->Count(), 0);
}

TEST_F(QelDdeTest, EachThreadHasItsOwnServiceWhichEndsWithTheThread) {
  std::shared_ptr<internal::InProcessTransport> thread_bus;
  std::shared_ptr<QelDde> kept;
  std::thread([&] {
    internal::SetTransportFactoryForTesting([&] {
      thread_bus = std::make_shared<internal::InProcessTransport>();
      return thread_bus;
    });
    kept = std::make_shared<QelDde>();
    kept->Initialize(u"Hilo");
    kept->Topics()->Add(u"T");
    EXPECT_NE(thread_bus->Connect(u"Hilo", u"T"), 0u);
  }).join();
  EXPECT_TRUE(thread_bus->closed());
  EXPECT_EQ(thread_bus->conversation_count(), 0u);
  EXPECT_FALSE(bus_->closed());  // this thread's service runs on
  kept.reset();
  EXPECT_NE(internal::InstanceId(), 0u);
}

}  // namespace
}  // namespace qel::testing
