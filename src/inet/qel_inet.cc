#include "qel/inet/qel_inet.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "inet/gzip_inflate.h"
#include "inet/http_transfer.h"
#include "inet/inet_error.h"
#include "inet/reply_headers.h"
#include "inet/url_parts.h"
#include "inet/user_agent.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {
namespace {

using internal::RaiseInetError;

// Text as the platform's ANSI interfaces see it: what Windows-1252 cannot hold becomes "?".
Text ThroughAnsi(TextView text) { return FromAnsi(ToAnsi(text)); }

// The caller's header text, one line per entry; blank lines are dropped.
void AppendHeaderLines(TextView text, std::vector<std::string>& lines) {
  while (!text.empty()) {
    const size_t end = text.find_first_of(u"\r\n");
    const TextView line = text.substr(0, end);
    if (!Trim(line).empty()) lines.push_back(ToAnsi(line));
    if (end == TextView::npos) break;
    text.remove_prefix(end + 1);
  }
}

}  // namespace

QelInet::QelInet()
    : headers_(std::make_shared<QelProps>()),
      user_agent_(internal::BuildUserAgent()),
      accept_language_(internal::BuildAcceptLanguage()) {}

QelInet::~QelInet() = default;

Text QelInet::SchemeName() const {
  switch (scheme_) {
    case qelSchemeDefault:
    case qelSchemeHttp:
      return u"http";
    case qelSchemeFtp:
      return u"ftp";
    case qelSchemeGopher:
      return u"gopher";
    case qelSchemeHttps:
      return u"https";
    case qelSchemeFile:
      return u"file";
    case qelSchemeNews:
      return u"news";
    case qelSchemeMailto:
      return u"mailto";
    case qelSchemeSocks:
      return u"socks";
    default:
      return u"unknown";
  }
}

void QelInet::SplitURL(TextView url) {
  url_ = Text(url);
  scheme_ = qelSchemeDefault;
  port_ = 0;
  host_.clear();
  user_.clear();
  password_.clear();
  path_.clear();
  extra_.clear();
  if (url.empty()) return;
  internal::UrlParts parts;
  if (const int32_t code = internal::SplitUrl(ThroughAnsi(url), parts); code != 0) {
    RaiseInetError(u"InternetCrackUrl", code);
  }
  scheme_ = parts.scheme;
  port_ = parts.port;
  host_ = std::move(parts.host);
  user_ = std::move(parts.user);
  password_ = std::move(parts.password);
  path_ = std::move(parts.path);
  extra_ = std::move(parts.extra);
}

Text QelInet::CombineURL(TextView base, TextView relative) const {
  Text out;
  if (const int32_t code = internal::CombineUrl(ThroughAnsi(base), ThroughAnsi(relative), out);
      code != 0) {
    RaiseInetError(u"InternetCombineUrl", code);
  }
  return out;
}

void QelInet::Clear() noexcept {
  try {
    SplitURL(u"");
  } catch (...) {
  }
  headers_->Clear();
}

Variant QelInet::HttpGet(TextView url, TextView headers, int32_t options, int32_t timeout_ms) {
  return Request("GET", url, {}, headers, options, timeout_ms);
}

Variant QelInet::HttpPost(TextView url, TextView post_data, TextView headers, int32_t options,
                          int32_t timeout_ms) {
  Text all = u"Content-Type: application/x-www-form-urlencoded\r\n";
  all += headers;
  return Request("POST", url, post_data, all, options, timeout_ms);
}

Variant QelInet::Request(const char* verb, TextView url, TextView post_data, TextView headers,
                         int32_t options, int32_t timeout_ms) {
  try {
    SplitURL(url);
    headers_->Clear();
    if (scheme_ != qelSchemeHttp && scheme_ != qelSchemeHttps) {
      RaiseInetError(u"InternetConnect", internal::kInetUnrecognizedScheme);
    }
    // The port travels as a 16-bit signed number.
    if (port_ > 32767) RaiseRuntime(kErrOverflow);

    internal::HttpRequest request;
    request.post = std::string_view(verb) == "POST";
    request.url = scheme_ == qelSchemeHttps ? "https://" : "http://";
    request.url += ToAnsi(host_) + ":" + std::to_string(port_);
    request.url += path_.empty() ? std::string("/") : ToAnsi(path_);
    // The fragment stays with the client.
    request.url += ToAnsi(TextView(extra_).substr(0, TextView(extra_).find(u'#')));
    request.user = ToAnsi(user_);
    request.password = ToAnsi(password_);
    request.user_agent = user_agent_;
    request.timeout_ms = timeout_ms;
    request.max_body = kMaxBodyBytes;
    request.post_data = ToAnsi(post_data);
    if (!ProgressEvent.empty()) {
      request.on_progress = [this](int64_t received, int64_t total) {
        constexpr int64_t kMax = 2147483647;
        ProgressEvent.Raise(static_cast<int32_t>(std::min(received, kMax)),
                            static_cast<int32_t>(std::clamp<int64_t>(total, 0, kMax)));
      };
    }
    // Each addition goes in front of what is there: the language, the encodings, then the
    // caller's lines.
    if (!accept_language_.empty()) request.header_lines.push_back(accept_language_);
    if ((options & qelHttpOptRequestGzip) != 0) {
      request.header_lines.emplace_back("Accept-Encoding: gzip, deflate");
    }
    AppendHeaderLines(headers, request.header_lines);
    // libcurl would otherwise hold a large POST body back waiting for "100 Continue".
    request.header_lines.emplace_back("Expect:");

    internal::HttpReply reply = internal::PerformHttp(request);
    const int32_t code = reply.body_overflow
                             ? internal::kErrorNotEnoughMemory
                             : internal::InetCodeOfCurl(reply.curl_code, reply.verify_result);
    // A failure before the final reply's headers is the send's; one after them is the
    // read's, reported once the headers have been taken.
    const bool redirect_failed = reply.status >= 300 && reply.status < 400 && code != 0;
    if (!reply.headers.complete() || redirect_failed) RaiseInetError(u"HttpSendRequest", code);

    internal::RetrieveHeaders(reply.headers, host_, *headers_);
    if (code != 0 && !reply.stopped_at_headers) RaiseInetError(u"InternetReadFile", code);

    if (reply.body.empty()) return Variant::Null();
    const Variant encoding = headers_->Value(u"Content-Encoding", u"");
    if (encoding.IsText() && EqualsNoCase(encoding.Get<Text>(), u"gzip")) {
      ByteArray inflated;
      if (const int32_t rc = internal::GzipInflate(reply.body, kMaxBodyBytes, inflated);
          rc != 0) {
        RaiseInetError(u"GzipInflate", rc);
      }
      return Variant(std::move(inflated));
    }
    return Variant(std::move(reply.body));
  } catch (const Error& e) {
    RaiseReplacing(e, e.Source(), u"No se pudo navegar a la URL:%n%1%n%2", {Variant(Text(url))});
  }
}

uint64_t QelInet::ConnectEvent(TextView name, GenericHandler handler) {
  if (!EqualsNoCase(name, u"Progress")) return Object::ConnectEvent(name, std::move(handler));
  return ProgressEvent.Connect([handler = std::move(handler)](int32_t received, int32_t total) {
    Variant args[] = {Variant(received), Variant(total)};
    handler(args);
  });
}

bool QelInet::DisconnectEvent(uint64_t handle) { return ProgressEvent.Disconnect(handle); }

}  // namespace qel
