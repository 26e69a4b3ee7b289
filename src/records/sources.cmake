list(APPEND QEL_SOURCES
  src/records/formula_parser.cc
  src/records/layout_builder.cc
  src/records/link_record.cc
  src/records/qel_message.cc
  src/records/qel_record.cc
  src/records/qel_record_labels.cc
  src/records/record_eval.cc
  src/records/record_text.cc
  src/records/whole_value.cc)
list(APPEND QEL_TESTS
  src/records/formula_parser_test.cc
  src/records/link_record_test.cc
  src/records/qel_message_test.cc
  src/records/qel_record_labels_test.cc
  src/records/qel_record_test.cc
  src/records/record_text_test.cc)
