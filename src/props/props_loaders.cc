// The loaders that fill a bag from something other than bag text held as Text: bytes and files
// holding bag text, an HTTP reply header block and a URL query string.
#include "props/props_loaders.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "frame/line_reader.h"
#include "props/bag_access.h"
#include "props/props_format.h"
#include "qel/frame/error.h"
#include "qel/frame/template.h"
#include "qel/frame/url_encode.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace {

// Blanks and tabs removed from both ends (header lines may use either).
TextView TrimBlanks(TextView t) {
  size_t b = 0, e = t.size();
  while (b < e && (t[b] == u' ' || t[b] == u'\t')) ++b;
  while (e > b && (t[e - 1] == u' ' || t[e - 1] == u'\t')) --e;
  return t.substr(b, e - b);
}

bool StartsWithNoCase(TextView text, TextView prefix) {
  return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

Text FromUtf16(std::string_view bytes, bool big_endian) {
  Text out(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < out.size(); ++i) {
    const auto a = static_cast<unsigned char>(bytes[2 * i]);
    const auto b = static_cast<unsigned char>(bytes[2 * i + 1]);
    out[i] = static_cast<char16_t>(big_endian ? (a << 8 | b) : (b << 8 | a));
  }
  return out;
}

}  // namespace

namespace internal {

Text DecodeBagFile(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) return FromUtf8(bytes.substr(3));
  if (bytes.starts_with("\xFF\xFE")) return FromUtf16(bytes.substr(2), false);
  if (bytes.starts_with("\xFE\xFF")) return FromUtf16(bytes.substr(2), true);
  if (IsValidUtf8(bytes)) return FromUtf8(bytes);
  return FromAnsi(bytes);
}

}  // namespace internal

namespace {

Text ErrnoText(int err) {
  switch (err) {
    case ENOENT:
      return u"El archivo no existe";
    case EACCES:
    case EPERM:
      return u"Permiso denegado";
    case EISDIR:
      return u"Es una carpeta";
    default:
      return FormatTemplate(u"Error del sistema %1", {Variant(static_cast<int32_t>(err))});
  }
}

[[noreturn]] void RaiseFileError(TextView path, int err) {
  RaiseError(E_FAIL, u"QelProps.LoadFromFile", u"No se pudo leer el archivo '%1'%n%2",
             {Variant(path), Variant(ErrnoText(err))});
}

std::string ReadWholeFile(TextView path) {
  const std::string name = ToUtf8(path);
  const int fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) RaiseFileError(path, errno);
  std::string data;
  char buf[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      const int err = errno;
      ::close(fd);
      RaiseFileError(path, err);
    }
    if (n == 0) break;
    data.append(buf, static_cast<size_t>(n));
  }
  ::close(fd);
  return data;
}

}  // namespace

void QelProps::LoadFromBytes(std::span<const uint8_t> bytes) {
  const Text text =
      FromAnsi(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  Chaining(u"QelProps.LoadFromBytes:", [&] { LoadFromText(text); });
}

void QelProps::LoadFromFile(TextView path) {
  const Text text = internal::DecodeBagFile(ReadWholeFile(path));
  Chaining(u"QelProps.LoadFromFile:", [&] { LoadFromText(text); });
}

void QelProps::LoadFromHttp(TextView header_block) {
  using internal::BagAccess;
  if (static_cast<size_t>(std::count(header_block.begin(), header_block.end(), u'\n')) >
      kMaxHttpLines) {  // checked first: a refused block leaves the bag as it was
    RaiseError(E_INVALIDARG, u"QelProps.LoadFromHttp",
               u"El bloque de encabezados tiene más de %1 líneas",
               {Variant(static_cast<int32_t>(kMaxHttpLines))});
  }
  const Text copy(header_block);  // the view may point into a value about to be cleared
  const TextView headers = copy;
  Clear();
  // The String value that a continuation line or a repeated header extends, in place: a block
  // of many such lines costs time in proportion to its length.
  Text* last = nullptr;
  internal::LineReader reader(headers);
  for (TextView line; reader.Next(&line);) {
    // A block cut after its last CR still ends that line there.
    if (!line.empty() && line.back() == u'\r') line.remove_suffix(1);
    if (TrimBlanks(line).empty()) {
      last = nullptr;
      continue;
    }
    if (StartsWithNoCase(line, u"HTTP/")) {
      // HTTP/<version> <status> <message>
      const size_t sp = line.find(u' ');
      const TextView version = line.substr(5, sp == TextView::npos ? TextView::npos : sp - 5);
      TextView rest = sp == TextView::npos ? TextView() : TrimBlanks(line.substr(sp + 1));
      const size_t sp2 = rest.find(u' ');
      const TextView status = rest.substr(0, sp2);
      const TextView message = sp2 == TextView::npos ? TextView() : TrimBlanks(rest.substr(sp2));
      int32_t code = 0;
      if (!status.empty() && status.size() <= 9) {
        for (char16_t c : status) {
          if (!internal::IsDigit(c)) {
            code = 0;
            break;
          }
          code = code * 10 + (c - u'0');
        }
      }
      BagAccess::ValueOf(BagAccess::FindOrCreateName(*this, u"HTTP_PROTOCOL")) =
          Variant(line.substr(0, 4));
      BagAccess::ValueOf(BagAccess::FindOrCreateName(*this, u"HTTP_VERSION")) = Variant(version);
      BagAccess::ValueOf(BagAccess::FindOrCreateName(*this, u"HTTP_STATUS")) = Variant(code);
      BagAccess::ValueOf(BagAccess::FindOrCreateName(*this, u"HTTP_MESSAGE")) = Variant(message);
      last = nullptr;
      continue;
    }
    if ((line[0] == u' ' || line[0] == u'\t') && last != nullptr) {
      last->push_back(u' ');
      last->append(TrimBlanks(line));
      continue;
    }
    const size_t colon = line.find(u':');
    const TextView name = colon == TextView::npos ? TextView() : TrimBlanks(line.substr(0, colon));
    if (name.empty()) {
      last = nullptr;
      continue;
    }
    const TextView value = TrimBlanks(line.substr(colon + 1));
    Variant& stored = BagAccess::ValueOf(BagAccess::FindOrCreateName(*this, name));
    if (stored.IsText()) {  // a repeated header
      stored.Get<Text>().append(u", ");
      stored.Get<Text>().append(value);
    } else {
      stored = Variant(value);
    }
    last = &stored.Get<Text>();
  }
}

void QelProps::LoadFromURL(TextView url) {
  const Text copy(url);  // the view may point into a value about to be cleared
  Clear();
  TextView query = copy;
  const size_t question = query.find(u'?');
  if (question != TextView::npos) {
    query.remove_prefix(question + 1);
  } else if (query.find(u"://") != TextView::npos) {
    return;  // a whole URL without a query
  }
  query = query.substr(0, query.find(u'#'));
  size_t from = 0;
  while (from <= query.size()) {
    size_t amp = query.find(u'&', from);
    if (amp == TextView::npos) amp = query.size();
    const TextView field = query.substr(from, amp - from);
    from = amp + 1;
    if (field.empty()) continue;
    const size_t eq = field.find(u'=');
    const Text name = UrlDecode(field.substr(0, eq));
    internal::BagAccess::ValueOf(internal::BagAccess::FindOrCreateName(*this, Trim(name))) =
        eq == TextView::npos ? Variant::Null() : Variant(UrlDecode(field.substr(eq + 1)));
  }
}

}  // namespace qel
