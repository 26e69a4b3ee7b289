// QelLanguage: the user's language, as the library names it to the outside world.
//
// Holds one thing, read once when the object is made: the language tag of the user's messages
// locale in RFC 1766 form (LC_ALL, then LC_MESSAGES, then LANG; "es_CL.UTF-8" gives "es-cl").
// The tag is empty when the environment names no language ("C", "POSIX" or nothing). Immutable
// after creation; belongs to the thread that made it.
#ifndef QEL_UTIL_QEL_LANGUAGE_H_
#define QEL_UTIL_QEL_LANGUAGE_H_

#include "qel/frame/export.h"
#include "qel/frame/object.h"

namespace qel {

class QEL_EXPORT QelLanguage final : public Object {
 public:
  QelLanguage();
  TextView ClassName() const override { return u"QelLanguage"; }

  // The language tag, lower case, e.g. "es-cl"; empty when no language is named.
  const Text& Tag() const { return tag_; }

 private:
  Text tag_;
};

}  // namespace qel

#endif  // QEL_UTIL_QEL_LANGUAGE_H_
