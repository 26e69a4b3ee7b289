# Debian packages through CPack, one per install component (install.cmake):
#   libqelstd0      runtime  the shared library
#   libqelstd-dev   dev      headers, static library, CMake package, pkg-config file
#   python3-qelstd  python   the module, in /usr/lib/python3/dist-packages
#   qel-tools       tools    the qel tool and its man page
# The files come from the install rules, so whatever a rule installs lands in its component's
# package. Depends: dpkg-shlibdeps for the system libraries the binaries load; the -dev
# package depends on the runtime package of the same version and on the Debian packages that
# ship the static library's link dependencies (link_dependencies.cmake).
#
#   cmake --build build && cpack --config build/CPackConfig.cmake -B DIR
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qelstd)
set(CPACK_PACKAGE_VENDOR qelstd)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "qelstd <qelstd@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "record engine, property bags and desktop services for host transaction clients")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
# Install under the final prefix with DESTDIR, so that rules deciding by the prefix (the
# Python package's directory) see /usr.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
# Binaries without their debugging sections, as Debian ships them.
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL runtime dev python tools)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqelstd0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "qelstd shared library
A C++20 class library for the desktop clients and scripts of a host transaction
system: fixed-width records with digest-checked layouts, the link-record text,
property bags, the thread's event loop, and Chilean RUT validation.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libqelstd-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
list(JOIN QEL_DEPS_DEBIAN ", " qel_dev_depends)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${qel_dev_depends}")
set(CPACK_DEBIAN_DEV_DESCRIPTION "qelstd development files
Headers, the static library, the CMake package (find_package(qelstd), targets
qel::qelstd and qel::qelstd_static) and the pkg-config file (qelstd).")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-qelstd)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
if(QEL_BUILD_PYTHON)
  # The module is built for one interpreter version (python/CMakeLists.txt picks the system's).
  if(NOT DEFINED Python3_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python3_EXECUTABLE /usr/bin/python3)
  endif()
  find_package(Python3 COMPONENTS Interpreter REQUIRED)
  math(EXPR qel_python_next "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= ${Python3_VERSION_MAJOR}.\
${Python3_VERSION_MINOR}~), python3 (<< ${Python3_VERSION_MAJOR}.${qel_python_next})")
else()
  list(REMOVE_ITEM CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "qelstd for Python 3
The module qelstd: every public class of the library under its own name, for
scripts.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME qel-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "qelstd command-line tool
qel: the library's everyday jobs from a shell, and the demo of a typical
transaction.")

include(CPack)

if(QEL_BUILD_TESTS)
  # Builds the four packages into a temporary directory, checks their file lists and
  # dependencies, and (as root) installs them, uses them and removes them again.
  add_test(NAME install_debian_packages
           COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tests/install/debian_packages.py
                   ${CMAKE_CPACK_COMMAND} ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}
                   ${PROJECT_VERSION} $<BOOL:${QEL_BUILD_PYTHON}>)
  set_tests_properties(install_debian_packages PROPERTIES RUN_SERIAL ON
                       SKIP_REGULAR_EXPRESSION "SKIPPED:")
endif()
