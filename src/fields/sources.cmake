list(APPEND QEL_SOURCES
  src/fields/field_descriptor.cc
  src/fields/layout_digest.cc
  src/fields/qel_record_data.cc
  src/fields/qel_record_field.cc
  src/fields/qel_record_fields.cc
  src/fields/rut.cc)
list(APPEND QEL_TESTS
  src/fields/qel_record_data_test.cc
  src/fields/qel_record_field_test.cc
  src/fields/qel_record_fields_test.cc
  src/fields/rut_test.cc)
