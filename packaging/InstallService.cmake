# Run by `cmake --install`, because only then it is known where the programs will be.
get_filename_component(root "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
string(REGEX REPLACE "/$" "" root "${root}")

# As a quoted word of a unit file.
string(REPLACE "\\" "\\\\" TRIGORA_ROOT "${root}")
string(REPLACE "\"" "\\\"" TRIGORA_ROOT "${TRIGORA_ROOT}")
string(REPLACE "%" "%%" TRIGORA_ROOT "${TRIGORA_ROOT}")
foreach(service trigora-agent trigora-buttons)
  set(unit "$ENV{DESTDIR}${root}/usr/lib/systemd/user/${service}.service")
  configure_file("${CMAKE_CURRENT_LIST_DIR}/${service}.service.in" "${unit}" @ONLY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${unit}")
  message(STATUS "Installing: ${unit}")
endforeach()
