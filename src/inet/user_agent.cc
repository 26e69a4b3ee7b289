#include "inet/user_agent.h"

#include <sys/utsname.h>

#include <cstdlib>

namespace qel::internal {

std::string BuildUserAgent() {
  std::string os = "Linux";
  struct utsname name {};
  if (uname(&name) == 0) {
    os = name.sysname;
    os += ' ';
    os += name.release;
  }
  return "Mozilla/4.0 (compatible; MSIE 5.0; " + os + "; QelStd32 " QEL_VERSION_TEXT ")";
}

std::string LanguageTag(std::string_view locale_name) {
  const size_t end = locale_name.find_first_of(".@");
  locale_name = locale_name.substr(0, end);
  if (locale_name == "C" || locale_name == "POSIX") return {};
  std::string tag;
  for (char c : locale_name) {
    if (c == '_') {
      tag += '-';
    } else if (c >= 'A' && c <= 'Z') {
      tag += static_cast<char>(c - 'A' + 'a');
    } else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-') {
      tag += c;
    } else {
      return {};  // not a locale name a header line may carry
    }
  }
  return tag;
}

std::string BuildAcceptLanguage() {
  for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(var);
    if (value == nullptr || *value == '\0') continue;
    const std::string tag = LanguageTag(value);
    return tag.empty() ? std::string() : "Accept-Language: " + tag;
  }
  return {};
}

}  // namespace qel::internal
