# What scripts/package makes with cpack: for Windows a zip; for Linux a tar.gz and Debian
# packages (liborvix0: what a host runs with; liborvix-dev: what it is built with; orvix: the
# command; where Qt is there, liborvix-qt0: the window of the plane parameters). Archives hold one folder with everything. Binaries are stripped.
set(CPACK_PACKAGE_NAME orvix)
set(CPACK_PACKAGE_VENDOR "Orvix")
set(CPACK_PACKAGE_CONTACT "The Orvix maintainers <maintainers@orvix.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_RESOURCE_FILE_README ${PROJECT_SOURCE_DIR}/README.md)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME orvix-${PROJECT_VERSION}-windows-x86_64)
else()
  set(CPACK_GENERATOR TGZ DEB)
  set(CPACK_PACKAGE_FILE_NAME orvix-${PROJECT_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR})
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# The libraries that the binaries themselves name, with the versions that they need.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME liborvix${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Orvix: point clouds on disk, shared libraries")
set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME orvix)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION science)
set(CPACK_COMPONENT_COMMAND_DESCRIPTION "Orvix: point clouds on disk, the command")
set(CPACK_DEBIAN_DIALOG_PACKAGE_NAME liborvix-qt${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENT_DIALOG_DESCRIPTION "Orvix: point clouds on disk, the window of the plane search")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvix-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Orvix: point clouds on disk, headers and examples")
# The command loads its texts, and the headers want their library, of this very version.
set(own_library "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "${own_library}")
set(CPACK_DEBIAN_DIALOG_PACKAGE_DEPENDS "${own_library}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${own_library}, libcgal-dev, libeigen3-dev, libexpected-dev")

include(CPack)
cpack_add_component(runtime)
cpack_add_component(command DEPENDS runtime)
if(TARGET orvix_qt)
  cpack_add_component(dialog DEPENDS runtime)
endif()
cpack_add_component(development DEPENDS runtime)
