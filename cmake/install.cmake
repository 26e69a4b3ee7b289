# Install rules, included from the root CMakeLists.txt when QEL_INSTALL is on.
#
# Whatever the prefix (`cmake --install build --prefix DIR`, the Debian packages under /usr),
# the installed files find each other: the CMake package and the pkg-config file locate the
# prefix from their own place, and the Python package's directory is chosen when installing
# (python/CMakeLists.txt).
#
# Every install rule names one of four components, one per Debian package (packaging.cmake):
#   runtime  the shared library                                          -> libqelstd0
#   dev      headers, static library, .so link, CMake package, .pc file  -> libqelstd-dev
#   python   the module qelstd                                           -> python3-qelstd
#   tools    the qel tool and its man page                               -> qel-tools
# A rule without COMPONENT would land in a fifth package; the package test refuses that.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
include(${CMAKE_CURRENT_LIST_DIR}/link_dependencies.cmake)

set(QEL_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qelstd)

install(TARGETS qelstd qelstd_static EXPORT qelstdTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
# A stripping install (cmake --install --strip, the Debian packages) strips executables and
# shared libraries itself; the static library keeps its symbols and loses only its debugging
# sections, as Debian's own -dev packages ship it.
if(CMAKE_STRIP)
  install(CODE "
    if(CMAKE_INSTALL_DO_STRIP)
      execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug
        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:qelstd_static>\")
    endif()" COMPONENT dev)
endif()
install(DIRECTORY include/qel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT qelstdTargets NAMESPACE qel:: DESTINATION ${QEL_CMAKE_PACKAGE_DIR}
        COMPONENT dev)

# What a client must find besides the library: read from the static library's link interface
# (the shared library links its dependencies privately).
qel_describe_link_dependencies(qelstd_static QEL_DEPS)
set(QEL_CONFIG_DEPENDENCIES "${QEL_DEPS_CONFIG}")
configure_package_config_file(cmake/qelstdConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qelstdConfig.cmake INSTALL_DESTINATION ${QEL_CMAKE_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qelstdConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qelstdConfig.cmake
        ${PROJECT_BINARY_DIR}/qelstdConfigVersion.cmake
        DESTINATION ${QEL_CMAKE_PACKAGE_DIR} COMPONENT dev)

# pkg-config: the prefix is found from the file's own directory, so the file stays true
# wherever the tree is installed or unpacked.
set(QEL_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
foreach(dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    message(FATAL_ERROR "qelstd installs relative to its prefix: CMAKE_INSTALL_${dir} "
                        "must be a relative path, not ${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
file(RELATIVE_PATH QEL_PC_TO_PREFIX /prefix/${QEL_PKGCONFIG_DIR} /prefix)
string(REGEX REPLACE "/$" "" QEL_PC_TO_PREFIX "${QEL_PC_TO_PREFIX}")
set(QEL_PC_REQUIRES_PRIVATE "${QEL_DEPS_REQUIRES}")
set(QEL_PC_LIBS_PRIVATE "${QEL_DEPS_LIBS}")
configure_file(cmake/qelstd.pc.in ${PROJECT_BINARY_DIR}/qelstd.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qelstd.pc DESTINATION ${QEL_PKGCONFIG_DIR} COMPONENT dev)

# The tool and its man page, generated from `qel --help` and each `qel COMMAND --help`.
install(TARGETS qel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
find_program(QEL_HELP2MAN help2man)
find_program(QEL_GZIP gzip)
if(QEL_HELP2MAN AND QEL_GZIP)
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/man/qel.1 ${PROJECT_BINARY_DIR}/man/qel.1.gz
    COMMAND ${CMAKE_COMMAND} -DQEL=$<TARGET_FILE:qel> -DHELP2MAN=${QEL_HELP2MAN}
            -DGZIP=${QEL_GZIP} -DOUT=${PROJECT_BINARY_DIR}/man/qel.1
            -P ${PROJECT_SOURCE_DIR}/cmake/qel_manpage.cmake
    DEPENDS qel ${PROJECT_SOURCE_DIR}/cmake/qel_manpage.cmake
    COMMENT "Generating the man page of qel")
  add_custom_target(qel_manpage ALL DEPENDS ${PROJECT_BINARY_DIR}/man/qel.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/man/qel.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
          COMPONENT tools)
else()
  message(WARNING "help2man or gzip not found: qel is installed without its man page "
                  "(scripts/setup.sh installs help2man)")
endif()

if(QEL_BUILD_TESTS)
  # Installs into a temporary prefix and uses what it finds there: a client built through
  # pkg-config and through find_package, the tool, the module.
  find_program(QEL_PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
  add_test(NAME install_prefix
           COMMAND ${PROJECT_SOURCE_DIR}/tests/install/install_prefix.sh ${PROJECT_BINARY_DIR}
                   ${PROJECT_SOURCE_DIR}/tests/install ${CMAKE_CXX_COMPILER} ${QEL_PKG_CONFIG}
                   ${Python3_EXECUTABLE} $<BOOL:${QEL_BUILD_PYTHON}>)
  # It compiles and installs for a while: alone, so that it neither races the package test
  # over the build tree nor loads the machine under the suite's timing checks.
  set_tests_properties(install_prefix PROPERTIES RUN_SERIAL ON)
endif()
