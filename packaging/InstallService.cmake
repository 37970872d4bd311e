# Run by `cmake --install`, because only then it is known where the agent will be.
get_filename_component(root "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
string(REGEX REPLACE "/$" "" root "${root}")
set(unit "$ENV{DESTDIR}${root}/usr/lib/systemd/user/trigora-agent.service")

# As a quoted word of a unit file.
string(REPLACE "\\" "\\\\" TRIGORA_ROOT "${root}")
string(REPLACE "\"" "\\\"" TRIGORA_ROOT "${TRIGORA_ROOT}")
string(REPLACE "%" "%%" TRIGORA_ROOT "${TRIGORA_ROOT}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/trigora-agent.service.in" "${unit}" @ONLY)
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${unit}")
message(STATUS "Installing: ${unit}")
