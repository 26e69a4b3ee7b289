# The DDE-style service: dispatch module, object model, in-process and D-Bus transports. The
# bus interface's introspection XML is compiled in and installed beside the other D-Bus
# interface files.
file(READ ${PROJECT_SOURCE_DIR}/src/dde/org.qelstd.Dde1.xml QEL_DDE_INTERFACE_XML)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${PROJECT_SOURCE_DIR}/src/dde/org.qelstd.Dde1.xml)
configure_file(${PROJECT_SOURCE_DIR}/src/dde/dbus_interface.cc.in
               ${PROJECT_BINARY_DIR}/generated/dde/dbus_interface.cc @ONLY)
# Listed relative to the source directory, like every other source, wherever the build is.
file(RELATIVE_PATH qel_dde_interface_cc ${PROJECT_SOURCE_DIR}
     ${PROJECT_BINARY_DIR}/generated/dde/dbus_interface.cc)
list(APPEND QEL_SOURCES
  src/dde/conversations.cc
  src/dde/dbus_names.cc
  src/dde/dbus_transport.cc
  src/dde/dde_errors.cc
  src/dde/dde_handles.cc
  src/dde/dde_module.cc
  src/dde/in_process_transport.cc
  src/dde/qel_dde.cc
  src/dde/qel_dde_item.cc
  src/dde/qel_dde_topic.cc
  ${qel_dde_interface_cc})
list(APPEND QEL_TESTS
  src/dde/dbus_names_test.cc
  src/dde/dde_dispatch_test.cc
  src/dde/dde_handles_test.cc
  src/dde/qel_dde_test.cc)
if(QEL_INSTALL)
  include(GNUInstallDirs)
  install(FILES src/dde/org.qelstd.Dde1.xml
          DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces)
endif()
