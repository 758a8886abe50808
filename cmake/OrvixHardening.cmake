# What the compiler and the linker can do so that a fault in the code stays a fault and does not
# become a way in: files come from anywhere. tests/install/hardening.py reads the products and fails
# where one is missing. No result depends on it; docs/BENCHMARKS.md has what it costs.
#
# Linux    checked copies (fortify), a guard before each return address (stack protector), pages of a
#          large frame touched one by one (stack clash), marked targets of indirect jumps and shadow
#          stacks (control-flow protection), code at any address (PIE), no table of addresses that
#          can be written after the start (full RELRO), no stack that can be executed.
# Windows  checked copies, the guard, marked targets; code at any address of 64 bits (dynamicbase,
#          high entropy), no data that can be executed (nxcompat). Left out, as mingw-w64 has none:
#          control flow guard and shadow stack tables. MSVC makes the former.
option(ORVIX_HARDEN "Compile and link with the hardening of cmake/OrvixHardening.cmake" ON)

# The same sources give the same bytes in any folder. Only debug information names folders, and only
# in this configuration is it part of a product; elsewhere the option would keep builds in several
# folders from sharing a compiler's cache.
if(NOT MSVC)
  add_compile_options("$<$<CONFIG:RelWithDebInfo>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
    "$<$<CONFIG:RelWithDebInfo>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>")
endif()

if(NOT ORVIX_HARDEN OR ORVIX_SANITIZE)
  return()
endif()
if(MSVC)
  add_compile_options(/GS /guard:cf)
  add_link_options(/guard:cf /DYNAMICBASE /NXCOMPAT /HIGHENTROPYVA)
  return()
endif()

# Checked copies are the optimiser's work. Some systems' compilers define it, with another value.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>" -fstack-protector-strong)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
  add_compile_options(-fcf-protection=full)
endif()
if(WIN32)
  add_link_options(-fstack-protector-strong)  # links the checks' own library
  add_link_options(LINKER:--dynamicbase,--high-entropy-va,--nxcompat)
else()
  add_compile_options(-fstack-clash-protection)
  add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)
  # CMake makes code for any address; that programs are linked so is the policy's part.
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES C CXX)
endif()
