list(APPEND QEL_SOURCES
  src/global/qel_global.cc
  src/global/value_compare.cc)
list(APPEND QEL_TESTS
  src/global/value_compare_test.cc)
