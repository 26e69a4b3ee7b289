list(APPEND QEL_SOURCES
  src/util/qel_language.cc
  src/util/qel_locale.cc)
list(APPEND QEL_TESTS
  src/util/qel_language_test.cc
  src/util/qel_locale_test.cc)
