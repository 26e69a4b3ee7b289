// The transaction dispatch, driven through the in-process transport as a client would.
#include <gtest/gtest.h>

#include "dde/dde_module.h"
#include "dde/dde_testing.h"
#include "qel/frame/error.h"

namespace qel::testing {
namespace {

using internal::kCfText;
using internal::kDdeFack;

class DdeDispatchTest : public DdeTest {
 protected:
  void SetUp() override {
    DdeTest::SetUp();
    prices_ = AddTopic(u"Precios");
    AddTopic(u"Stock");
    prices_->Items()->Add(u"Pan")->SetData(Variant(u"1200"));
    prices_->Items()->Add(u"Vacio");  // never given a value
    prices_->QueryItemEvent.Connect([this](const Text& name, Variant& value) {
      queried_.push_back(name);
      if (name == u"Leche" || name == u"Pan") value = Variant(u"990");
      if (name == u"Nada") value = Variant(u"");
    });
    prices_->ChangeItemEvent.Connect([this](const Text& name, const Variant& data) {
      changes_.push_back(name + u"=" + data.Get<Text>());
    });
    prices_->ExecuteEvent.Connect([this](const Text& command) { commands_.push_back(command); });
  }

  uint32_t Connect(TextView topic = u"Precios") { return bus_->Connect(u"Server", topic); }

  std::shared_ptr<QelDdeTopic> prices_;
  std::vector<Text> queried_, changes_, commands_;
};

TEST_F(DdeDispatchTest, ConnectAcceptsKnownTopicsOfThisServiceFromOtherInstances) {
  const struct {
    const char16_t* service;
    const char16_t* topic;
    bool same_instance;
    bool accepted;
  } cases[] = {
      {u"Server", u"Precios", false, true},
      {u"SERVER", u"precios", false, true},  // names without regard to case
      {u"Server", u"Ventas", false, false},  // unknown topic
      {u"Otro", u"Precios", false, false},   // another service
      {u"", u"Precios", false, false},
      {u"Server", u"Precios", true, false},  // a self-connection
  };
  for (const auto& c : cases) {
    EXPECT_EQ(bus_->Connect(c.service, c.topic, u"client", c.same_instance) != 0, c.accepted)
        << ToUtf8(c.service) << "/" << ToUtf8(c.topic);
  }
}

TEST_F(DdeDispatchTest, WildConnectListsPairsInCollectionOrder) {
  using Pairs = std::vector<std::pair<Text, Text>>;
  EXPECT_EQ(bus_->WildConnect(u"", u""), (Pairs{{u"Server", u"Precios"}, {u"Server", u"Stock"}}));
  EXPECT_EQ(bus_->WildConnect(u"server", u""),
            (Pairs{{u"Server", u"Precios"}, {u"Server", u"Stock"}}));
  EXPECT_EQ(bus_->WildConnect(u"", u"STOCK"), (Pairs{{u"Server", u"Stock"}}));
  EXPECT_EQ(bus_->WildConnect(u"Server", u"Ventas"), Pairs{});
  EXPECT_EQ(bus_->WildConnect(u"Otro", u""), Pairs{});
  EXPECT_EQ(bus_->WildConnect(u"", u"", true), Pairs{});
}

TEST_F(DdeDispatchTest, RequestAnswersExistingItemsOnlyWithoutAskingTheApplication) {
  const uint32_t conv = Connect();
  ASSERT_NE(conv, 0u);
  EXPECT_EQ(bus_->Request(conv, u"pan"), Block("1200"));
  EXPECT_EQ(bus_->Request(conv, u"Vacio"), std::nullopt);  // an item without value
  EXPECT_EQ(bus_->Request(conv, u"Leche"), std::nullopt);  // never added
  EXPECT_TRUE(queried_.empty());
  // The advise start for the same item creates it through QueryItem; a request then finds it.
  EXPECT_TRUE(bus_->AdviseStart(conv, u"Leche"));
  EXPECT_EQ(queried_, std::vector<Text>{u"Leche"});
  EXPECT_EQ(bus_->Request(conv, u"Leche"), Block("990"));
}

TEST_F(DdeDispatchTest, FormatsOtherThanTextAreRefused) {
  const uint32_t conv = Connect();
  const ByteArray data = Block("5");
  EXPECT_EQ(bus_->Request(conv, u"Pan", 2), std::nullopt);
  EXPECT_EQ(bus_->Poke(conv, u"Pan", data, 2), 0u);
  EXPECT_FALSE(bus_->AdviseStart(conv, u"Leche", 13));
  EXPECT_EQ(bus_->Transact(internal::kXtypAdvReq, 2, conv, prices_->hTopic(),
                           prices_->Items()->Item(Variant(u"Pan"))->hItem(), 0, 0, 0),
            0u);
  EXPECT_TRUE(queried_.empty());
  EXPECT_TRUE(changes_.empty());
}

TEST_F(DdeDispatchTest, AdviseStartNeedsAValueFromQueryItem) {
  const uint32_t conv = Connect();
  EXPECT_FALSE(bus_->AdviseStart(conv, u"Agua"));  // no value: refused, nothing created
  EXPECT_EQ(prices_->Items()->Find(u"Agua"), nullptr);
  EXPECT_TRUE(bus_->AdviseStart(conv, u"Nada"));  // an empty text is a value
  EXPECT_EQ(prices_->Items()->Item(Variant(u"Nada"))->Data(), Variant(ByteArray{0}));
  EXPECT_EQ(bus_->advise_loop_count(), 1u);
}

TEST_F(DdeDispatchTest, NotifyChangeAdvisesTheItemOrEveryItemOfTheTopic) {
  const uint32_t a = Connect();
  const uint32_t b = bus_->Connect(u"Server", u"Precios", u"other");
  ASSERT_TRUE(bus_->AdviseStart(a, u"Pan"));
  ASSERT_TRUE(bus_->AdviseStart(a, u"Leche"));
  ASSERT_TRUE(bus_->AdviseStart(b, u"Pan", kCfText, u"other"));
  const uint32_t stock = Connect(u"Stock");
  ASSERT_EQ(bus_->Request(stock, u"Pan"), std::nullopt);

  prices_->NotifyChange(u"PAN");
  auto advices = bus_->TakeAdvices();
  ASSERT_EQ(advices.size(), 2u);
  EXPECT_EQ(advices[0].conversation, a);
  EXPECT_EQ(advices[1].conversation, b);
  EXPECT_EQ(advices[0].bytes, Block("990"));  // the value QueryItem supplied now

  prices_->NotifyChange(u"Desconocido");  // unknown: every loop of the topic
  EXPECT_EQ(bus_->TakeAdvices().size(), 3u);

  EXPECT_TRUE(bus_->AdviseStop(a, u"leche"));
  EXPECT_FALSE(bus_->AdviseStop(a, u"leche"));
  prices_->NotifyChange(u"Desconocido");
  EXPECT_EQ(bus_->TakeAdvices().size(), 2u);
}

TEST_F(DdeDispatchTest, APeerThatVanishesIsForgotten) {
  const uint32_t conv = bus_->Connect(u"Server", u"Precios", u"gone");
  ASSERT_TRUE(bus_->AdviseStart(conv, u"Pan", kCfText, u"gone"));
  EXPECT_EQ(bus_->Vanish(u"gone"), 1u);
  EXPECT_EQ(bus_->advise_loop_count(), 0u);
  prices_->NotifyChange(u"Pan");
  EXPECT_TRUE(bus_->TakeAdvices().empty());
  EXPECT_EQ(bus_->Request(conv, u"Pan", kCfText, u"gone"), std::nullopt);
}

TEST_F(DdeDispatchTest, ConversationsBelongToTheirPeer) {
  const uint32_t conv = Connect();
  EXPECT_EQ(bus_->Request(conv, u"Pan", kCfText, u"intruder"), std::nullopt);
  EXPECT_EQ(bus_->Request(conv + 100, u"Pan"), std::nullopt);
  EXPECT_EQ(bus_->Execute(conv + 100, Block("x")), 0u);
  EXPECT_TRUE(commands_.empty());
}

TEST_F(DdeDispatchTest, PokeRaisesChangeItemWithTheWholeBlockAndKeepsTheStoredValue) {
  const uint32_t conv = Connect();
  EXPECT_EQ(bus_->Poke(conv, u"Pan", Block("1300")), kDdeFack);
  EXPECT_EQ(bus_->Poke(conv, u"Pan", Bytes("sin cero")), kDdeFack);
  EXPECT_EQ(bus_->Poke(conv, u"Pan", Bytes("a\xF1o")), kDdeFack);  // Windows-1252
  EXPECT_EQ(bus_->Poke(conv, u"Pan", ByteArray{}), 0u);            // no data handle
  EXPECT_EQ(changes_, (std::vector<Text>{Text(u"Pan=1300") + u'\0', u"Pan=sin cero", u"Pan=año"}));
  EXPECT_EQ(bus_->Request(conv, u"Pan"), Block("1200"));
}

TEST_F(DdeDispatchTest, ExecuteRaisesExecuteWithTheCommandText) {
  const uint32_t conv = Connect();
  EXPECT_EQ(bus_->Execute(conv, Block("[Abrir(1)]")), kDdeFack);
  EXPECT_EQ(bus_->Execute(conv, ByteArray{}), 0u);
  EXPECT_EQ(commands_, std::vector<Text>{Text(u"[Abrir(1)]") + u'\0'});
}

TEST_F(DdeDispatchTest, OtherTransactionTypesDoNothing) {
  const uint32_t conv = Connect();
  const uint32_t topic = static_cast<uint32_t>(prices_->hTopic());
  const uint32_t types[] = {0x4010, 0x8040, 0x8072, 0x8002, 0x80A2, 0x80C2,
                            0x80D2, 0x8080, 0x80F2, 0,      0xFFFF, 0x1234};
  for (uint32_t type : types) {
    EXPECT_EQ(bus_->Transact(type, kCfText, conv, topic, topic, 0, 0, 0), 0u) << type;
  }
  EXPECT_TRUE(log_.empty());
}

TEST_F(DdeDispatchTest, ErrorsInsideACallbackGoToTheLogAndNeverToTheClient) {
  const uint32_t conv = Connect();
  prices_->ChangeItemEvent.Connect(
      [](const Text&, const Variant&) { RaiseError(5, u"App.Cambio", u"falló %1", {1}); });
  prices_->QueryItemEvent.Connect([](const Text& name, Variant&) {
    if (name == u"Roto") throw std::runtime_error("sin texto");
  });
  EXPECT_EQ(bus_->Poke(conv, u"Pan", Block("1")), 0u);  // the result as it stood
  EXPECT_FALSE(bus_->AdviseStart(conv, u"Roto"));
  // A data handle that is not live.
  EXPECT_EQ(bus_->Transact(internal::kXtypExecute, 0, conv, prices_->hTopic(), 0, 999, 0, 0), 0u);
  ASSERT_EQ(log_.size(), 3u);
  EXPECT_EQ(log_[0], ToUtf8(FormatLogEntry(
                         5, u"ModDDE.DdeCallback:QelDDE.XtypPoke:QelDdeTopic.ChangeItem:App.Cambio",
                         u"falló 1")));
  EXPECT_EQ(log_[1], ToUtf8(FormatLogEntry(E_FAIL, u"ModDDE.DdeCallback", u"sin texto")));
  EXPECT_EQ(log_[2],
            ToUtf8(FormatLogEntry(0x4006, u"ModDDE.DdeCallback:QelDDE.XtypExecute:QelDDE.QueryData",
                                  T("No se pudo obtener Data DDE\r\nParámetro inválido"))));
}

TEST_F(DdeDispatchTest, AHandlerMayTerminateTheServiceInsideATransaction) {
  const uint32_t conv = Connect();
  ASSERT_TRUE(bus_->AdviseStart(conv, u"Pan"));
  prices_->ExecuteEvent.Connect([this](const Text&) { dde_->Terminate(); });
  EXPECT_EQ(bus_->Execute(conv, Block("fin")), kDdeFack);
  EXPECT_EQ(internal::InstanceId(), 0u);
  EXPECT_TRUE(bus_->closed());
  EXPECT_EQ(bus_->advise_loop_count(), 0u);
  EXPECT_EQ(dde_->Topics(), nullptr);
  EXPECT_EQ(prices_->Items()->Count(), 0);
}

TEST_F(DdeDispatchTest, ClientLimitsBoundWhatOnePeerHolds) {
  for (size_t i = 0; i < internal::kMaxConversationsPerPeer; ++i) ASSERT_NE(Connect(), 0u);
  EXPECT_EQ(Connect(), 0u);
  EXPECT_NE(bus_->Connect(u"Server", u"Precios", u"other"), 0u);
  const uint32_t conv = bus_->Connect(u"Server", u"Precios", u"other");
  const ByteArray huge(internal::kMaxDataBytes + 1, 'x');
  EXPECT_EQ(bus_->Poke(conv, u"Pan", huge, kCfText, u"other"), 0u);
  EXPECT_TRUE(changes_.empty());
  EXPECT_EQ(bus_->Vanish(u"client"), internal::kMaxConversationsPerPeer);
}

TEST_F(DdeDispatchTest, AdviseLoopsAndConversationsInAllAreBounded) {
  const uint32_t conv = Connect();
  prices_->QueryItemEvent.Connect([](const Text&, Variant& value) { value = Variant(u"1"); });
  for (size_t i = 0; i < internal::kMaxAdviseLoopsPerConversation; ++i) {
    ASSERT_TRUE(bus_->AdviseStart(conv, u"i" + FromUtf8(std::to_string(i))));
  }
  EXPECT_FALSE(bus_->AdviseStart(conv, u"uno mas"));
  EXPECT_EQ(prices_->Items()->Find(u"uno mas"), nullptr);  // refused before the service is asked
  EXPECT_TRUE(bus_->AdviseStart(conv, u"I7"));             // a loop already running stays
  EXPECT_EQ(bus_->advise_loop_count(), internal::kMaxAdviseLoopsPerConversation);

  size_t opened = 1;
  for (int peer = 0; opened < internal::kMaxConversations; ++peer) {
    const Text name = u"p" + FromUtf8(std::to_string(peer));
    for (size_t i = 0;
         i < internal::kMaxConversationsPerPeer && opened < internal::kMaxConversations;
         ++i, ++opened) {
      ASSERT_NE(bus_->Connect(u"Server", u"Stock", name), 0u);
    }
  }
  EXPECT_EQ(bus_->Connect(u"Server", u"Stock", u"nuevo"), 0u);
  EXPECT_EQ(bus_->conversation_count(), internal::kMaxConversations);
}

}  // namespace
}  // namespace qel::testing
