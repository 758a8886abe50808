# cmake -DSOURCE= -DBUILD= -DTARGET= -DNODE= -DNPM= -DNEEDED=AUTO|ON -P make_page.cmake
# Makes the page in the folder BUILD, unless the one that is there was made of the same sources, and
# copies it to TARGET. Several builds may ask at a time. Sources are copied to BUILD first, so that
# nothing is written into the source tree.
file(MAKE_DIRECTORY ${BUILD})
file(LOCK ${BUILD}/lock TIMEOUT 600)

file(GLOB_RECURSE names RELATIVE ${SOURCE} ${SOURCE}/*)
list(FILTER names EXCLUDE REGEX "^(node_modules|dist)/")
list(SORT names)
set(sums "")
foreach(name IN LISTS names)
  file(SHA256 ${SOURCE}/${name} sum)
  string(APPEND sums "${sum} ${name}\n")
endforeach()

# What fails is said, and ends the build where the page was asked for by name.
function(fails)
  string(CONCAT sentence ${ARGN})
  if(NEEDED STREQUAL "AUTO")
    message("The page of `orvix view` is left out: ${sentence}")
    file(REMOVE_RECURSE ${TARGET})
  else()
    message(FATAL_ERROR "${sentence}. -DORVIX_BUILD_PAGE=OFF leaves the page out")
  endif()
endfunction()

set(made "")
if(EXISTS ${BUILD}/made_of.txt)
  file(READ ${BUILD}/made_of.txt made)
endif()
if(NOT made STREQUAL sums)
  file(REMOVE ${BUILD}/made_of.txt)
  file(GLOB former RELATIVE ${BUILD} ${BUILD}/* ${BUILD}/.npmrc)
  list(REMOVE_ITEM former node_modules installed.txt lock)
  foreach(name IN LISTS former)
    file(REMOVE_RECURSE ${BUILD}/${name})
  endforeach()
  foreach(name IN LISTS names)
    configure_file(${SOURCE}/${name} ${BUILD}/${name} COPYONLY)
  endforeach()

  set(installed "")
  if(EXISTS ${BUILD}/installed.txt)
    file(READ ${BUILD}/installed.txt installed)
  endif()
  file(SHA256 ${BUILD}/package-lock.json wanted)
  if(NOT installed STREQUAL wanted)
    file(REMOVE ${BUILD}/installed.txt)
    execute_process(COMMAND ${NPM} ci --ignore-scripts --no-audit --no-fund --prefer-offline --fetch-retries=1
      WORKING_DIRECTORY ${BUILD} RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(failed)
      message("${output}")
      fails("npm could not fetch what view/page/package-lock.json names (see above)")
      return()
    endif()
    file(WRITE ${BUILD}/installed.txt ${wanted})
  endif()
  foreach(step "node_modules/typescript/bin/tsc --noEmit" "node_modules/typescript/bin/tsc --noEmit -p test"
      "node_modules/vite/bin/vite.js build --logLevel warn")
    separate_arguments(step UNIX_COMMAND "${step}")
    execute_process(COMMAND ${NODE} ${step}
      WORKING_DIRECTORY ${BUILD} RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(failed)
      # A fault of the sources is a fault, whoever asked.
      message(FATAL_ERROR "${output}\nThe page of `orvix view` could not be made: ${step}")
    endif()
  endforeach()
  # The terms of what the bundle holds of others travel with it.
  configure_file(${BUILD}/node_modules/three/LICENSE ${BUILD}/dist/licences/three.txt COPYONLY)
  file(WRITE ${BUILD}/made_of.txt "${sums}")
endif()

file(REMOVE_RECURSE ${TARGET})
file(COPY ${BUILD}/dist/ DESTINATION ${TARGET})
