#include <gtest/gtest.h>

#include <string>

#include "frame/testing.h"
#include "inet/inet_error.h"
#include "qel/inet/qel_inet.h"

namespace qel {
namespace {

using testing::ErrorOf;

// "scheme|name|host|port|user|password|path|extra" of a split URL.
std::string Split(const std::string& url) {
  QelInet inet;
  inet.SplitURL(T(url));
  return std::to_string(inet.Scheme()) + "|" + ToUtf8(inet.SchemeName()) + "|" +
         ToUtf8(inet.HostName()) + "|" + std::to_string(inet.Port()) + "|" +
         ToUtf8(inet.UserName()) + "|" + ToUtf8(inet.Password()) + "|" +
         ToUtf8(inet.UrlPath()) + "|" + ToUtf8(inet.ExtraInfo());
}

TEST(InetSplitUrl, Parts) {
  const struct {
    const char* url;
    const char* parts;
  } cases[] = {
      {"https://u:p@host.example/a/b?x=1#f", "4|https|host.example|443|u|p|/a/b|?x=1#f"},
      {"http://h", "3|http|h|80||||"},
      {"HTTP://H:8080/%41b?c#d", "3|http|H|8080|||/%41b|?c#d"},
      {"http://h:/p", "3|http|h|80|||/p|"},
      {"ftp://f.example/pub", "1|ftp|f.example|21|||/pub|"},
      {"gopher://g/1", "2|gopher|g|70|||/1|"},
      {"socks://s", "8|socks|s|1080||||"},
      {"file:///c/x.txt", "5|file||0|||/c/x.txt|"},
      {"news:comp.lang", "6|news||0|||comp.lang|"},
      {"mailto:a@b.cl", "7|mailto||0|||a@b.cl|"},
      {"zz://h:9/p", "-1|unknown|h|9|||/p|"},
      {"http://[::1]:81/x", "3|http|[::1]|81|||/x|"},
      {"http://[::1]/x", "3|http|[::1]|80|||/x|"},
      {"http://user@h/#only", "3|http|h|80|user||/|#only"},
      {"http://a:b:c@h?q", "3|http|h|80|a|b:c||?q"},
      {"http://x@y@h/", "3|http|h|80|x@y||/|"},
      {"http://h/a b/ñ", "3|http|h|80|||/a b/ñ|"},
  };
  for (const auto& c : cases) EXPECT_EQ(Split(c.url), c.parts) << c.url;
}

TEST(InetSplitUrl, EmptyAndClear) {
  QelInet inet;
  EXPECT_EQ(inet.SchemeName(), u"http");
  inet.SplitURL(u"https://h:99/p");
  inet.Headers()->SetValue(u"k", 1);
  inet.Clear();
  EXPECT_EQ(inet.URL(), u"");
  EXPECT_EQ(inet.Port(), 0);
  EXPECT_EQ(inet.Scheme(), 0);
  EXPECT_EQ(inet.SchemeName(), u"http");
  EXPECT_EQ(inet.HostName(), u"");
  EXPECT_EQ(inet.Headers()->Count(), 0);
}

TEST(InetSplitUrl, Failures) {
  const std::string host256(256, 'h');
  const std::string path2048 = "/" + std::string(2047, 'p');
  const struct {
    std::string url;
    std::string error;
  } cases[] = {
      {"http://" + std::string(255, 'h') + "/", ""},
      {"http://" + host256 + "/", "122|InternetCrackUrl|"},
      {"http://h" + path2048.substr(0, 2047), ""},
      {"http://h" + path2048, "122|InternetCrackUrl|"},
      {"http://h/?" + std::string(2046, 'q'), ""},
      {"http://h/?" + std::string(2047, 'q'), "122|InternetCrackUrl|"},
      {"http://" + std::string(127, 'u') + ":" + std::string(127, 'p') + "@h/", ""},
      {"http://" + std::string(128, 'u') + "@h/", "122|InternetCrackUrl|"},
      {"http://u:" + std::string(128, 'p') + "@h/", "122|InternetCrackUrl|"},
      {"http://h:65535/", ""},
      {"http://h:65536/", "12005|InternetCrackUrl|"},
      {"http://h:8a/", "12005|InternetCrackUrl|"},
      {"http://[::1/", "12005|InternetCrackUrl|"},
      {"http://[::1]x/", "12005|InternetCrackUrl|"},
      {"www.example.cl/x", "12006|InternetCrackUrl|"},
      {"://h", "12006|InternetCrackUrl|"},
  };
  for (const auto& c : cases) {
    QelInet inet;
    std::string got;
    try {
      inet.SplitURL(T(c.url));
    } catch (const Error& e) {
      got = std::to_string(e.Number()) + "|" + ToUtf8(e.Source()) + "|";
      // A failed split keeps the argument and empties the parts.
      EXPECT_EQ(inet.URL(), T(c.url));
      EXPECT_EQ(inet.HostName(), u"");
      EXPECT_EQ(inet.Port(), 0);
    }
    EXPECT_EQ(got, c.error) << c.url.substr(0, 40);
  }
}

// RFC 3986 section 5.4: every normal and abnormal example, "http:g" in its non-strict reading.
TEST(InetCombineUrl, Rfc3986Examples) {
  const char* base = "http://a/b/c/d;p?q";
  const struct {
    const char* ref;
    const char* result;
  } cases[] = {
      {"g:h", "g:h"},
      {"g", "http://a/b/c/g"},
      {"./g", "http://a/b/c/g"},
      {"g/", "http://a/b/c/g/"},
      {"/g", "http://a/g"},
      {"//g", "http://g"},
      {"?y", "http://a/b/c/d;p?y"},
      {"g?y", "http://a/b/c/g?y"},
      {"#s", "http://a/b/c/d;p?q#s"},
      {"g#s", "http://a/b/c/g#s"},
      {"g?y#s", "http://a/b/c/g?y#s"},
      {";x", "http://a/b/c/;x"},
      {"g;x", "http://a/b/c/g;x"},
      {"g;x?y#s", "http://a/b/c/g;x?y#s"},
      {"", "http://a/b/c/d;p?q"},
      {".", "http://a/b/c/"},
      {"./", "http://a/b/c/"},
      {"..", "http://a/b/"},
      {"../", "http://a/b/"},
      {"../g", "http://a/b/g"},
      {"../..", "http://a/"},
      {"../../", "http://a/"},
      {"../../g", "http://a/g"},
      // Abnormal examples.
      {"../../../g", "http://a/g"},
      {"../../../../g", "http://a/g"},
      {"/./g", "http://a/g"},
      {"/../g", "http://a/g"},
      {"g.", "http://a/b/c/g."},
      {".g", "http://a/b/c/.g"},
      {"g..", "http://a/b/c/g.."},
      {"..g", "http://a/b/c/..g"},
      {"./../g", "http://a/b/g"},
      {"./g/.", "http://a/b/c/g/"},
      {"g/./h", "http://a/b/c/g/h"},
      {"g/../h", "http://a/b/c/h"},
      {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
      {"g;x=1/../y", "http://a/b/c/y"},
      {"g?y/./x", "http://a/b/c/g?y/./x"},
      {"g?y/../x", "http://a/b/c/g?y/../x"},
      {"g#s/./x", "http://a/b/c/g#s/./x"},
      {"g#s/../x", "http://a/b/c/g#s/../x"},
      {"http:g", "http://a/b/c/g"},
  };
  QelInet inet;
  for (const auto& c : cases) {
    EXPECT_EQ(ToUtf8(inet.CombineURL(T(base), T(c.ref))), c.result) << c.ref;
  }
}

TEST(InetCombineUrl, OtherBasesAndLimit) {
  QelInet inet;
  inet.SplitURL(u"http://keep/");
  EXPECT_EQ(inet.CombineURL(u"http://h", u"x"), u"http://h/x");
  EXPECT_EQ(inet.CombineURL(u"http://h/a#f", u""), u"http://h/a");
  EXPECT_EQ(inet.CombineURL(u"http://h/a", u"HTTPS://o/p/../q"), u"HTTPS://o/q");
  EXPECT_EQ(inet.CombineURL(u"https://h/a/b", u"//o/../p"), u"https://o/p");
  EXPECT_EQ(inet.HostName(), u"keep");  // the object's parts are left alone

  const Text base = u"http://h/" + Text(2000, u'a') + u"/";
  EXPECT_EQ(inet.CombineURL(base, Text(2047 - base.size(), u'b')).size(), 2047u);
  EXPECT_EQ(ErrorOf([&] { inet.CombineURL(base, Text(2048 - base.size(), u'b')); }),
            "122|InternetCombineUrl|El área de datos pasada a una llamada del sistema es "
            "demasiado pequeña");
}

// Hostile inputs cost linear time: a long run of dot segments and a long path of slashes.
TEST(InetCombineUrl, LongDotRunsStayLinear) {
  QelInet inet;
  Text dots;
  for (int i = 0; i < 200000; ++i) dots += u"../";
  EXPECT_EQ(ErrorOf([&] { inet.CombineURL(u"http://h/a/b", dots + Text(3000, u'x')); }),
            "122|InternetCombineUrl|El área de datos pasada a una llamada del sistema es "
            "demasiado pequeña");
  EXPECT_EQ(inet.CombineURL(u"http://h/" + Text(100000, u'/'), dots + u"g"), u"http://h/g");
  EXPECT_EQ(ErrorOf([&] { inet.SplitURL(u"http://h/" + Text(1000000, u'@')); }),
            "122|InternetCrackUrl|El área de datos pasada a una llamada del sistema es "
            "demasiado pequeña");
}

TEST(InetErrors, TextsTemplateAndZero) {
  EXPECT_EQ(ErrorOf([] { internal::RaiseInetError(u"InternetCombineUrl", 12345); }),
            "12345|InternetCombineUrl|La función 'InternetCombineUrl' retornó error "
            "desconocido 3039");
  EXPECT_EQ(ErrorOf([] { internal::RaiseInetError(u"HttpSendRequest", 0); }),
            "-2147467259|HttpSendRequest|La función 'HttpSendRequest' retornó error "
            "desconocido 0");
  EXPECT_EQ(ErrorOf([] { internal::RaiseInetError(u"HttpSendRequest", 12002); }),
            "12002|HttpSendRequest|Se agotó el tiempo de espera de la operación");
}

}  // namespace
}  // namespace qel
