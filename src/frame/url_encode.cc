#include "qel/frame/url_encode.h"

namespace qel {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool IsUnreserved(unsigned char b) {
  return (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') || (b >= '0' && b <= '9') || b == '-' ||
         b == '_' || b == '.' || b == '*';
}

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  return -1;
}

}  // namespace

void AppendUrlEncoded(TextView text, Text* out) {
  for (char16_t c : text) {
    const auto b = static_cast<unsigned char>(ToAnsiChar(c));
    if (IsUnreserved(b)) {
      out->push_back(b);
    } else if (b == ' ') {
      out->push_back(u'+');
    } else {
      out->push_back(u'%');
      out->push_back(kHexDigits[b >> 4]);
      out->push_back(kHexDigits[b & 15]);
    }
  }
}

Text UrlEncode(TextView text) {
  Text out;
  out.reserve(text.size());
  AppendUrlEncoded(text, &out);
  return out;
}

Text UrlDecode(TextView encoded) {
  Text out;
  out.reserve(encoded.size());
  for (size_t i = 0; i < encoded.size(); ++i) {
    const char16_t c = encoded[i];
    if (c == u'+') {
      out.push_back(u' ');
      continue;
    }
    if (c == u'%' && i + 2 < encoded.size() && HexValue(encoded[i + 1]) >= 0 &&
        HexValue(encoded[i + 2]) >= 0) {
      const char byte = static_cast<char>(HexValue(encoded[i + 1]) * 16 + HexValue(encoded[i + 2]));
      out += FromAnsi(std::string_view(&byte, 1));
      i += 2;
      continue;
    }
    out.push_back(c);
  }
  return out;
}

}  // namespace qel
