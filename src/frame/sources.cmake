list(APPEND QEL_SOURCES
  src/frame/convert.cc
  src/frame/date.cc
  src/frame/date_text.cc
  src/frame/decimal.cc
  src/frame/error.cc
  src/frame/keyed_hash.cc
  src/frame/locale.cc
  src/frame/log.cc
  src/frame/number_format.cc
  src/frame/number_scan.cc
  src/frame/object.cc
  src/frame/template.cc
  src/frame/text.cc
  src/frame/unit_scan.cc
  src/frame/url_encode.cc
  src/frame/variant.cc)
list(APPEND QEL_TESTS
  src/frame/convert_test.cc
  src/frame/decimal_test.cc
  src/frame/error_test.cc
  src/frame/keyed_hash_test.cc
  src/frame/number_format_test.cc
  src/frame/object_test.cc
  src/frame/text_test.cc
  src/frame/unit_scan_test.cc
  src/frame/url_encode_test.cc)
