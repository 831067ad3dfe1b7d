# Installation as a package: Tarnwick and moresc in bin/, the MoreSC static
# library in lib/, its public headers in include/MoreSC/, the manual pages
# Tarnwick(8) and moresc(8), a CMake package (find_package(MoreSC) gives the
# imported target MoreSC::MoreSC) and a pkg-config file (moresc.pc).
# Included by the top-level CMakeLists.txt after the targets are defined.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(TARNWICK_INSTALL "Generate the install rules" ${PROJECT_IS_TOP_LEVEL})

# The pkg-config modules that a program linking the installed library needs
# too. The CMake package and moresc.pc both take them from this one list.
set(MORESC_PACKAGE_REQUIRES expat)

# moresc(8): its table of statuses is made from the list that moresc's
# failure messages use (moresc/StatusTable.def), one ".TP" entry a status.
set(status_table ${PROJECT_SOURCE_DIR}/moresc/StatusTable.def)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${status_table})
file(STRINGS ${status_table} status_lines REGEX "^MORESC_STATUS\\(")
set(MORESC_MAN_STATUSES "")
foreach(line IN LISTS status_lines)
  if(NOT line MATCHES "^MORESC_STATUS\\((-?[0-9]+), \"([^\"]*)\", \"(.*)\"\\)$")
    message(FATAL_ERROR "${status_table}: cannot read the entry: ${line}")
  endif()
  string(REPLACE "-" "\\-" code "${CMAKE_MATCH_1}")
  set(name "${CMAKE_MATCH_2}")
  string(REPLACE "\\\"" "\"" meaning "${CMAKE_MATCH_3}")
  if(name)
    set(meaning "${name}: ${meaning}")
  endif()
  string(APPEND MORESC_MAN_STATUSES ".TP 8\n.B ${code}\n${meaning}\n")
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/man/moresc.8.in ${PROJECT_BINARY_DIR}/man/moresc.8 @ONLY)

if(NOT TARNWICK_INSTALL)
  return()
endif()

install(TARGETS Tarnwick moresc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS MoreSC ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/man/Tarnwick.8 ${PROJECT_BINARY_DIR}/man/moresc.8
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)

# The public headers are include/MoreSC.h and every header it includes,
# directly or through others. Each keeps its place relative to the folder it
# is included from, so the includes between them resolve in the installed
# folder as they do in the sources.
set(MORESC_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/MoreSC)
set(pending ${PROJECT_SOURCE_DIR}/include/MoreSC.h)
set(public_headers)
while(pending)
  list(POP_FRONT pending header)
  if(header IN_LIST public_headers)
    continue()
  endif()
  list(APPEND public_headers ${header})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
  file(STRINGS ${header} include_lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
  get_filename_component(header_dir ${header} DIRECTORY)
  foreach(line IN LISTS include_lines)
    string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]+)\".*" "\\1" included "${line}")
    set(found "")
    foreach(base IN ITEMS ${header_dir} ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
      if(NOT found AND EXISTS ${base}/${included})
        get_filename_component(found ${base}/${included} ABSOLUTE)
      endif()
    endforeach()
    if(NOT found)
      message(FATAL_ERROR "${header} includes \"${included}\", which is not in the sources")
    endif()
    list(APPEND pending ${found})
  endforeach()
endwhile()
foreach(header IN LISTS public_headers)
  file(RELATIVE_PATH relative ${PROJECT_SOURCE_DIR} ${header})
  if(relative MATCHES "^include/")
    string(REGEX REPLACE "^include/" "" relative ${relative})
  endif()
  get_filename_component(relative_dir "${relative}" DIRECTORY)
  install(FILES ${header} DESTINATION ${MORESC_INSTALL_INCLUDEDIR}/${relative_dir})
endforeach()

# The CMake package. The library is described as an imported target of its
# own (rather than exported from the build) so that its dependencies are the
# pkg-config modules above and nothing of how this build found them.
set(MORESC_INSTALL_LIBRARY
    ${CMAKE_INSTALL_LIBDIR}/${CMAKE_STATIC_LIBRARY_PREFIX}MoreSC${CMAKE_STATIC_LIBRARY_SUFFIX})
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/MoreSC)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/MoreSCConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/package/MoreSCConfig.cmake
                              INSTALL_DESTINATION ${package_dir}
                              PATH_VARS MORESC_INSTALL_LIBRARY MORESC_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/MoreSCConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/MoreSCConfig.cmake ${PROJECT_BINARY_DIR}/package/MoreSCConfigVersion.cmake
        DESTINATION ${package_dir})

# moresc.pc finds the prefix from its own place, so the installed tree can
# be moved (and installed with --prefix) as a whole.
file(RELATIVE_PATH MORESC_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" MORESC_PC_PREFIX "${MORESC_PC_PREFIX}")
string(JOIN " " MORESC_PC_REQUIRES ${MORESC_PACKAGE_REQUIRES})
configure_file(${PROJECT_SOURCE_DIR}/cmake/moresc.pc.in ${PROJECT_BINARY_DIR}/package/moresc.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/moresc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The package seen from outside: installed into a scratch folder, then a
# small program configured against it with find_package and with
# pkg-config, moresc built from its own sources against it, and both manual
# pages rendered.
if(TARNWICK_TESTS)
  set(package_test_flags "")
  if(TARNWICK_SANITIZE)
    set(package_test_flags "-fsanitize=address,undefined")
  endif()
  add_test(NAME package.InstallsAndLinks
           COMMAND bash ${PROJECT_SOURCE_DIR}/tests/package/check-package.sh
                   ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR} ${CMAKE_CXX_COMPILER} "${package_test_flags}"
                   ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR} ${CMAKE_INSTALL_INCLUDEDIR} ${CMAKE_INSTALL_MANDIR})
  set_tests_properties(package.InstallsAndLinks PROPERTIES TIMEOUT 300)
endif()
