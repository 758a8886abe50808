# Everything comes from the system's packages (scripts/packages.sh lists them for Debian 12).
find_package(Threads REQUIRED)
set(CGAL_DO_NOT_WARN_ABOUT_CMAKE_BUILD_TYPE TRUE)
find_package(CGAL 5.5 REQUIRED)
find_package(Eigen3 3.4 REQUIRED NO_MODULE)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(CLI11 2.1 REQUIRED)
find_package(fmt 9 REQUIRED)
find_package(tl-expected 1.0 REQUIRED)
find_package(SQLite3 3.40 REQUIRED)
find_path(ORVIX_NANOFLANN_INCLUDE nanoflann.hpp REQUIRED)
find_path(ORVIX_XXHASH_INCLUDE xxhash.h REQUIRED)
find_path(ORVIX_STB_INCLUDE stb/stb_image_write.h REQUIRED)

# fmt is used as headers, so that no product depends on a further shared library.
add_library(orvix_fmt INTERFACE)
target_link_libraries(orvix_fmt INTERFACE fmt::fmt-header-only)
