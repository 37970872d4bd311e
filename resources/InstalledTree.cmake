# Makes the installed tree from its readable sources:
#     cmake -DSOURCE=<resources/root> -DDESTINATION=<folder> -P InstalledTree.cmake
# String files and project files are kept as UTF-8 with line feeds and are installed as UTF-16 with carriage
# returns, which is how the system reads and writes them. The device table is UTF-8 on purpose. Everything
# else is copied as it is.

function(convert_text source destination)
  execute_process(
    COMMAND tr "\\n" "\\r"
    COMMAND iconv -f UTF-8 -t UTF-16
    INPUT_FILE ${source}
    OUTPUT_FILE ${destination}
    RESULTS_VARIABLE results)
  if(NOT results STREQUAL "0;0")
    message(FATAL_ERROR "${source} could not be converted (${results})")
  endif()
endfunction()

file(REMOVE_RECURSE ${DESTINATION})
file(GLOB_RECURSE files RELATIVE ${SOURCE} ${SOURCE}/*)
foreach(file IN LISTS files)
  get_filename_component(folder "${DESTINATION}/${file}" DIRECTORY)
  file(MAKE_DIRECTORY "${folder}")
  if(file MATCHES "/AppInfo1/.*\\.plg$" OR (file MATCHES "\\.def$" AND NOT file MATCHES "/DevInf\\.def$"))
    convert_text("${SOURCE}/${file}" "${DESTINATION}/${file}")
  else()
    file(COPY "${SOURCE}/${file}" DESTINATION "${folder}")
  endif()
endforeach()
