// QelInet: the internet client. URL splitting and joining, and synchronous HTTP and HTTPS
// GET and POST requests.
//
// URLs. SplitURL cracks a URL into parts kept as read-only properties, without decoding or
// escaping anything; a URL that names no port gets its scheme's default (ftp 21, gopher 70,
// http 80, https 443, socks 1080; other schemes 0). Each part has a limit (host 255, user and
// password 127, path and extra information 2047 characters): a longer part fails with 122,
// source "InternetCrackUrl", and so does a malformed URL with its own 12000-series code.
// CombineURL joins a reference to a base as a browser does (RFC 3986 section 5); a result
// over 2047 characters fails with 122, source "InternetCombineUrl". Texts pass through
// Windows-1252 on the way in, so a character it lacks reads back as "?".
//
// Requests. HttpGet and HttpPost send one request on a connection of their own (nothing is
// cached or kept between calls), follow redirects, leave the final reply's headers in Headers
// (with "HTTP_STATUS" and "HTTP_MESSAGE") and return its body as bytes, or Null when it is
// empty. A status outside 200..205 raises &H80040000 + status. A reply whose Content-Encoding
// is "gzip" (any case) is inflated. The request carries the user agent and the
// Accept-Language line built when the object was made (from uname and the locale variables
// LC_ALL, LC_MESSAGES and LANG). Proxies come from the usual environment variables
// (http_proxy, https_proxy, no_proxy); TLS peers are verified against the system's trust
// store, or against the file named by SSL_CERT_FILE when that variable is set. Only http and
// https are requested; a port above 32767 is refused with 6 before anything is sent. A user
// name in the URL is sent with its password by Basic authentication; no challenge is
// answered.
//
// TimeoutMS > 0 bounds every single wait for the server (connecting, for the reply, for each
// further piece of the body): a reply that keeps arriving may take as long as it needs, one
// that stalls longer than TimeoutMS fails with 12002. A body may hold up to kMaxBodyBytes,
// before and after inflating.
//
// While a body arrives the Progress event reports the bytes received so far and the length
// the server announced (0 when it announced none), as they stand on the wire (before
// inflating; a total past 2^31 - 1 reads as that). A handler that raises stops the request,
// and its error leaves the call wrapped as any failure is.
//
// Every failure raises with the code of the operation that failed and the description "No
// se pudo navegar a la URL:" + CR LF + URL + CR LF + the inner description.
//
// Like every library object it belongs to the thread that made it; a request blocks that
// thread and pumps no events.
#ifndef QEL_INET_QEL_INET_H_
#define QEL_INET_QEL_INET_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"
#include "qel/props/qel_props.h"

namespace qel {

enum QelInetSchemes : int32_t {
  qelSchemePartial = -2,
  qelSchemeUnknown = -1,
  qelSchemeDefault = 0,
  qelSchemeFtp = 1,
  qelSchemeGopher = 2,
  qelSchemeHttp = 3,
  qelSchemeHttps = 4,
  qelSchemeFile = 5,
  qelSchemeNews = 6,
  qelSchemeMailto = 7,
  qelSchemeSocks = 8,
};

enum QelHttpOptions : int32_t {
  qelHttpOptDefault = 0,
  qelHttpOptRequestGzip = 1,      // send "Accept-Encoding: gzip, deflate"
  qelHttpOptCompressData = 2,     // accepted and ignored: posted data goes as given
  qelHttpOptCompressAndGzip = 3,  // as qelHttpOptRequestGzip
};

class QEL_EXPORT QelInet final : public Object {
 public:
  // The largest reply body, in bytes, as received and after inflating.
  static constexpr size_t kMaxBodyBytes = size_t{1} << 30;

  QelInet();
  ~QelInet() override;

  TextView ClassName() const override { return u"QelInet"; }

  // The parts of the URL last given to SplitURL (URL exactly as given).
  const Text& URL() const { return url_; }
  int32_t Scheme() const { return scheme_; }
  const Text& HostName() const { return host_; }
  int32_t Port() const { return port_; }
  const Text& UserName() const { return user_; }
  const Text& Password() const { return password_; }
  const Text& UrlPath() const { return path_; }
  // The query and fragment, with their leading "?" or "#".
  const Text& ExtraInfo() const { return extra_; }
  // "http", "https", ... for Scheme; "unknown" for the negative and unknown numbers.
  Text SchemeName() const;

  // Empties the URL parts, then cracks `url` into them. An empty URL only empties. On
  // failure the parts stay empty and URL keeps the argument.
  void SplitURL(TextView url);
  // The reference `relative` resolved against `base`. Leaves the URL parts alone.
  Text CombineURL(TextView base, TextView relative) const;
  // SplitURL("") and Headers().Clear(). Never raises.
  void Clear() noexcept;

  // The headers of the last reply; emptied at the start of each request.
  const std::shared_ptr<QelProps>& Headers() const { return headers_; }

  // `headers` holds extra request header lines separated by CR LF; `options` is a
  // QelHttpOptions bit set.
  Variant HttpGet(TextView url, TextView headers = {}, int32_t options = 0,
                  int32_t timeout_ms = 0);
  // Sends `post_data` (as Windows-1252) with "Content-Type: application/x-www-form-urlencoded".
  Variant HttpPost(TextView url, TextView post_data, TextView headers = {}, int32_t options = 0,
                   int32_t timeout_ms = 0);

  // The Progress event (late-bound name "Progress"): BytesReceived, BytesTotal.
  Event<int32_t, int32_t> ProgressEvent;

  uint64_t ConnectEvent(TextView name, GenericHandler handler) override;
  bool DisconnectEvent(uint64_t handle) override;

 private:
  Variant Request(const char* verb, TextView url, TextView post_data, TextView headers,
                  int32_t options, int32_t timeout_ms);

  Text url_;
  int32_t scheme_ = qelSchemeDefault;
  Text host_;
  int32_t port_ = 0;
  Text user_;
  Text password_;
  Text path_;
  Text extra_;
  std::shared_ptr<QelProps> headers_;
  std::string user_agent_;
  std::string accept_language_;
};

}  // namespace qel

#endif  // QEL_INET_QEL_INET_H_
