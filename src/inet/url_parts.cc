// The URL parser is our own, over RFC 3986, rather than libcurl's URL API. The splitter must
// hand back each part exactly as written, with the platform's scheme numbers and default
// ports and with a failure for each over-long part; libcurl's parser normalises what it keeps
// (it lowercases schemes and hosts, removes dot segments, escapes and rejects characters),
// knows its own protocols only, and its joining resolves "http:g" and friends by its own
// rules. Joining follows RFC 3986 section 5.2 with one browser liberty: a reference whose
// scheme equals the base's and that has no authority is taken as relative ("http:g" against
// "http://a/b/c/d;p?q" gives "http://a/b/c/g", the non-strict reading of section 5.4.2), as
// browsers do. Nothing is escaped on the way.
#include "inet/url_parts.h"

#include <string_view>
#include <vector>

#include "frame/char_class.h"
#include "inet/inet_error.h"
#include "qel/inet/qel_inet.h"

namespace qel::internal {
namespace {

struct SchemeEntry {
  TextView name;
  int32_t number;
  int32_t port;
};

constexpr SchemeEntry kSchemes[] = {
    {u"ftp", qelSchemeFtp, 21},        {u"gopher", qelSchemeGopher, 70},
    {u"http", qelSchemeHttp, 80},      {u"https", qelSchemeHttps, 443},
    {u"file", qelSchemeFile, 0},       {u"news", qelSchemeNews, 0},
    {u"mailto", qelSchemeMailto, 0},   {u"socks", qelSchemeSocks, 1080},
};

bool IsSchemeChar(char16_t c) {
  return IsAsciiLetter(c) || IsDigit(c) || c == u'+' || c == u'-' || c == u'.';
}

// Length of the scheme of `url` (before its ":"), or 0 when it has none.
size_t SchemeLength(TextView url) {
  if (url.empty() || !IsAsciiLetter(url[0])) return 0;
  size_t i = 1;
  while (i < url.size() && IsSchemeChar(url[i])) ++i;
  return i < url.size() && url[i] == u':' ? i : 0;
}

// A reference in the five components of RFC 3986 appendix B; `has_*` tells an absent
// component from an empty one.
struct Reference {
  bool has_scheme = false, has_authority = false, has_query = false, has_fragment = false;
  TextView scheme, authority, path, query, fragment;
};

Reference ParseReference(TextView s) {
  Reference r;
  if (const size_t n = SchemeLength(s); n > 0) {
    r.has_scheme = true;
    r.scheme = s.substr(0, n);
    s.remove_prefix(n + 1);
  }
  if (s.starts_with(u"//")) {
    s.remove_prefix(2);
    const size_t end = s.find_first_of(u"/?#");
    r.has_authority = true;
    r.authority = s.substr(0, end);
    s.remove_prefix(end == TextView::npos ? s.size() : end);
  }
  const size_t hash = s.find(u'#');
  if (hash != TextView::npos) {
    r.has_fragment = true;
    r.fragment = s.substr(hash + 1);
    s = s.substr(0, hash);
  }
  const size_t question = s.find(u'?');
  if (question != TextView::npos) {
    r.has_query = true;
    r.query = s.substr(question + 1);
    s = s.substr(0, question);
  }
  r.path = s;
  return r;
}

// RFC 3986 section 5.2.4, in one pass: the output is kept as segments on a stack so that
// "/.." drops the last one in constant time.
Text RemoveDotSegments(TextView in) {
  std::vector<TextView> out;  // each starts with "/" except possibly the first
  while (!in.empty()) {
    if (in.starts_with(u"../")) {
      in.remove_prefix(3);
    } else if (in.starts_with(u"./")) {
      in.remove_prefix(2);
    } else if (in.starts_with(u"/./")) {
      in.remove_prefix(2);
    } else if (in == u"/.") {
      in = u"/";
    } else if (in.starts_with(u"/../")) {
      in.remove_prefix(3);
      if (!out.empty()) out.pop_back();
    } else if (in == u"/..") {
      in = u"/";
      if (!out.empty()) out.pop_back();
    } else if (in == u"." || in == u"..") {
      in = {};
    } else {
      const size_t next = in.find(u'/', in[0] == u'/' ? 1 : 0);
      const size_t n = next == TextView::npos ? in.size() : next;
      out.push_back(in.substr(0, n));
      in.remove_prefix(n);
    }
  }
  Text result;
  for (TextView seg : out) result += seg;
  return result;
}

// Section 5.2.3: the reference's path appended to the base's directory.
Text MergePaths(const Reference& base, TextView path) {
  Text merged;
  if (base.has_authority && base.path.empty()) {
    merged = u"/";
  } else {
    const size_t slash = base.path.rfind(u'/');
    if (slash != TextView::npos) merged = Text(base.path.substr(0, slash + 1));
  }
  merged += path;
  return merged;
}

}  // namespace

int32_t SchemeNumber(TextView name) {
  for (const auto& s : kSchemes) {
    if (EqualsNoCase(name, s.name)) return s.number;
  }
  return qelSchemeUnknown;
}

int32_t DefaultPort(int32_t scheme) {
  for (const auto& s : kSchemes) {
    if (s.number == scheme) return s.port;
  }
  return 0;
}

int32_t SplitUrl(TextView url, UrlParts& parts) {
  parts = UrlParts();
  const size_t scheme_length = SchemeLength(url);
  if (scheme_length == 0) return kInetUnrecognizedScheme;
  parts.scheme = SchemeNumber(url.substr(0, scheme_length));
  parts.port = DefaultPort(parts.scheme);
  TextView rest = url.substr(scheme_length + 1);

  if (rest.starts_with(u"//")) {
    rest.remove_prefix(2);
    const size_t end = rest.find_first_of(u"/?#");
    TextView authority = rest.substr(0, end);
    rest.remove_prefix(authority.size());
    if (const size_t at = authority.rfind(u'@'); at != TextView::npos) {
      const TextView userinfo = authority.substr(0, at);
      const size_t colon = userinfo.find(u':');
      const TextView user = userinfo.substr(0, colon);
      if (user.size() > kMaxUserChars) return kErrorInsufficientBuffer;
      parts.user = Text(user);
      if (colon != TextView::npos) {
        const TextView password = userinfo.substr(colon + 1);
        if (password.size() > kMaxPasswordChars) return kErrorInsufficientBuffer;
        parts.password = Text(password);
      }
      authority.remove_prefix(at + 1);
    }
    // The host ends at the port's ":"; a bracketed IPv6 literal keeps its own colons.
    size_t host_end = authority.rfind(u':');
    if (!authority.empty() && authority[0] == u'[') {
      const size_t close = authority.find(u']');
      if (close == TextView::npos) return kInetInvalidUrl;
      host_end = close + 1 < authority.size() ? close + 1 : TextView::npos;
      if (host_end != TextView::npos && authority[host_end] != u':') return kInetInvalidUrl;
    }
    const TextView host = authority.substr(0, host_end);
    if (host.size() > kMaxHostChars) return kErrorInsufficientBuffer;
    parts.host = Text(host);
    if (host_end != TextView::npos) {
      const TextView port = authority.substr(host_end + 1);
      if (!port.empty()) {
        int32_t value = 0;
        for (char16_t c : port) {
          if (!IsDigit(c)) return kInetInvalidUrl;
          value = value * 10 + (c - u'0');
          if (value > 65535) return kInetInvalidUrl;
        }
        parts.port = value;
      }
    }
  }

  const size_t extra = rest.find_first_of(u"?#");
  const TextView path = rest.substr(0, extra);
  if (path.size() > kMaxPathChars) return kErrorInsufficientBuffer;
  parts.path = Text(path);
  if (extra != TextView::npos) {
    if (rest.size() - extra > kMaxExtraChars) return kErrorInsufficientBuffer;
    parts.extra = Text(rest.substr(extra));
  }
  return 0;
}

int32_t CombineUrl(TextView base_text, TextView relative, Text& out) {
  const Reference base = ParseReference(base_text);
  Reference r = ParseReference(relative);
  if (r.has_scheme && !r.has_authority && base.has_scheme &&
      EqualsNoCase(r.scheme, base.scheme)) {
    r.has_scheme = false;
  }

  // Section 5.2.2, then the recomposition of section 5.3.
  Text path;
  Reference t;
  if (r.has_scheme) {
    t = r;
    path = RemoveDotSegments(r.path);
  } else {
    t.has_scheme = base.has_scheme;
    t.scheme = base.scheme;
    if (r.has_authority) {
      t.has_authority = true;
      t.authority = r.authority;
      path = RemoveDotSegments(r.path);
      t.has_query = r.has_query;
      t.query = r.query;
    } else {
      t.has_authority = base.has_authority;
      t.authority = base.authority;
      if (r.path.empty()) {
        path = Text(base.path);
        t.has_query = r.has_query || base.has_query;
        t.query = r.has_query ? r.query : base.query;
      } else {
        path = RemoveDotSegments(r.path[0] == u'/' ? Text(r.path) : MergePaths(base, r.path));
        t.has_query = r.has_query;
        t.query = r.query;
      }
    }
    t.has_fragment = r.has_fragment;
    t.fragment = r.fragment;
  }

  Text result;
  if (t.has_scheme) (result += t.scheme) += u':';
  if (t.has_authority) (result += u"//") += t.authority;
  result += path;
  if (t.has_query) (result += u'?') += t.query;
  if (t.has_fragment) (result += u'#') += t.fragment;
  if (result.size() > kMaxCombinedChars) return kErrorInsufficientBuffer;
  out = std::move(result);
  return 0;
}

}  // namespace qel::internal
