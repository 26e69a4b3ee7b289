#include "inet/reply_headers.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/testing.h"
#include "qel/frame/convert.h"

namespace qel::internal {
namespace {

using testing::ErrorOf;

ReplyHeaderBlock Feed(std::initializer_list<std::string> lines) {
  ReplyHeaderBlock h;
  for (const auto& line : lines) h.AddLine(line);
  return h;
}

TEST(ReplyHeaderBlock, LastReplyAndLimit) {
  const ReplyHeaderBlock final = Feed({"HTTP/1.1 100 Continue\r\n", "\r\n",
                                       "HTTP/1.1 302 Found\r\n", "Location: /x\r\n", "\r\n",
                                       "HTTP/1.1 200 OK\r\n", "A: 1\r\n", "\r\n"});
  EXPECT_EQ(final.block(), "HTTP/1.1 200 OK\r\nA: 1\r\n\r\n");
  EXPECT_TRUE(final.complete());
  EXPECT_FALSE(Feed({"HTTP/1.1 200 OK\r\n", "A: 1\r\n"}).complete());

  // 1023 characters fit; one more does not, and the block stops growing.
  const std::string status = "HTTP/1.1 200 OK\r\n";
  const std::string filler = "X: " + std::string(1023 - status.size() - 2 - 3 - 2, 'f') + "\r\n";
  EXPECT_FALSE(Feed({status, filler, "\r\n"}).overflow());
  const ReplyHeaderBlock over = Feed({status, "Y" + filler, "\r\n", "Z: 1\r\n"});
  EXPECT_TRUE(over.overflow());
  EXPECT_EQ(over.block().size(), kMaxHeaderBlockChars + 1);
}

TEST(ReplyHeaderBlock, RetrieveChecksStatusAndSize) {
  QelProps bag;
  RetrieveHeaders(Feed({"HTTP/1.1 205 Reset\r\n", "\r\n"}), u"h", bag);
  EXPECT_EQ(CLng(bag.Value(u"HTTP_STATUS")), 205);
  EXPECT_EQ(ErrorOf([&] { RetrieveHeaders(Feed({"HTTP/1.1 199 Raro\r\n"}), u"h", bag); }),
            "-2147221305|QelInet.RetrieveHeaders:h|HTTP 199 - Raro");
  EXPECT_EQ(ErrorOf([&] { RetrieveHeaders(Feed({"basura\r\n"}), u"h", bag); }),
            "-2147221504|QelInet.RetrieveHeaders:h|HTTP 0 - ");
  bag.SetValue(u"kept", 1);
  EXPECT_EQ(ErrorOf([&] {
              RetrieveHeaders(Feed({"HTTP/1.1 200 OK\r\n", std::string(1100, 'x')}), u"h", bag);
            }),
            "122|QelInet.RetrieveHeaders:HttpQueryInfo|El área de datos pasada a una llamada "
            "del sistema es demasiado pequeña");
  EXPECT_TRUE(bag.Exists(u"kept"));
}

}  // namespace
}  // namespace qel::internal
