list(APPEND QEL_SOURCES
  src/util/qel_locale.cc)
list(APPEND QEL_TESTS
  src/util/qel_locale_test.cc)
