# The layer as a library of other programs: the libraries, their public headers, the CMake package and the pkg-config file. Headers lie under
# include/tamlo as in the repository: #include "db/DataBase.h".
include(CMakePackageConfigHelpers)

# In the order in which the linker wants static ones.
set(TAMLO_LIBRARIES)
foreach(library tamlo_fournisseurs tamlo_ado_jet tamlo_ado_sqlite jet_sql jet tamlo_ado_odbc tamlo_db tamlo_pompe tamlo_support tamlo_ui tamlo_ado tamlo_runtime tamlo_base)
  if(TARGET ${library})
    list(APPEND TAMLO_LIBRARIES ${library})
  endif()
endforeach()

# Libraries that call each other find each other where they lie, wherever that is.
set_target_properties(${TAMLO_LIBRARIES} PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS ${TAMLO_LIBRARIES} EXPORT tamloTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT lib NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tamlo COMPONENT dev)
install(EXPORT tamloTargets NAMESPACE tamlo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tamlo COMPONENT dev)

if(TARGET OpenSSL::Crypto)
  set(TAMLO_OPENSSL ON)
else()
  set(TAMLO_OPENSSL OFF)
endif()
configure_package_config_file(tamloConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/tamloConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tamlo)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/tamloConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tamloConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/tamloConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tamlo COMPONENT dev)

# Shared libraries bring what they need by themselves.
list(TRANSFORM TAMLO_LIBRARIES PREPEND "-l" OUTPUT_VARIABLE link_names)
list(JOIN link_names " " TAMLO_LINK_NAMES)
set(TAMLO_NATIVE_LIBRARIES "-lodbc -lsqlite3")
if(TAMLO_OPENSSL)
  string(APPEND TAMLO_NATIVE_LIBRARIES " -lcrypto")
endif()
if(BUILD_SHARED_LIBS)
  set(TAMLO_LIBS "${TAMLO_LINK_NAMES} -pthread")
  set(TAMLO_LIBS_PRIVATE "${TAMLO_NATIVE_LIBRARIES}")
else()
  set(TAMLO_LIBS "${TAMLO_LINK_NAMES} ${TAMLO_NATIVE_LIBRARIES} -pthread")
  set(TAMLO_LIBS_PRIVATE "")
endif()
# The package may be unpacked anywhere.
file(RELATIVE_PATH TAMLO_PREFIX_OF_PC /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(tamlo.pc.in ${CMAKE_CURRENT_BINARY_DIR}/tamlo.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tamlo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
