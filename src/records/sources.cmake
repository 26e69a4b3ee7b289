list(APPEND QEL_SOURCES
  src/records/formula_parser.cc
  src/records/qel_record_labels.cc)
list(APPEND QEL_TESTS
  src/records/formula_parser_test.cc
  src/records/qel_record_labels_test.cc)
