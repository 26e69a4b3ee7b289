// One HTTP exchange on libcurl: the plumbing under QelInet.HttpGet and HttpPost.
//
// Each call makes its own easy handle, so no connection, cookie or cache outlives it; the
// handle is released on every path. The transfer is driven by
// curl_multi_poll rather than curl_easy_perform so that the receive time-out is exact: the
// loop itself measures the time since the last sign of life (a header line, body bytes,
// upload progress) and never waits past the limit. libcurl's low-speed limit counts whole
// seconds of average speed, so it could not stop a stall of 500 ms, and its progress callback
// runs only when libcurl wakes up, which can be a second later.
#ifndef QEL_SRC_INET_HTTP_TRANSFER_H_
#define QEL_SRC_INET_HTTP_TRANSFER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "inet/reply_headers.h"

namespace qel::internal {

struct HttpRequest {
  std::string url;  // absolute http or https URL, as bytes
  bool post = false;
  std::string post_data;
  std::vector<std::string> header_lines;  // each "Name: value", in order
  std::string user_agent;
  std::string user;  // sent with Basic authentication when not empty
  std::string password;
  int32_t timeout_ms = 0;  // > 0: the longest wait for a sign of life
  size_t max_body = 0;     // the body is cut short with body_overflow past this
  // Called as body bytes arrive: (received, announced total or 0). What it throws stops the
  // transfer and leaves PerformHttp.
  std::function<void(int64_t, int64_t)> on_progress;
};

struct HttpReply {
  int curl_code = 0;        // the CURLcode of the transfer
  long verify_result = 0;   // peer verification result, for TLS failures
  bool timed_out = false;   // stopped by the receive time-out
  long status = 0;
  ReplyHeaderBlock headers;  // the final reply's
  bool stopped_at_headers = false;  // the body was refused: status outside 200..205 or
                                    // header block over its limit
  bool body_overflow = false;
  std::vector<uint8_t> body;
};

// Sends `request` and collects the reply. Never throws for network failures: they are in
// the reply. Throws std::bad_alloc, and what on_progress throws.
HttpReply PerformHttp(const HttpRequest& request);

}  // namespace qel::internal

#endif  // QEL_SRC_INET_HTTP_TRANSFER_H_
