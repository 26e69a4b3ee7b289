#include "qel/frame/url_encode.h"

#include <gtest/gtest.h>

#include "frame/testing.h"

namespace qel {
namespace {

TEST(UrlEncode, KeepsUnreservedAndEncodesTheRestAsWindows1252) {
  EXPECT_EQ(UrlEncode(u"AZaz09-_.*"), u"AZaz09-_.*");
  EXPECT_EQ(UrlEncode(u"a b"), u"a+b");
  EXPECT_EQ(UrlEncode(u"a=1&b=2;c/d?e"), u"a%3D1%26b%3D2%3Bc%2Fd%3Fe");
  EXPECT_EQ(UrlEncode(T("año €")), u"a%F1o+%80");
  EXPECT_EQ(UrlEncode(u"+%~\r\n"), u"%2B%25%7E%0D%0A");
  EXPECT_EQ(UrlEncode(T("中")), u"%3F");  // not in Windows-1252
  Text out = u"x=";
  AppendUrlEncoded(u"1 2", &out);
  EXPECT_EQ(out, u"x=1+2");
}

TEST(UrlDecode, ReversesEncodingAndKeepsWhatIsNotAnEscape) {
  EXPECT_EQ(UrlDecode(u"a+b%3d1%26"), u"a b=1&");
  EXPECT_EQ(UrlDecode(u"a%F1o%80"), T("año€"));
  EXPECT_EQ(UrlDecode(u"100%"), u"100%");
  EXPECT_EQ(UrlDecode(u"%4"), u"%4");
  EXPECT_EQ(UrlDecode(u"%G1%%41"), u"%G1%A");
  EXPECT_EQ(UrlDecode(T("ñ")), T("ñ"));  // unencoded text passes through
}

TEST(UrlEncode, RoundTripsEveryWindows1252Character) {
  Text all;
  for (int b = 1; b < 256; ++b) {
    const char byte = static_cast<char>(b);
    all += FromAnsi(std::string_view(&byte, 1));
  }
  const Text encoded = UrlEncode(all);
  for (char16_t c : encoded) EXPECT_LT(c, 0x80);
  EXPECT_EQ(UrlDecode(encoded), all);
}

}  // namespace
}  // namespace qel
