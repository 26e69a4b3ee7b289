#include "qel/util/qel_language.h"

#include <cstdlib>
#include <string_view>

namespace qel {
namespace {

// "es_CL.UTF-8@euro" -> "es-cl"; "C" and "POSIX" name no language.
Text TagOfLocaleName(std::string_view name) {
  name = name.substr(0, name.find_first_of(".@"));
  if (name.empty() || name == "C" || name == "POSIX") return Text();
  Text tag = LCase(FromUtf8(name));
  for (auto& c : tag) {
    if (c == u'_') c = u'-';
  }
  return tag;
}

}  // namespace

QelLanguage::QelLanguage() {
  for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* v = std::getenv(var);
    if (v != nullptr && *v != 0) {
      tag_ = TagOfLocaleName(v);
      return;
    }
  }
}

}  // namespace qel
