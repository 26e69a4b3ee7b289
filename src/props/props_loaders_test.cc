#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "frame/testing.h"
#include "props/props_testing.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace {

using testing::Dump;
using testing::ErrorOf;

std::string Http(const std::string& block) {
  QelProps bag;
  bag.SetValue(u"stale", 1);
  bag.LoadFromHttp(FromAnsi(block));
  return Dump(bag);
}

std::string Url(const std::string& text) {
  QelProps bag;
  bag.SetValue(u"stale", 1);
  bag.LoadFromURL(FromUtf8(text));
  return Dump(bag);
}

TEST(PropsLoadFromHttp, StatusLineAndHeaders) {
  EXPECT_EQ(Http("HTTP/1.1 404 Not Found\r\n"
                 "Content-Type: text/html; charset=utf-8\r\n"
                 "Content-Length:  12 \r\n"
                 "Set-Cookie: a=1\r\n"
                 "set-cookie: b=2\r\n"
                 "X-Folded: part one\r\n"
                 "\t part two\r\n"
                 "\r\n"),
            "HTTP_PROTOCOL(8)=HTTP|HTTP_VERSION(8)=1.1|HTTP_STATUS(3)=404|"
            "HTTP_MESSAGE(8)=Not Found|Content-Type(8)=text/html; charset=utf-8|"
            "Content-Length(8)=12|Set-Cookie(8)=a=1, b=2|X-Folded(8)=part one part two");
}

TEST(PropsLoadFromHttp, StatusLineVariants) {
  EXPECT_EQ(Http("HTTP/2 200\nServer: x\n"),
            "HTTP_PROTOCOL(8)=HTTP|HTTP_VERSION(8)=2|HTTP_STATUS(3)=200|HTTP_MESSAGE(8)=|"
            "Server(8)=x");
  // After an interim reply the final status wins.
  EXPECT_EQ(Http("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 201 Created\r\nA: 1\r\n"),
            "HTTP_PROTOCOL(8)=HTTP|HTTP_VERSION(8)=1.1|HTTP_STATUS(3)=201|"
            "HTTP_MESSAGE(8)=Created|A(8)=1");
  EXPECT_EQ(Http("HTTP/1.0 abc Bad"),
            "HTTP_PROTOCOL(8)=HTTP|HTTP_VERSION(8)=1.0|HTTP_STATUS(3)=0|HTTP_MESSAGE(8)=Bad");
  EXPECT_EQ(Http("HTTP/1.1 99999999999 Big"),
            "HTTP_PROTOCOL(8)=HTTP|HTTP_VERSION(8)=1.1|HTTP_STATUS(3)=0|HTTP_MESSAGE(8)=Big");
}

TEST(PropsLoadFromHttp, OddLinesAreSkipped) {
  EXPECT_EQ(Http(""), "");
  EXPECT_EQ(Http("junk\r\n: no name\r\n  orphan continuation\r\nA:\r\nB: \xE1\r\n"),
            "A(8)=|B(8)=\xC3\xA1");  // Dump is UTF-8; the header byte is Windows-1252
}

TEST(PropsLoadFromUrl, QueryFieldsAreDecodedStrings) {
  EXPECT_EQ(Url("a=1&b=x+y&c=%41%F1&d&&e=&f=a%3Db"),
            "a(8)=1|b(8)=x y|c(8)=A\xC3\xB1|d(1)|e(8)=|f(8)=a=b");
  EXPECT_EQ(Url("http://h/p?x=1&x=2#frag"), "x(8)=2");
  EXPECT_EQ(Url("?q=%"), "q(8)=%");
  EXPECT_EQ(Url("http://h/p"), "");
  EXPECT_EQ(Url(""), "");
}

TEST(PropsLoadFromUrl, ReadsWhatPostDataWrites) {
  testing::ScopedLocale locale("es_CL.UTF-8");
  QelProps bag;
  bag.LoadFromText(T("n=5;\"a b&c\"=\"x=1;ñ €\";z;d:5=\"1,5\";q=[k=\"v\"]"));
  QelProps back;
  back.LoadFromURL(bag.ToText(qelFormatPostData));
  EXPECT_EQ(Dump(back), "n(8)=5|a b&c(8)=x=1;ñ €|z(1)|d(8)=1,5|q(8)=k=\"v\"");
}

TEST(PropsLoadFromBytes, ReadsWindows1252BagText) {
  const std::string text = "N=\"a\xF1o \x80\";Q=[X=1]";
  QelProps bag;
  bag.LoadFromBytes(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
  EXPECT_EQ(Dump(bag), "N(8)=año €|Q(9)=[X(3)=1]");
  const std::string bad = "N=";
  EXPECT_EQ(
      ErrorOf([&] {
        bag.LoadFromBytes(std::span(reinterpret_cast<const uint8_t*>(bad.data()), bad.size()));
      }),
      "-2147024809|QelProps.LoadFromBytes:QelProps.ToText|Se encontró '[EOS]' cuando se "
      "esperaba un valor después del símbolo '='");
}

class PropsLoadFromFile : public ::testing::Test {
 protected:
  Text Write(const std::string& name, const std::string& bytes) {
    const std::string path = dir_.File(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return FromUtf8(path);
  }
  std::string Load(const std::string& bytes) {
    QelProps bag;
    bag.LoadFromFile(Write("bag.txt", bytes));
    return Dump(bag);
  }

  testing::TempDir dir_;
};

TEST_F(PropsLoadFromFile, DetectsTheEncoding) {
  EXPECT_EQ(Load("\xEF\xBB\xBFN=\"a\xC3\xB1o\""), "N(8)=año");                 // UTF-8 with BOM
  EXPECT_EQ(Load("N=\"a\xC3\xB1o\"\r\n// ok\r\n"), "N(8)=año");                // valid UTF-8
  EXPECT_EQ(Load("N=\"a\xF1o\""), "N(8)=año");                                 // Windows-1252
  EXPECT_EQ(Load(std::string("\xFF\xFEN\0=\0\"\0\xF1\0\"\0", 12)), "N(8)=ñ");  // UTF-16LE
  EXPECT_EQ(Load(std::string("\xFE\xFF\0N\0=\0001", 8)), "N(3)=1");            // UTF-16BE
  EXPECT_EQ(Load(""), "");
}

TEST_F(PropsLoadFromFile, FailuresNameTheFileAndKeepTheBag) {
  QelProps bag;
  bag.SetValue(u"kept", 1);
  const Text missing = FromUtf8(dir_.File("missing.txt"));
  EXPECT_EQ(ErrorOf([&] { bag.LoadFromFile(missing); }),
            "-2147467259|QelProps.LoadFromFile|No se pudo leer el archivo '" + ToUtf8(missing) +
                "'\r\nEl archivo no existe");
  EXPECT_EQ(ErrorOf([&] { bag.LoadFromFile(FromUtf8(dir_.path())); }),
            "-2147467259|QelProps.LoadFromFile|No se pudo leer el archivo '" + dir_.path() +
                "'\r\nEs una carpeta");
  EXPECT_EQ(Dump(bag), "kept(3)=1");
  const Text bad = Write("bad.txt", "A=1;B=[");
  EXPECT_EQ(ErrorOf([&] { bag.LoadFromFile(bad); }),
            "-2147024809|QelProps.LoadFromFile:QelProps.ToText|Se encontró '[EOS]' cuando se "
            "esperaba el símbolo ']'");
  EXPECT_EQ(Dump(bag), "A(3)=1");
}

}  // namespace
}  // namespace qel
