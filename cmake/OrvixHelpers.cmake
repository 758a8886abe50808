# orvix_test(NAME room_thing SOURCES a.cpp b.cpp LIBRARIES lib [THREADS filter])
# One executable, one ctest entry: GoogleTest's own filter serves single cases. THREADS names the cases
# with several threads: the preset tsan builds these tests (target thread_tests) and runs those cases.
function(orvix_test)
  cmake_parse_arguments(T "" "NAME;TIMEOUT;THREADS" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE orvix_static orvix_test_support ${T_LIBRARIES} GTest::gmock GTest::gtest_main)
  orvix_quick_to_compile(${T_NAME})
  orvix_plain_under_sanitizers(${T_NAME})
  if(ORVIX_PRECOMPILED)
    target_precompile_headers(${T_NAME} REUSE_FROM orvix_test_main)
  endif()
  add_test(NAME ${T_NAME} COMMAND ${T_NAME})
  # What the library reads and writes back while it is loaded stays away from the user's own settings.
  set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT}
    ENVIRONMENT ORVIX_SETTINGS_DIR=${PROJECT_BINARY_DIR}/test-settings/${T_NAME})
  if(T_THREADS)
    set_tests_properties(${T_NAME} PROPERTIES LABELS threads)
    add_dependencies(thread_tests ${T_NAME})
    if(ORVIX_SANITIZE STREQUAL thread)
      set_property(TEST ${T_NAME} APPEND PROPERTY ENVIRONMENT "GTEST_FILTER=${T_THREADS}")
      set_property(TEST ${T_NAME} PROPERTY FAIL_REGULAR_EXPRESSION "Running 0 tests")
    endif()
  endif()
endfunction()

# orvix_uses_devices(name): a test that runs kernels. What drivers compile and keep stays in the build.
function(orvix_uses_devices name)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/kernel-cache)
  set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT
    POCL_CACHE_DIR=${PROJECT_BINARY_DIR}/kernel-cache MESA_SHADER_CACHE_DISABLE=true
    LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/driver_leaks.txt:print_suppressions=0)
  if(CMAKE_CROSSCOMPILING)
    # Direct3D needs a display.
    set_target_properties(${name} PROPERTIES
      CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/scripts/wine-display)
  endif()
endfunction()

# orvix_skipped_test(name reason): a test that cannot be in this build, which ctest and scripts/test tell.
function(orvix_skipped_test name reason)
  add_test(NAME ${name} COMMAND ${CMAKE_COMMAND} -E echo "skipped: ${reason}")
  set_tests_properties(${name} PROPERTIES SKIP_REGULAR_EXPRESSION "^skipped: ")
endfunction()

# orvix_public_headers(room header.h ...): what a host sees of a room; installed with the library.
function(orvix_public_headers room)
  foreach(header IN LISTS ARGN)
    set_property(GLOBAL APPEND PROPERTY ORVIX_PUBLIC_HEADERS ${room}/${header})
  endforeach()
endfunction()

# orvix_library_objects(target): objects that become part of the shared library.
function(orvix_library_objects target)
  target_compile_definitions(${target} PRIVATE ORVIX_BUILDING)
  target_link_libraries(${target} PUBLIC orvix_options CGAL::CGAL Eigen3::Eigen tl::expected orvix_fmt Threads::Threads)
  target_include_directories(${target} PUBLIC ${PROJECT_BINARY_DIR}/generated)
  # Third-party headers are not ours to warn about.
  target_include_directories(${target} SYSTEM PUBLIC ${ORVIX_NANOFLANN_INCLUDE})
  orvix_precompiled(${target})
endfunction()

# orvix_exports_nothing(archive): on Windows such objects ask the linker to export the host-facing
# classes. Programs and the importer, which link the archive, export none of them.
function(orvix_exports_nothing archive)
  if(MINGW)
    add_custom_command(TARGET ${archive} POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} --remove-section=.drectve $<TARGET_FILE:${archive}> VERBATIM)
  endif()
endfunction()

# orvix_window_resource(target): the look of the library's windows on Windows is a resource of the
# module that its code is part of: the DLL, or a program that links the archive and opens one.
function(orvix_window_resource target)
  if(WIN32)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/orvix/platform/win32/row_window.rc)
  endif()
endfunction()

# orvix_version_resource(target description): what Windows shows as a product's details.
function(orvix_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  set(ORVIX_FILE_TYPE VFT_APP)
  if(type STREQUAL "SHARED_LIBRARY")
    set(ORVIX_FILE_TYPE VFT_DLL)
  endif()
  set(ORVIX_DESCRIPTION "${description}")
  string(REPLACE "." "," ORVIX_VERSION_NUMBERS "${PROJECT_VERSION}")
  set(resource ${PROJECT_BINARY_DIR}/generated/${target}.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
  target_sources(${target} PRIVATE ${resource})
endfunction()

# orvix_precompiled(target [header ...]): the headers of cmake/precompiled.h are read once for all
# sources of the target. Archives share one such reading; what names further headers, or is a
# program, has its own. It saves time and nothing else: a build with ORVIX_PRECOMPILED off proves
# that sources name what they use.
function(orvix_precompiled target)
  if(NOT ORVIX_PRECOMPILED)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  if(ARGN OR type STREQUAL EXECUTABLE)
    target_precompile_headers(${target} PRIVATE <cmake/precompiled.h> ${ARGN})
  else()
    target_precompile_headers(${target} REUSE_FROM orvix_headers)
  endif()
endfunction()

# orvix_quick_to_compile(target): for what runs for moments and is compiled often, tests and verbs.
function(orvix_quick_to_compile target)
  if(NOT MSVC AND CMAKE_BUILD_TYPE STREQUAL Release)
    target_compile_options(${target} PRIVATE -O1)
  endif()
endfunction()

# orvix_plain_under_sanitizers(target): for sources of tests. What sanitizers put into each inlined
# template, an optimiser reads again and again; what is tested is optimised all the same.
function(orvix_plain_under_sanitizers target)
  if(ORVIX_SANITIZE AND NOT ORVIX_LIBFUZZER)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# orvix_quiet_overread(target): for sources with a copy of L"" that GCC 12 takes for one of more than
# its two bytes, where wide characters have two.
function(orvix_quiet_overread target)
  if(MINGW AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-stringop-overread)
  endif()
endfunction()
