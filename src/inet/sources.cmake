list(APPEND QEL_SOURCES
  src/inet/gzip_inflate.cc
  src/inet/http_transfer.cc
  src/inet/inet_error.cc
  src/inet/qel_inet.cc
  src/inet/reply_headers.cc
  src/inet/url_parts.cc
  src/inet/user_agent.cc)
list(APPEND QEL_TESTS
  src/inet/gzip_inflate_test.cc
  src/inet/http_test.cc
  src/inet/reply_headers_test.cc
  src/inet/url_parts_test.cc)
set_source_files_properties(src/inet/http_test.cc PROPERTIES
  COMPILE_DEFINITIONS QEL_TEST_SERVER="${PROJECT_SOURCE_DIR}/tests/inet/http_server.py")
