#include "qel/util/qel_language.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <vector>

namespace qel {
namespace {

// Sets the three variables QelLanguage reads for the life of the object.
class ScopedLanguageEnv {
 public:
  ScopedLanguageEnv(const char* lc_all, const char* lc_messages, const char* lang) {
    Save("LC_ALL", lc_all);
    Save("LC_MESSAGES", lc_messages);
    Save("LANG", lang);
  }
  ~ScopedLanguageEnv() {
    for (const auto& [name, value, had] : saved_) {
      if (had) {
        setenv(name.c_str(), value.c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }

 private:
  struct Saved {
    std::string name, value;
    bool had;
  };
  void Save(const char* name, const char* value) {
    const char* old = getenv(name);
    saved_.push_back({name, old ? old : "", old != nullptr});
    if (value) {
      setenv(name, value, 1);
    } else {
      unsetenv(name);
    }
  }
  std::vector<Saved> saved_;
};

std::string TagUnder(const char* lc_all, const char* lc_messages, const char* lang) {
  ScopedLanguageEnv env(lc_all, lc_messages, lang);
  return ToUtf8(QelLanguage().Tag());
}

TEST(QelLanguage, TagOfTheMessagesLocale) {
  EXPECT_EQ(TagUnder(nullptr, nullptr, "es_CL.UTF-8"), "es-cl");
  EXPECT_EQ(TagUnder(nullptr, "en_US.UTF-8", "es_CL.UTF-8"), "en-us");
  EXPECT_EQ(TagUnder("de_DE@euro", "en_US.UTF-8", "es_CL.UTF-8"), "de-de");
  EXPECT_EQ(TagUnder(nullptr, nullptr, "es"), "es");
  EXPECT_EQ(TagUnder("C", nullptr, "es_CL.UTF-8"), "");
  EXPECT_EQ(TagUnder(nullptr, "POSIX", nullptr), "");
  EXPECT_EQ(TagUnder(nullptr, nullptr, nullptr), "");
}

}  // namespace
}  // namespace qel
