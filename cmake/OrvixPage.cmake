# The page that `orvix view` serves: npm brings what it is made with, vite makes it. It is made once
# for all presets of this tree, in build/page, and copied beside each one's programs.
set(ORVIX_BUILD_PAGE AUTO CACHE STRING "Page of orvix view: AUTO (where Node.js is installed), ON or OFF")
set_property(CACHE ORVIX_BUILD_PAGE PROPERTY STRINGS AUTO ON OFF)
set(ORVIX_PAGE FALSE)
if(NOT ORVIX_BUILD_PAGE)
  add_custom_target(orvix_page)
  return()
endif()

find_program(ORVIX_NODE node)
find_program(ORVIX_NPM npm)
set(node_version 0)
if(ORVIX_NODE)
  execute_process(COMMAND ${ORVIX_NODE} --version OUTPUT_VARIABLE node_version ERROR_QUIET)
  string(REGEX MATCH "[0-9.]+" node_version "${node_version}")
endif()
if(NOT ORVIX_NPM OR node_version VERSION_LESS 18)
  if(NOT ORVIX_BUILD_PAGE STREQUAL "AUTO")
    message(FATAL_ERROR "The page of `orvix view` is made with Node.js 18 or later and npm, of which one is "
      "missing (Node.js here: ${node_version}). scripts/packages.sh page installs them; "
      "-DORVIX_BUILD_PAGE=OFF leaves the page out")
  endif()
  message(STATUS "The page of `orvix view` is left out: Node.js 18 and npm are not installed")
  add_custom_target(orvix_page)
  return()
endif()
set(ORVIX_PAGE TRUE)

set(page_source ${PROJECT_SOURCE_DIR}/view/page)
cmake_path(GET PROJECT_BINARY_DIR PARENT_PATH page_build)
if(NOT page_build STREQUAL "${PROJECT_SOURCE_DIR}/build")
  set(page_build ${PROJECT_BINARY_DIR})
endif()
set(ORVIX_PAGE_BUILD ${page_build}/page CACHE PATH "Where the page is made, and its packages are")
set(ORVIX_PAGE_FOLDER ${PROJECT_BINARY_DIR}/share/orvix/view)
file(GLOB_RECURSE page_files CONFIGURE_DEPENDS
  ${page_source}/src/* ${page_source}/public/* ${page_source}/test/*)
# Not below: an editor's packages may be there.
file(GLOB page_settings CONFIGURE_DEPENDS
  ${page_source}/*.js ${page_source}/*.json ${page_source}/*.html ${page_source}/.npmrc)
list(APPEND page_files ${page_settings})
# A page that could not be made is tried again when something is configured anew.
if(NOT EXISTS ${ORVIX_PAGE_FOLDER}/index.html)
  file(REMOVE ${PROJECT_BINARY_DIR}/page.stamp)
endif()
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/page.stamp
  COMMAND ${CMAKE_COMMAND} -DSOURCE=${page_source} -DBUILD=${ORVIX_PAGE_BUILD} -DTARGET=${ORVIX_PAGE_FOLDER}
    -DNODE=${ORVIX_NODE} -DNPM=${ORVIX_NPM} -DNEEDED=${ORVIX_BUILD_PAGE}
    -P ${PROJECT_SOURCE_DIR}/cmake/make_page.cmake
  COMMAND ${CMAKE_COMMAND} -E touch ${PROJECT_BINARY_DIR}/page.stamp
  DEPENDS ${page_files} ${PROJECT_SOURCE_DIR}/cmake/make_page.cmake
  COMMENT "Page of orvix view" VERBATIM)
add_custom_target(orvix_page ALL DEPENDS ${PROJECT_BINARY_DIR}/page.stamp)
