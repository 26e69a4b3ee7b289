# What a client of the installed static library must find and link besides libqelstd.a, read
# from the library target's own link interface so that a dependency added to the library
# reaches the CMake package, the pkg-config file and the Debian package without a second list.
#
# Each imported target in the link interface is described by:
#   - the lines qelstdConfig.cmake runs to recreate it: find_dependency(<Package>) for a
#     <Package>::<name> target from find_package; pkg_check_modules() with the original
#     arguments for a PkgConfig::<PREFIX> target;
#   - its pkg-config modules (Requires.private), or failing that its library files
#     (Libs.private);
#   - the Debian packages that ship its link-time files (dpkg -S on the library files), which
#     libqelstd-dev depends on.

# pkg-config modules of find_package targets, which do not record them, and flags for targets
# that have none.
# Keyed by the target name as a C identifier (OpenSSL::Crypto -> OpenSSL__Crypto).
set(QEL_PKGCONFIG_MODULE_OpenSSL__Crypto libcrypto)
set(QEL_PKGCONFIG_MODULE_OpenSSL__SSL libssl)
set(QEL_PKGCONFIG_MODULE_ZLIB__ZLIB zlib)
set(QEL_LIBS_PRIVATE_Threads__Threads -pthread)
# libcurl by its flag, not its module: its module's static form names the static archives of
# every protocol library it was built with, which Debian's -dev packages do not all ship, so a
# static client links the shared libcurl.
set(QEL_LIBS_PRIVATE_CURL__libcurl -lcurl)

# The library files an imported target links, expanded through its own link interface.
function(qel_imported_library_files target out)
  set(files)
  foreach(prop IMPORTED_LOCATION IMPORTED_LOCATION_RELEASE IMPORTED_LOCATION_NOCONFIG
               INTERFACE_LINK_LIBRARIES)
    get_target_property(value ${target} ${prop})
    if(value)
      foreach(item IN LISTS value)
        if(IS_ABSOLUTE "${item}" AND EXISTS "${item}")
          list(APPEND files "${item}")
        endif()
      endforeach()
    endif()
  endforeach()
  list(REMOVE_DUPLICATES files)
  set(${out} "${files}" PARENT_SCOPE)
endfunction()

# The Debian packages owning the given files ("libssl-dev:amd64: /usr/lib/..." -> libssl-dev).
function(qel_debian_packages_of files out)
  set(packages)
  find_program(QEL_DPKG_QUERY dpkg-query)
  if(QEL_DPKG_QUERY AND files)
    foreach(f IN LISTS files)
      get_filename_component(real "${f}" REALPATH)
      foreach(path "${f}" "${real}")
        execute_process(COMMAND ${QEL_DPKG_QUERY} -S "${path}" OUTPUT_VARIABLE owners
                        ERROR_QUIET RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(status EQUAL 0)
          string(REGEX REPLACE "^([^:,]+).*" "\\1" owner "${owners}")
          list(APPEND packages "${owner}")
          break()
        endif()
      endforeach()
    endforeach()
    list(REMOVE_DUPLICATES packages)
  endif()
  set(${out} "${packages}" PARENT_SCOPE)
endfunction()

# Sets <prefix>_CONFIG (CMake lines), <prefix>_REQUIRES (pkg-config modules),
# <prefix>_LIBS (linker flags) and <prefix>_DEBIAN (package names) for target's link interface.
function(qel_describe_link_dependencies target prefix)
  get_target_property(interface ${target} INTERFACE_LINK_LIBRARIES)
  set(config "include(CMakeFindDependencyMacro)")
  set(requires)
  set(libs)
  set(debian)
  foreach(item IN LISTS interface)
    string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" dep "${item}")
    if(NOT TARGET "${dep}")
      if(dep MATCHES "^-")
        list(APPEND libs "${dep}")
      elseif(dep)
        list(APPEND libs "-l${dep}")
      endif()
      continue()
    endif()
    qel_imported_library_files(${dep} files)
    if(dep MATCHES "^PkgConfig::(.+)$")
      set(pkg_prefix "${CMAKE_MATCH_1}")
      set(modules)
      foreach(arg IN LISTS __pkg_config_arguments_${pkg_prefix})
        if(NOT arg MATCHES "^(REQUIRED|QUIET|IMPORTED_TARGET|GLOBAL|NO_CMAKE_PATH|NO_CMAKE_ENVIRONMENT_PATH)$")
          list(APPEND modules "${arg}")
        endif()
      endforeach()
      if(NOT modules)
        message(FATAL_ERROR "packaging: no pkg-config modules recorded for ${dep}")
      endif()
      list(JOIN modules " " module_text)
      string(APPEND config "\nfind_dependency(PkgConfig)\nif(NOT TARGET ${dep})\n"
             "  pkg_check_modules(${pkg_prefix} REQUIRED IMPORTED_TARGET ${module_text})\nendif()")
      list(APPEND requires ${modules})
    elseif(dep MATCHES "^([A-Za-z0-9_]+)::")
      set(line "find_dependency(${CMAKE_MATCH_1})")
      string(FIND "${config}" "${line}" seen)
      if(seen EQUAL -1)
        string(APPEND config "\n${line}")
      endif()
      string(MAKE_C_IDENTIFIER "${dep}" key)
      if(DEFINED QEL_PKGCONFIG_MODULE_${key})
        list(APPEND requires ${QEL_PKGCONFIG_MODULE_${key}})
      elseif(DEFINED QEL_LIBS_PRIVATE_${key})
        list(APPEND libs ${QEL_LIBS_PRIVATE_${key}})
      else()
        foreach(f IN LISTS files)
          list(APPEND libs "${f}")
        endforeach()
      endif()
    else()
      message(FATAL_ERROR "packaging: cannot describe the link dependency ${dep} of ${target}")
    endif()
    qel_debian_packages_of("${files}" owners)
    list(APPEND debian ${owners})
  endforeach()
  foreach(v requires libs debian)
    list(REMOVE_DUPLICATES ${v})
  endforeach()
  set(${prefix}_CONFIG "${config}" PARENT_SCOPE)
  list(JOIN requires " " requires)
  list(JOIN libs " " libs)
  set(${prefix}_REQUIRES "${requires}" PARENT_SCOPE)
  set(${prefix}_LIBS "${libs}" PARENT_SCOPE)
  set(${prefix}_DEBIAN "${debian}" PARENT_SCOPE)
endfunction()
