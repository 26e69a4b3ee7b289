// The reply header block: collected line by line as libcurl hands the lines over, then taken
// into the caller's bag with the checks of a header query (RetrieveHeaders).
#ifndef QEL_SRC_INET_REPLY_HEADERS_H_
#define QEL_SRC_INET_REPLY_HEADERS_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "qel/frame/text.h"
#include "qel/props/qel_props.h"

namespace qel::internal {

// The block the caller can take, kept as a limit: it fits when it is shorter than the
// platform's buffer of 1024 characters (room for the terminator).
inline constexpr size_t kMaxHeaderBlockChars = 1023;

// Keeps the block of the last reply seen (interim and redirect replies come first, each
// starting with its status line). Memory stays within the limit whatever arrives.
class ReplyHeaderBlock {
 public:
  void AddLine(std::string_view line);

  const std::string& block() const { return block_; }
  // The blank line that ends the block has arrived.
  bool complete() const { return complete_; }
  // The block went over kMaxHeaderBlockChars; block() holds its start.
  bool overflow() const { return overflow_; }

 private:
  std::string block_;
  bool complete_ = false;
  bool overflow_ = false;
};

// True for the statuses the caller accepts (200..205).
constexpr bool IsAcceptedStatus(long status) { return status >= 200 && status <= 205; }

// Loads the block into `bag` (QelProps.LoadFromHttp) and checks the status. Raises 122 from
// "HttpQueryInfo" for a block over its limit (the bag is left alone), and &H80040000 + status
// with source `host` and "HTTP %1 - %2" for a status outside 200..205 (the bag keeps the
// headers); each source prefixed with "QelInet.RetrieveHeaders:".
void RetrieveHeaders(const ReplyHeaderBlock& headers, TextView host, QelProps& bag);

}  // namespace qel::internal

#endif  // QEL_SRC_INET_REPLY_HEADERS_H_
