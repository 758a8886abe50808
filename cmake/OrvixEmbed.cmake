# orvix_embed(target file NAME): compiles the bytes of a file into a target, which then reads them
# through <NAME>.h: `std::span<const unsigned char> NAME()` in namespace orvix::embedded. The
# generated sources hold the bytes and nothing of where they came from. Run as a script, this file
# writes them: -DINPUT=file -DNAME=name -DFOLDER=folder.
if(CMAKE_SCRIPT_MODE_FILE)
  file(READ ${INPUT} bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  string(REPEAT "0x..," 20 line)
  string(REGEX REPLACE "(${line})" "\\1\n" bytes "${bytes}")
  file(WRITE ${FOLDER}/${NAME}.h
    "#pragma once\n\n#include <span>\n\nnamespace orvix::embedded {\n"
    "std::span<const unsigned char> ${NAME}();\n}\n")
  file(WRITE ${FOLDER}/${NAME}.cpp
    "#include \"${NAME}.h\"\n\nnamespace orvix::embedded {\n"
    "static constexpr unsigned char kBytes[] = {\n${bytes}};\n"
    "std::span<const unsigned char> ${NAME}() {\n    return kBytes;\n}\n}\n")
  return()
endif()

set(ORVIX_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})
function(orvix_embed target file name)
  cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/embedded)
  add_custom_command(OUTPUT ${folder}/${name}.cpp ${folder}/${name}.h
    COMMAND ${CMAKE_COMMAND} -DINPUT=${file} -DNAME=${name} -DFOLDER=${folder}
      -P ${ORVIX_EMBED_SCRIPT}
    DEPENDS ${file} ${ORVIX_EMBED_SCRIPT} VERBATIM)
  target_sources(${target} PRIVATE ${folder}/${name}.cpp ${folder}/${name}.h)
  set_source_files_properties(${folder}/${name}.cpp PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  target_include_directories(${target} PRIVATE ${folder})
endfunction()
