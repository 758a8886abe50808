# Building for another system: the header-only libraries are the build machine's own, reached
# through a folder of links that holds nothing else. Its /usr/include as a whole would put this
# system's C library before the other one's.
set(borrowed ${PROJECT_BINARY_DIR}/borrowed-headers)
file(MAKE_DIRECTORY ${borrowed})
foreach(entry CGAL boost nanoflann.hpp tl nlohmann CLI fmt stb xxhash.h)
  if(NOT EXISTS /usr/include/${entry})
    message(FATAL_ERROR "/usr/include/${entry} is missing: run scripts/packages.sh build")
  endif()
  file(CREATE_LINK /usr/include/${entry} ${borrowed}/${entry} SYMBOLIC)
endforeach()
foreach(entry Eigen unsupported)
  file(CREATE_LINK /usr/include/eigen3/${entry} ${borrowed}/${entry} SYMBOLIC)
endforeach()

foreach(name CGAL::CGAL Eigen3::Eigen nlohmann_json::nlohmann_json CLI11::CLI11
    fmt::fmt-header-only tl::expected)
  add_library(${name} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${name} SYSTEM INTERFACE ${borrowed})
endforeach()
# GMP and MPFR are libraries, not headers: CGAL's exact numbers are Boost's here. Interval
# arithmetic sets the rounding mode, which the compiler must then not assume.
target_compile_definitions(CGAL::CGAL INTERFACE CGAL_NO_GMP=1 CGAL_NO_MPFR=1)
target_compile_options(CGAL::CGAL INTERFACE -frounding-math)

set(ORVIX_NANOFLANN_INCLUDE ${borrowed})
set(ORVIX_XXHASH_INCLUDE ${borrowed})
set(ORVIX_STB_INCLUDE ${borrowed}/stb)
