#include "qel/util/qel_locale.h"

#include <gtest/gtest.h>

#include <thread>

#include "frame/testing.h"

namespace qel {
namespace {

TEST(QelLocale, ThreadAndNamedLocales) {
  testing::ScopedLocale es("es_CL.UTF-8");
  QelLocale loc;
  EXPECT_EQ(loc.sDecimal(), u",");
  EXPECT_EQ(loc.sThousand(), u".");
  EXPECT_EQ(loc.sDate(), u"-");
  EXPECT_EQ(loc.iDate(), 1);
  EXPECT_EQ(loc.Name(), u"es_CL.UTF-8");
  EXPECT_EQ(loc.sDecimal(u"en_US.UTF-8"), u".");
  EXPECT_EQ(loc.sDate(u"en_US.UTF-8"), u"/");
  EXPECT_EQ(loc.iDate(u"en_US.UTF-8"), 0);
}

TEST(QelLocale, UnknownLocaleFailsAndKeepsTheThreadsLocale) {
  testing::ScopedLocale es("es_CL.UTF-8");
  QelLocale loc;
  EXPECT_EQ(testing::Catch([&] { loc.sDecimal(u"xx_YY"); }).Number(), E_FAIL);
  EXPECT_EQ(testing::Catch([] { SetThreadLocale("xx_YY"); }).Number(), E_FAIL);
  EXPECT_EQ(ThreadLocale().decimal, u',');
}

TEST(QelLocale, EachThreadHasItsOwn) {
  testing::ScopedLocale es("es_CL.UTF-8");
  char16_t other = 0;
  std::thread t([&] {
    SetThreadLocale("en_US.UTF-8");
    other = ThreadLocale().decimal;
  });
  t.join();
  EXPECT_EQ(other, u'.');
  EXPECT_EQ(ThreadLocale().decimal, u',');
}

}  // namespace
}  // namespace qel
