#include "inet/reply_headers.h"

#include "inet/inet_error.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel::internal {

void ReplyHeaderBlock::AddLine(std::string_view line) {
  if (line.starts_with("HTTP/")) {
    block_.clear();
    overflow_ = false;
    complete_ = false;
  }
  if (line == "\r\n" || line == "\n") complete_ = true;
  if (!overflow_) {
    const size_t room = kMaxHeaderBlockChars + 1 - block_.size();
    block_.append(line.substr(0, room));
    overflow_ = block_.size() > kMaxHeaderBlockChars;
  }
}

void RetrieveHeaders(const ReplyHeaderBlock& headers, TextView host, QelProps& bag) {
  Chaining(u"QelInet.RetrieveHeaders:", [&] {
    if (headers.overflow()) RaiseInetError(u"HttpQueryInfo", kErrorInsufficientBuffer);
    bag.LoadFromHttp(FromAnsi(headers.block()));
    const int32_t status = CLng(bag.Value(u"HTTP_STATUS", 0));
    if (!IsAcceptedStatus(status)) {
      RaiseError(static_cast<int32_t>(0x80040000u + static_cast<uint32_t>(status)), host,
                 u"HTTP %1 - %2", {Variant(status), bag.Value(u"HTTP_MESSAGE", u"")});
    }
  });
}

}  // namespace qel::internal
