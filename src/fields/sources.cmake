list(APPEND QEL_SOURCES
  src/fields/qel_global.cc
  src/fields/rut.cc)
list(APPEND QEL_TESTS
  src/fields/rut_test.cc)
