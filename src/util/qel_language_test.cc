#include "qel/util/qel_language.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

namespace qel {
namespace {

// The tag QelLanguage reads with LC_ALL, LC_MESSAGES and LANG set as given (null: unset);
// the environment is restored afterwards.
std::string TagUnder(const char* lc_all, const char* lc_messages, const char* lang) {
  const char* names[] = {"LC_ALL", "LC_MESSAGES", "LANG"};
  const char* values[] = {lc_all, lc_messages, lang};
  std::string saved[3];
  bool had[3];
  for (int i = 0; i < 3; ++i) {
    const char* old = getenv(names[i]);
    had[i] = old != nullptr;
    if (had[i]) saved[i] = old;
    values[i] ? setenv(names[i], values[i], 1) : unsetenv(names[i]);
  }
  const std::string tag = ToUtf8(QelLanguage().Tag());
  for (int i = 0; i < 3; ++i) had[i] ? setenv(names[i], saved[i].c_str(), 1) : unsetenv(names[i]);
  return tag;
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
