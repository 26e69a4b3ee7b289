#include <arpa/inet.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

#include "frame/testing.h"
#include "inet/http_transfer.h"
#include "inet/test_server.h"
#include "inet/user_agent.h"
#include "qel/frame/convert.h"
#include "qel/inet/qel_inet.h"

namespace qel {
namespace {

using testing::Catch;
using testing::Describe;

class InetHttp : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("no_proxy", "127.0.0.1,localhost", 1);
    server_ = new testing::TestServer();
    setenv("SSL_CERT_FILE", server_->ca_file().c_str(), 1);
  }
  static void TearDownTestSuite() {
    unsetenv("SSL_CERT_FILE");
    delete server_;
    server_ = nullptr;
  }
  void SetUp() override { ASSERT_TRUE(server_->ok()) << "the test server did not start"; }

  static Text Url(const std::string& path) { return T(server_->Http(path)); }
  // The body as text ("<null>" for Null).
  static std::string Body(const Variant& v) {
    if (v.IsNull()) return "<null>";
    const ByteArray& b = v.Get<ByteArray>();
    return std::string(b.begin(), b.end());
  }
  // "number|source|description" of a request's error, with the URL shown as <url>.
  static std::string ErrorOfGet(QelInet& inet, const std::string& path, int32_t options = 0,
                                int32_t timeout_ms = 0) {
    const Text url = Url(path);
    std::string d = Describe(Catch([&] { inet.HttpGet(url, u"", options, timeout_ms); }));
    const std::string u = ToUtf8(url);
    if (const size_t at = d.find(u); at != std::string::npos) d.replace(at, u.size(), "<url>");
    return d;
  }

  static testing::TestServer* server_;
};

testing::TestServer* InetHttp::server_ = nullptr;

TEST_F(InetHttp, BodyAndHeaders) {
  QelInet inet;
  EXPECT_EQ(Body(inet.HttpGet(Url("/reply?body=hola&header=X-Uno:%20uno"))), "hola");
  EXPECT_EQ(CStr(inet.Headers()->Value(u"HTTP_STATUS")), u"200");
  EXPECT_EQ(CStr(inet.Headers()->Value(u"HTTP_MESSAGE")), u"OK");
  EXPECT_EQ(CStr(inet.Headers()->Value(u"x-uno")), u"uno");
  EXPECT_EQ(inet.HostName(), u"127.0.0.1");  // the URL is split on the way
}

TEST_F(InetHttp, Statuses) {
  const struct {
    const char* path;
    const char* result;
  } cases[] = {
      {"/reply?status=204", "<null>"},
      {"/reply?status=200", "<null>"},
      {"/reply?status=205&reason=Reset&body=x", "x"},
      {"/reply?status=206&reason=Partial%20Content&body=x",
       "-2147221298|QelInet.RetrieveHeaders:127.0.0.1|No se pudo navegar a la URL:\r\n<url>\r\n"
       "HTTP 206 - Partial Content"},
      {"/reply?status=404&reason=Not%20Found",
       "-2147221100|QelInet.RetrieveHeaders:127.0.0.1|No se pudo navegar a la URL:\r\n<url>\r\n"
       "HTTP 404 - Not Found"},
      {"/reply?status=500&reason=Error%20del%20servidor&body=detalle",
       "-2147221004|QelInet.RetrieveHeaders:127.0.0.1|No se pudo navegar a la URL:\r\n<url>\r\n"
       "HTTP 500 - Error del servidor"},
  };
  for (const auto& c : cases) {
    QelInet inet;
    std::string got;
    try {
      got = Body(inet.HttpGet(Url(c.path)));
    } catch (const Error&) {
      got = ErrorOfGet(inet, c.path);
      // The headers stay for the caller to read.
      EXPECT_NE(CLng(inet.Headers()->Value(u"HTTP_STATUS")), 0) << c.path;
    }
    EXPECT_EQ(got, c.result) << c.path;
  }
}

TEST_F(InetHttp, ContentEncodings) {
  QelInet inet;
  // "GZIP" in capitals is inflated; x-gzip and deflate come back as sent.
  const std::string inflated = Body(inet.HttpGet(Url("/gzip?size=5000&enc=GZIP")));
  EXPECT_EQ(inflated.size(), 5000u);
  EXPECT_EQ(inflated.substr(0, 12), "En un lugar ");
  const std::string xgzip = Body(inet.HttpGet(Url("/gzip?size=5000&enc=x-gzip")));
  EXPECT_EQ(xgzip.substr(0, 2), "\x1f\x8b");
  const std::string raw = Body(inet.HttpGet(Url("/deflate?size=5000")));
  EXPECT_LT(raw.size(), 1000u);
  EXPECT_EQ(CStr(inet.Headers()->Value(u"Content-Encoding")), u"deflate");
}

TEST_F(InetHttp, HeaderBlockLimit) {
  QelInet inet;
  EXPECT_EQ(Body(inet.HttpGet(Url("/bigheaders?chars=700"))), "cuerpo");
  EXPECT_EQ(ErrorOfGet(inet, "/bigheaders?chars=1100"),
            "122|QelInet.RetrieveHeaders:HttpQueryInfo|No se pudo navegar a la URL:\r\n<url>\r\n"
            "El área de datos pasada a una llamada del sistema es demasiado pequeña");
}

TEST_F(InetHttp, ReceiveTimeOutIsPerWait) {
  QelInet inet;
  using Clock = std::chrono::steady_clock;
  auto start = Clock::now();
  EXPECT_EQ(ErrorOfGet(inet, "/stall?ms=3000", 0, 300),
            "12002|HttpSendRequest|No se pudo navegar a la URL:\r\n<url>\r\n"
            "Se agotó el tiempo de espera de la operación");
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1500));

  start = Clock::now();
  EXPECT_EQ(ErrorOfGet(inet, "/trickle?bytes=5&ms=1000", 0, 500),
            "12002|InternetReadFile|No se pudo navegar a la URL:\r\n<url>\r\n"
            "Se agotó el tiempo de espera de la operación");
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1500));

  // Longer than the time-out in all, but never silent for that long.
  start = Clock::now();
  EXPECT_EQ(Body(inet.HttpGet(Url("/steady?chunks=12&size=1000&ms=100"), u"", 0, 500)).size(),
            12000u);
  EXPECT_GT(Clock::now() - start, std::chrono::milliseconds(1000));
}

TEST_F(InetHttp, ServerClosesMidBody) {
  QelInet inet;
  EXPECT_EQ(ErrorOfGet(inet, "/closemid"),
            "12030|InternetReadFile|No se pudo navegar a la URL:\r\n<url>\r\n"
            "Se interrumpió la conexión con el servidor");
}

TEST_F(InetHttp, RefusedBeforeConnecting) {
  // Something listens on 40000 when the port is free, so a connection would be seen.
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(40000);
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool listening = bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
                         listen(listener, 4) == 0;
  QelInet inet;
  EXPECT_EQ(Describe(Catch([&] { inet.HttpGet(u"http://127.0.0.1:40000/x"); })),
            "6|QelStd1|No se pudo navegar a la URL:\r\nhttp://127.0.0.1:40000/x\r\n"
            "Desbordamiento");
  if (listening) EXPECT_LT(accept(listener, nullptr, nullptr), 0);
  close(listener);

  // Nothing listens: the send fails to connect.
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  addr.sin_port = 0;
  socklen_t len = sizeof addr;
  int port = 0;
  for (int p = 32000; p > 31000 && port == 0; --p) {
    addr.sin_port = htons(static_cast<uint16_t>(p));
    if (bind(probe, reinterpret_cast<sockaddr*>(&addr), len) == 0) port = p;
  }
  close(probe);
  ASSERT_NE(port, 0);
  const Text url = T("http://127.0.0.1:" + std::to_string(port) + "/");
  EXPECT_EQ(Catch([&] { inet.HttpGet(url); }).Number(), 12029);
  EXPECT_EQ(Describe(Catch([&] { inet.HttpGet(u"ftp://127.0.0.1/x"); })),
            "12006|InternetConnect|No se pudo navegar a la URL:\r\nftp://127.0.0.1/x\r\n"
            "No se reconoce el protocolo de la dirección URL");
  EXPECT_EQ(Describe(Catch([&] { inet.HttpGet(u"127.0.0.1/x"); })),
            "12006|InternetCrackUrl|No se pudo navegar a la URL:\r\n127.0.0.1/x\r\n"
            "No se reconoce el protocolo de la dirección URL");
}

TEST_F(InetHttp, RequestHeadersInOrderAndPostData) {
  const char* saved = std::getenv("LC_ALL");
  const std::string saved_value = saved ? saved : "";
  setenv("LC_ALL", "es_CL.UTF-8", 1);
  QelInet inet;
  if (saved) setenv("LC_ALL", saved_value.c_str(), 1); else unsetenv("LC_ALL");

  const std::string echo =
      Body(inet.HttpPost(Url("/echo"), u"a=1&b=ñ", u"X-Mio: 1\r\nX-Otro: 2", 3));
  const size_t lang = echo.find("Accept-Language: es-cl\n");
  const size_t enc = echo.find("Accept-Encoding: gzip, deflate\n");
  const size_t type = echo.find("Content-Type: application/x-www-form-urlencoded\n");
  const size_t mine = echo.find("X-Mio: 1\nX-Otro: 2\n");
  EXPECT_TRUE(lang < enc && enc < type && type < mine && mine != std::string::npos) << echo;
  EXPECT_EQ(echo.substr(0, 16), "POST /echo HTTP/");
  EXPECT_NE(echo.find("User-Agent: Mozilla/4.0 (compatible; MSIE 5.0; Linux "), std::string::npos);
  EXPECT_EQ(echo.substr(echo.size() - 7), "a=1&b=\xF1");  // posted as Windows-1252
  EXPECT_EQ(echo.find("Expect:"), std::string::npos);

  // Option 2 asks for nothing; the fragment stays here.
  const std::string get = Body(inet.HttpGet(Url("/echo?q=1#frag"), u"", 2));
  EXPECT_EQ(get.substr(0, 20), "GET /echo?q=1 HTTP/1");
  EXPECT_EQ(get.find("Accept-Encoding"), std::string::npos);
}

TEST(InetLanguageTag, FromLocaleNames) {
  const struct {
    const char* name;
    const char* tag;
  } cases[] = {
      {"es_CL.UTF-8", "es-cl"}, {"es_CL@euro", "es-cl"}, {"en", "en"},   {"C", ""},
      {"POSIX", ""},            {"", ""},                 {"C.UTF-8", ""}, {"x y", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(internal::LanguageTag(c.name), c.tag) << c.name;
}

TEST_F(InetHttp, RedirectGivesTheFinalReply) {
  QelInet inet;
  EXPECT_EQ(Body(inet.HttpGet(Url("/redirect?to=/reply%3Fbody%3Dfin"))), "fin");
  EXPECT_EQ(CLng(inet.Headers()->Value(u"HTTP_STATUS")), 200);
  EXPECT_FALSE(inet.Headers()->Exists(u"Location"));
}

TEST_F(InetHttp, HttpsVerifiedAgainstTheTrustStore) {
  QelInet inet;
  EXPECT_EQ(Body(inet.HttpGet(T(server_->Https("/reply?body=seguro")))), "seguro");
  EXPECT_EQ(inet.Scheme(), qelSchemeHttps);
  // Without the test's CA the peer is not trusted: verification is never off.
  setenv("SSL_CERT_FILE", "/dev/null", 1);
  const Error e = Catch([&] { inet.HttpGet(T(server_->Https("/reply"))); });
  setenv("SSL_CERT_FILE", server_->ca_file().c_str(), 1);
  EXPECT_TRUE(e.Number() == 12045 || e.Number() == 12157) << Describe(e);
  EXPECT_EQ(e.Source(), u"HttpSendRequest");
}

// A body stops at its limit however much the server sends (the library's limit is
// QelInet::kMaxBodyBytes; the transfer takes any).
TEST_F(InetHttp, BodyStopsAtItsLimit) {
  internal::HttpRequest request;
  request.url = server_->Http("/steady?chunks=20&size=1000&ms=0");
  request.max_body = 5000;
  const internal::HttpReply reply = internal::PerformHttp(request);
  EXPECT_TRUE(reply.body_overflow);
  EXPECT_LE(reply.body.size(), 5000u);
  EXPECT_NE(reply.curl_code, 0);
  request.max_body = 20000;
  EXPECT_EQ(internal::PerformHttp(request).body.size(), 20000u);
}

TEST_F(InetHttp, ProgressReportsTheBodyAndCanStopIt) {
  QelInet inet;
  int32_t calls = 0, last = 0, total = -1;
  bool growing = true;
  inet.ProgressEvent.Connect([&](int32_t received, int32_t announced) {
    growing = growing && received > last;
    ++calls;
    last = received;
    total = announced;
  });
  EXPECT_EQ(Body(inet.HttpGet(Url("/steady?chunks=5&size=1000&ms=20"))).size(), 5000u);
  EXPECT_GE(calls, 2);
  EXPECT_TRUE(growing);
  EXPECT_EQ(last, 5000);
  EXPECT_EQ(total, 5000);

  // A handler's error stops the request and leaves it wrapped; so does it by name.
  inet.ConnectEvent(u"Progress", [](std::span<Variant> args) {
    if (CLng(args[0]) >= 2000) RaiseError(E_FAIL, u"Cliente", u"basta");
  });
  EXPECT_EQ(ErrorOfGet(inet, "/steady?chunks=5&size=1000&ms=20"),
            "-2147467259|Cliente|No se pudo navegar a la URL:\r\n<url>\r\nbasta");
  EXPECT_LT(last, 5000);
}

int OpenDescriptors() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/fd")) {
    while (readdir(d) != nullptr) ++n;
    closedir(d);
  }
  return n;
}

TEST_F(InetHttp, NoDescriptorLeaksOverTenThousandRequests) {
  QelInet inet;
  inet.HttpGet(Url("/reply?body=x"));  // libcurl's one-time set-up
  const int before = OpenDescriptors();
  const Text ok = Url("/reply?body=x");
  const Text missing = Url("/nada");
  int failures = 0;
  for (int i = 0; i < 10000; ++i) {
    try {
      inet.HttpGet(i % 10 == 9 ? missing : ok);
    } catch (const Error&) {
      ++failures;
    }
  }
  EXPECT_EQ(failures, 1000);
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace qel
