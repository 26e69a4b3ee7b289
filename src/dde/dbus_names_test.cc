#include <gio/gio.h>
#include <gtest/gtest.h>

#include <set>

#include "frame/testing.h"
#include "qel/dde/qel_dde.h"

namespace qel {
namespace {

TEST(DdeBusName, FoldsCaseAndEscapesWhatABusNameCannotHold) {
  const struct {
    const char* service;
    const char* bus_name;
  } cases[] = {
      {"Server", "org.qelstd.Dde1.server"},
      {"SERVER", "org.qelstd.Dde1.server"},
      {"mi-app2", "org.qelstd.Dde1.mi-app2"},
      {"Caja 1", "org.qelstd.Dde1.caja_201"},
      {"a.b", "org.qelstd.Dde1.a_2Eb"},
      {"a_b", "org.qelstd.Dde1.a_5Fb"},
      {"9lives", "org.qelstd.Dde1._39lives"},
      {"Año", "org.qelstd.Dde1.a_C3_B1o"},
      {"", "org.qelstd.Dde1._"},
  };
  for (const auto& c : cases) {
    const std::string name = DdeBusName(T(c.service));
    EXPECT_EQ(name, c.bus_name) << c.service;
    EXPECT_TRUE(g_dbus_is_name(name.c_str())) << name;
  }
}

TEST(DdeBusName, DistinctServicesGetDistinctNames) {
  const char* services[] = {"a_b", "a b", "a.b", "a_5Fb", "a_20b", "_", "", "5", "_35"};
  std::set<std::string> names;
  for (const char* s : services) names.insert(DdeBusName(T(s)));
  EXPECT_EQ(names.size(), std::size(services));
}

}  // namespace
}  // namespace qel
