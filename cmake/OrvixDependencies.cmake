# Everything comes from the system's packages (scripts/packages.sh lists them for Debian 12).
find_package(Threads REQUIRED)
if(CMAKE_CROSSCOMPILING)
  include(OrvixBorrowedHeaders)
else()
  set(CGAL_DO_NOT_WARN_ABOUT_CMAKE_BUILD_TYPE TRUE)
  find_package(CGAL 5.5 REQUIRED)
  find_package(Eigen3 3.4 REQUIRED NO_MODULE)
  find_package(nlohmann_json 3.11 REQUIRED)
  find_package(CLI11 2.1 REQUIRED)
  find_package(fmt 9 REQUIRED)
  find_package(tl-expected 1.0 REQUIRED)
  find_path(ORVIX_NANOFLANN_INCLUDE nanoflann.hpp REQUIRED)
  find_path(ORVIX_XXHASH_INCLUDE xxhash.h REQUIRED)
  find_path(ORVIX_STB_INCLUDE stb_image_write.h PATH_SUFFIXES stb REQUIRED)
endif()
# Settings live in the registry on Windows, in a database file elsewhere.
if(NOT WIN32)
  find_package(SQLite3 3.40 REQUIRED)
  set(ORVIX_SETTINGS_LIBRARY SQLite::SQLite3)
endif()

# The plane parameters window: Windows has its own; elsewhere it is a library over Qt 6, which
# scripts/packages.sh dialog installs.
set(ORVIX_BUILD_DIALOG AUTO CACHE STRING "Qt window of the plane parameters: AUTO (where Qt 6 is installed), ON or OFF")
set_property(CACHE ORVIX_BUILD_DIALOG PROPERTY STRINGS AUTO ON OFF)
if(NOT WIN32 AND ORVIX_BUILD_DIALOG STREQUAL "AUTO")
  find_package(Qt6 6.2 QUIET COMPONENTS Widgets)
elseif(NOT WIN32 AND ORVIX_BUILD_DIALOG)
  find_package(Qt6 6.2 REQUIRED COMPONENTS Widgets)
endif()

# fmt's headers alone are used, so that no product depends on a further shared library; what of them
# is no template is compiled once, in orvix/platform/format.cpp.
add_library(orvix_fmt INTERFACE)
get_target_property(fmt_include fmt::fmt-header-only INTERFACE_INCLUDE_DIRECTORIES)
target_include_directories(orvix_fmt SYSTEM INTERFACE ${fmt_include})
