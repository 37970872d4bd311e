# Fails when a file includes a header of a library that its own does not link, or when a library links one that
# it includes nothing of:
#
#     cmake -DSOURCE=<source folder> -DTARGETS=<build folder>/floors.cmake -P cmake/CheckFloors.cmake
#
# The first of the two files is written by trigora_check_floors().

cmake_minimum_required(VERSION 3.25)
include(${TARGETS}) # sets `targets`, and of each one <target>_folder, …_isProgram, …_files and …_links
set(faults 0)

function(fault text)
  message("${text}")
  math(EXPR count "${faults} + 1")
  set(faults ${count} PARENT_SCOPE)
endfunction()

# A header belongs to the library that has the source of its name or lists it; one of neither kind belongs to
# the only library of its folder.
foreach(target IN LISTS targets)
  if(NOT ${target}_isProgram)
    list(APPEND libraries_of_${${target}_folder} ${target})
  endif()
  foreach(file IN LISTS ${target}_files)
    string(REGEX REPLACE "\\.cpp$" ".h" header ${file})
    if(EXISTS ${SOURCE}/${header})
      set(owner_of_${header} ${target})
      list(APPEND ${target}_files ${header})
    endif()
  endforeach()
  list(REMOVE_DUPLICATES ${target}_files)
endforeach()

foreach(target IN LISTS targets)
  set(used)
  foreach(file IN LISTS ${target}_files)
    file(STRINGS ${SOURCE}/${file} lines REGEX "^#include \"")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" header ${line})
      get_filename_component(folder ${header} DIRECTORY)
      if(DEFINED owner_of_${header})
        set(owner ${owner_of_${header}})
      elseif(NOT DEFINED libraries_of_${folder})
        continue() # plain headers, such as those for makers of modules
      else()
        set(owner ${libraries_of_${folder}})
        list(LENGTH owner count)
        if(count GREATER 1)
          fault("${header} belongs to none of the libraries ${owner}: list it in the SOURCES of one")
          continue()
        endif()
      endif()
      list(APPEND used ${owner})
      if(NOT owner STREQUAL target AND NOT owner IN_LIST ${target}_links)
        fault("${file} of ${target} includes ${header} of ${owner}, which ${target} does not link")
      endif()
    endforeach()
  endforeach()
  foreach(link IN LISTS ${target}_links)
    if(link IN_LIST targets AND NOT link IN_LIST used)
      fault("${target} links ${link} but includes nothing of it")
    endif()
  endforeach()
endforeach()

if(faults GREATER 0)
  message(FATAL_ERROR "${faults} faults")
endif()
