// The identity a QelInet sends, built once when the object is made.
#ifndef QEL_SRC_INET_USER_AGENT_H_
#define QEL_SRC_INET_USER_AGENT_H_

#include <string>
#include <string_view>

namespace qel::internal {

// "Mozilla/4.0 (compatible; MSIE 5.0; Linux <kernel release>; QelStd32 <library version>)".
// No browser is installed to take a version from, so the browser part is always 5.0.
std::string BuildUserAgent();

// The RFC 1766 language tag of a locale name: "es_CL.UTF-8" and "es_CL@euro" give "es-cl";
// "C", "POSIX" and an empty name give "".
std::string LanguageTag(std::string_view locale_name);

// "Accept-Language: <tag>" for the messages locale of the environment (LC_ALL, then
// LC_MESSAGES, then LANG: the first that is set and not empty), or "" when its tag is empty.
std::string BuildAcceptLanguage();

}  // namespace qel::internal

#endif  // QEL_SRC_INET_USER_AGENT_H_
