list(APPEND QEL_SOURCES
  src/props/name_index.cc
  src/props/props_loaders.cc
  src/props/props_parser.cc
  src/props/props_writer.cc
  src/props/qel_prop.cc
  src/props/qel_props.cc
  src/props/typed_value.cc)
list(APPEND QEL_TESTS
  src/props/props_hostile_test.cc
  src/props/props_loaders_test.cc
  src/props/props_text_test.cc
  src/props/qel_props_test.cc
  src/props/typed_value_test.cc)
