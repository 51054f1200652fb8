# The .deb packages, as lintian wants them.
list(APPEND CPACK_COMPONENTS_ALL dev)
if(BUILD_SHARED_LIBS)
  list(APPEND CPACK_COMPONENTS_ALL lib)
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES TRUE)
# The first line of each package's description is its summary; CPack would put the common one in front of it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEB_COMPONENT_INSTALL ON)

# tamlo_install_compressed(file folder name component): a file as name.gz in a folder of the installed tree.
function(tamlo_install_compressed file folder name component)
  install(FILES ${file} DESTINATION ${folder} COMPONENT ${component} RENAME ${name})
  install(CODE "execute_process(COMMAND gzip -9nf \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${folder}/${name}\" COMMAND_ERROR_IS_FATAL ANY)"
    COMPONENT ${component})
endfunction()

# tamlo_deb(component package section): name, file and what every package has to hold.
macro(tamlo_deb component package section)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${key}_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/${package})
  set(TAMLO_PACKAGE ${package})
  string(TIMESTAMP TAMLO_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(changelog.in ${CMAKE_CURRENT_BINARY_DIR}/${package}.changelog @ONLY)
  tamlo_install_compressed(${CMAKE_CURRENT_BINARY_DIR}/${package}.changelog ${documents} changelog ${component})
  tamlo_install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${documents} CHANGELOG.md ${component})
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${documents} COMPONENT ${component} RENAME copyright)
endmacro()

if(TARGET tamlo)
  tamlo_deb(tool tamlo database)
  tamlo_install_compressed(${CMAKE_CURRENT_SOURCE_DIR}/tamlo.1 ${CMAKE_INSTALL_MANDIR}/fr/man1 tamlo.1 tool)
  tamlo_install_compressed(${CMAKE_CURRENT_SOURCE_DIR}/tamlo.1 ${CMAKE_INSTALL_MANDIR}/man1 tamlo.1 tool)
  install(FILES tamlo.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT tool)
  install(FILES tamlo.png DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/128x128/apps COMPONENT tool)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS "libsqliteodbc, odbc-mariadb, tdsodbc")
  set(CPACK_DEBIAN_TOOL_DESCRIPTION "Création d'un utilisateur d'une base des volumes
Petit outil d'administration : il donne à un utilisateur l'accès à un
volume d'une base des volumes, qui est un fichier Access, une base SQL
Server, Oracle, MySQL ou toute autre source ODBC. Un autre programme le
lance avec ses paramètres.")
endif()

if(TARGET tamlo-db)
  tamlo_deb(command tamlo-db database)
  set(pages ${PROJECT_BINARY_DIR}/cli)
  tamlo_install_compressed(${pages}/tamlo-db.1 ${CMAKE_INSTALL_MANDIR}/man1 tamlo-db.1 command)
  tamlo_install_compressed(${pages}/tamlo-db.fr.1 ${CMAKE_INSTALL_MANDIR}/fr/man1 tamlo-db.1 command)
  install(FILES ${pages}/tamlo-db.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT command RENAME tamlo-db)
  install(FILES ${pages}/_tamlo-db DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT command)
  install(FILES ${pages}/tamlo-db.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT command)
  set(CPACK_DEBIAN_COMMAND_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_COMMAND_PACKAGE_SUGGESTS "graphviz, libsqliteodbc, odbc-mariadb, odbc-postgresql")
  set(CPACK_DEBIAN_COMMAND_DESCRIPTION "whole databases moved, read and looked after from a shell
Says what a database holds, writes its rows and its definitions for other
engines, draws its tables and relations, and keeps Access files in order:
checking, compacting, copying while in use. Access files are read and
written by an engine of its own; no part of Access is needed, no screen
and no server.")
endif()

tamlo_deb(dev libtamlo-dev libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libsqlite3-dev, libssl-dev, unixodbc-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION "database layer over five kinds of database - development files
One way of working over Access files, SQL Server, Oracle, MySQL and any
other ODBC source: statements are written once and translated, table
definitions are created, edited and copied from one kind to another.
Access files are read and written by an engine of its own.

This package holds the headers, the libraries to link to, a CMake package
and a pkg-config file.")
if(BUILD_SHARED_LIBS)
  set(library_package libtamlo${PROJECT_VERSION_MAJOR})
  tamlo_deb(lib ${library_package} libs)
  set(CPACK_DEBIAN_LIB_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  string(APPEND CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ", ${library_package} (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_LIB_DESCRIPTION "database layer over five kinds of database - shared libraries
One way of working over Access files, SQL Server, Oracle, MySQL and any
other ODBC source. This package holds what programs need to run.")
else()
  # CMake strips programs and shared libraries only.
  install(CODE "if(CMAKE_INSTALL_DO_STRIP)
    file(GLOB archives \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/*.a\")
    execute_process(COMMAND ${CMAKE_STRIP} --strip-debug --enable-deterministic-archives --remove-section=.comment --remove-section=.note \${archives}
      COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT dev)
endif()
