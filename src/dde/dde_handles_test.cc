#include "dde/dde_handles.h"

#include <gtest/gtest.h>

#include "dde/dde_module.h"

namespace qel::internal {
namespace {

TEST(DdeStringTable, SameTextWithoutRegardToCaseIsOneHandleUntilTheLastRelease) {
  StringTable t;
  const uint32_t a = t.Acquire(u"Precios");
  EXPECT_NE(a, 0u);
  EXPECT_EQ(t.Acquire(u"PRECIOS"), a);
  EXPECT_NE(t.Acquire(u"Stock"), a);
  EXPECT_EQ(*t.Find(a), u"Precios");  // the text it was first made with
  EXPECT_TRUE(t.Release(a));
  EXPECT_NE(t.Find(a), nullptr);
  EXPECT_TRUE(t.Release(a));
  EXPECT_EQ(t.Find(a), nullptr);
  EXPECT_FALSE(t.Release(a));
  EXPECT_FALSE(t.Release(0));
  EXPECT_NE(t.Acquire(u"Precios"), a);  // a released handle is not handed out again at once
}

TEST(DdeDataTable, HandlesAreLiveUntilReleased) {
  DataTable t;
  const uint32_t a = t.Add({{1, 2, 0}, 7, kCfText, true});
  const uint32_t b = t.Add({{0}, 7, kCfText, false});
  EXPECT_NE(a, b);
  ASSERT_NE(t.Find(a), nullptr);
  EXPECT_EQ(t.Find(a)->bytes, (ByteArray{1, 2, 0}));
  EXPECT_TRUE(t.Release(a));
  EXPECT_EQ(t.Find(a), nullptr);
  EXPECT_FALSE(t.Release(a));
  EXPECT_EQ(t.size(), 1u);
}

// Most texts that reach callers are asserted where their errors are raised; here the two the
// transport can return that no other test provokes, the two whose odd spelling is deliberate
// ("inicar", "execución"), and codes outside the table.
TEST(DdeErrorText, TextsNotProvokedElsewhereAndUnknownCodes) {
  const struct {
    uint32_t code;
    const char* text;
  } cases[] = {
      {0, "Operación exitosa"},
      {0x4000, "Expiró tiempo para inicar notificaciones"},
      {0x4005, "Expiró tiempo para execución de comando"},
      {0x4008, "No se pudo obtener memoria"},
      {0x400E, "Servidor terminó sus servicios"},
      {0x4012, "Código de error DDE desconocido: 4012"},
      {0x3FFF, "Código de error DDE desconocido: 3FFF"},
      {0xABCDEF01, "Código de error DDE desconocido: ABCDEF01"},
  };
  for (const auto& c : cases) EXPECT_EQ(ToUtf8(DdeErrorText(c.code)), c.text) << c.code;
}

}  // namespace
}  // namespace qel::internal
