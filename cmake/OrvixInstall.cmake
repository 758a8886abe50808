# cmake --install: the shared library with its public headers, find_package(orvix CONFIG) and
# pkg-config; the importer as a shared library of its own; the command; the localisation library.
# Components: runtime (what a host runs with), command, development (what a host is built with).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
# Installing never builds: scripts/package and the tests name the products.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

get_property(public_headers GLOBAL PROPERTY ORVIX_PUBLIC_HEADERS)
foreach(header IN LISTS public_headers)
  get_filename_component(room ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/orvix/${header}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvix/${room} COMPONENT development)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/generated/orvix/version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvix COMPONENT development)

# The C interface's declarations for other languages, to copy into a host's own sources.
install(FILES orvix/c/bindings/Orvix.cs orvix/c/bindings/orvix.py
  DESTINATION ${CMAKE_INSTALL_DATADIR}/orvix/bindings COMPONENT development)

# The importer for hosts: its own objects, and from the static archive a private copy of what they
# use of the library; only its public interface is exported.
add_library(orvix_importer_shared SHARED $<TARGET_OBJECTS:orvix_importer>
  ${PROJECT_SOURCE_DIR}/orvix/c/import_calls.cpp ${PROJECT_SOURCE_DIR}/orvix/c/boundary.cpp)
target_compile_definitions(orvix_importer_shared PRIVATE ORVIX_BUILDING_IMPORTER)
add_library(orvix::importer ALIAS orvix_importer_shared)
set_target_properties(orvix_importer_shared PROPERTIES
  OUTPUT_NAME orvix_importer EXPORT_NAME importer
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
if(MINGW)
  set_target_properties(orvix_importer_shared PROPERTIES PREFIX "")
endif()
orvix_version_resource(orvix_importer_shared "Orvix scan importer")
target_include_directories(orvix_importer_shared PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include>)
target_link_libraries(orvix_importer_shared PUBLIC tl::expected PRIVATE
  $<BUILD_INTERFACE:orvix_static> $<BUILD_INTERFACE:orvix_parallel>)
if(NOT MSVC)
  target_link_options(orvix_importer_shared PRIVATE "LINKER:--no-undefined" "LINKER:--exclude-libs,ALL")
endif()
install(FILES ${PROJECT_SOURCE_DIR}/orvix/platform/error.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvix/platform COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/detection/plane_search.h ${PROJECT_SOURCE_DIR}/detection/found_plane.h
  ${PROJECT_SOURCE_DIR}/detection/plane_set.h ${PROJECT_SOURCE_DIR}/detection/saved_planes.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/detection COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/building/building.h ${PROJECT_SOURCE_DIR}/building/find_building.h
  ${PROJECT_SOURCE_DIR}/building/saved_building.h ${PROJECT_SOURCE_DIR}/building/wall_frame.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/building COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/importer/import.h ${PROJECT_SOURCE_DIR}/importer/import_options.h
  ${PROJECT_SOURCE_DIR}/importer/import_result.h ${PROJECT_SOURCE_DIR}/importer/import_tasks.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/importer COMPONENT development)

# Products have their final run paths in the build tree too: for a shorter one CMake keeps room by
# empty entries, which stand for the current folder.
foreach(library orvix orvix_importer_shared Orvix.Localization)
  set_target_properties(${library} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
endforeach()
set_target_properties(orvix_cli PROPERTIES BUILD_WITH_INSTALL_RPATH ON
  INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS orvix orvix_importer_shared EXPORT orvixTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS Orvix.Localization
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(TARGETS orvix_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command)
add_custom_target(orvix_products)
add_dependencies(orvix_products orvix orvix_importer_shared Orvix.Localization orvix_cli)

# The Qt window stands beside the library that loads it, as a component of its own: hosts without a
# desktop leave it out.
if(TARGET orvix_qt)
  set_target_properties(orvix_qt PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
  add_dependencies(orvix_products orvix_qt)
  install(TARGETS orvix_qt LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dialog)
endif()

# What reads IFC models needs a library that hosts and most users can do without.
if(TARGET orvix_ifc)
  add_dependencies(orvix_products orvix_ifc)
  install(TARGETS orvix_ifc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ifc)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvix)
install(EXPORT orvixTargets NAMESPACE orvix:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/orvixConfig.cmake.in ${PROJECT_BINARY_DIR}/orvixConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvixConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvixConfig.cmake ${PROJECT_BINARY_DIR}/orvixConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)
file(RELATIVE_PATH ORVIX_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/orvix.pc.in ${PROJECT_BINARY_DIR}/orvix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvix.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(FILES LICENSE README.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(FILES docs/COMMAND.md docs/VIEW.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT command)
install(FILES docs/FORMAT.md docs/BEHAVIOUR.md docs/GLOSSARY.md docs/EMBEDDING.md docs/PYTHON.md docs/WINDOWS.md
  docs/DEPENDENCIES.md
  docs/message-box.png docs/python.png docs/building.ipynb
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

# What a host's developer starts from: examples with a build of their own, and a scan for it.
install(FILES examples/01_import_open_seed_outline.cpp examples/07_all_planes.cpp examples/12_section.cpp
  samples/building.ply samples/README.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development)
install(FILES examples/package/CMakeLists.txt
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development)

# The page that `orvix view` serves, for the command; it is the same on every system.
if(ORVIX_PAGE)
  add_dependencies(orvix_products orvix_page)
  install(DIRECTORY ${ORVIX_PAGE_FOLDER} DESTINATION ${CMAKE_INSTALL_DATADIR}/orvix COMPONENT command OPTIONAL)
endif()

# The terms of what the products hold of others, from the packages that it was built from.
set(borrowed_packages libcgal-dev libeigen3-dev libnanoflann-dev libfmt-dev nlohmann-json3-dev
  libcli11-dev libstb-dev libxxhash-dev libexpected-dev)
if(MINGW)
  list(APPEND borrowed_packages mingw-w64-common g++-mingw-w64-x86-64-posix)
endif()
foreach(package IN LISTS borrowed_packages)
  if(EXISTS /usr/share/doc/${package}/copyright)
    install(FILES /usr/share/doc/${package}/copyright RENAME ${package}.txt
      DESTINATION ${CMAKE_INSTALL_DOCDIR}/licences COMPONENT runtime)
  endif()
endforeach()
file(GLOB boost_terms /usr/share/doc/libboost1.*-dev/copyright)
if(boost_terms)
  list(GET boost_terms 0 boost_terms)
  install(FILES ${boost_terms} RENAME libboost-dev.txt
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/licences COMPONENT runtime)
endif()
include(OrvixSbom)
install(FILES ${ORVIX_SBOM} DESTINATION ${CMAKE_INSTALL_DOCDIR}/licences COMPONENT runtime)
# The command's own: the letters of its pictures.
install(FILES output/drawing/font/LICENSE.txt RENAME dejavu-sans.txt
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/licences COMPONENT command)

if(MINGW)
  install(FILES ${PROJECT_BINARY_DIR}/lib/orvix.def
    DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  # The one header of others that the interfaces of the importer and of the search for planes need.
  install(FILES ${PROJECT_BINARY_DIR}/borrowed-headers/tl/expected.hpp
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tl COMPONENT development)
endif()
