# One interface target carries what every source is compiled with, so that results are the same
# bit for bit on every machine: no fast-math, no contraction into fused multiply-adds, and the
# baseline instruction set (wider ones only behind a run-time check with identical results).
add_library(orvix_options INTERFACE)
target_include_directories(orvix_options INTERFACE ${PROJECT_SOURCE_DIR})

if(WIN32)
  # Windows 10 on, wide calls alone.
  target_compile_definitions(orvix_options INTERFACE
    _WIN32_WINNT=0x0A00 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _USE_MATH_DEFINES)
endif()
if(MSVC)
  target_compile_options(orvix_options INTERFACE /W4 /utf-8 /permissive- /fp:precise /bigobj)
else()
  target_compile_options(orvix_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -ffp-contract=off)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 reports copies inside std::string that cannot happen: overlapping ones (its PR 105651),
    # and, of headers that were read beforehand, too long ones.
    target_compile_options(orvix_options INTERFACE
      -Wno-restrict -Wno-stringop-overflow -Wno-array-bounds)
    if(ORVIX_SANITIZE STREQUAL thread)
      target_compile_options(orvix_options INTERFACE -Wno-stringop-overread)
    endif()
  endif()
  if(ORVIX_WERROR)
    target_compile_options(orvix_options INTERFACE -Werror)
  endif()
  if(ORVIX_SANITIZE)
    # NDEBUG stays unset in the sanitizer presets: stated preconditions are asserts.
    add_compile_options(-fsanitize=${ORVIX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ORVIX_SANITIZE})
  endif()
  if(ORVIX_LIBFUZZER)
    # A fuzzer steers by what its inputs reach: every source counts its branches, the libraries' too.
    add_compile_options(-fsanitize=fuzzer-no-link)
  endif()
endif()
