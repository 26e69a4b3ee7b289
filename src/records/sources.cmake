list(APPEND QEL_SOURCES
  src/records/qel_record_labels.cc)
list(APPEND QEL_TESTS
  src/records/qel_record_labels_test.cc)
