list(APPEND QEL_SOURCES
  src/util/file_utils.cc
  src/util/qel_language.cc
  src/util/qel_locale.cc)
list(APPEND QEL_TESTS
  src/util/file_utils_test.cc
  src/util/qel_language_test.cc
  src/util/qel_locale_test.cc)
