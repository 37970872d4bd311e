# The build's vocabulary: options, the warnings that every target is built with, and one function each for
# a library of the system and for a test program.

include(GNUInstallDirs)
find_package(PkgConfig REQUIRED)

option(TRIGORA_TESTS "Build the tests" ON)
option(TRIGORA_BENCH "Build the measurements" OFF)
option(TRIGORA_FUZZ "Build the fuzz targets (needs clang)" OFF)
set(TRIGORA_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address,undefined or thread")

find_program(TRIGORA_CCACHE ccache)
if(TRIGORA_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${TRIGORA_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${TRIGORA_CCACHE})
endif()

add_library(trigora_options INTERFACE)
target_include_directories(trigora_options INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_options(trigora_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Optimised, this compiler takes "text" + std::string for a copy of 2^63 bytes, and the alternatives that a
  # moved-from std::variant does not hold for values in use.
  target_compile_options(trigora_options INTERFACE
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CONFIG:Release>>:-Wno-restrict$<SEMICOLON>-Wno-maybe-uninitialized>)
endif()

# What is installed is built so that a fault in memory ends the program rather than being of use to an attacker.
include(CheckPIESupported)
check_pie_supported()
add_library(trigora_hardening INTERFACE)
target_compile_options(trigora_hardening INTERFACE
  -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection
  $<$<COMPILE_LANGUAGE:CXX>:-D_GLIBCXX_ASSERTIONS>)
target_link_options(trigora_hardening INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
if(NOT TRIGORA_SANITIZE)
  target_link_libraries(trigora_options INTERFACE $<$<CONFIG:Release>:trigora_hardening>)
endif()

if(TRIGORA_SANITIZE)
  target_compile_options(trigora_options INTERFACE
    -fsanitize=${TRIGORA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>) # known to be wrong about instrumented code
  target_link_options(trigora_options INTERFACE -fsanitize=${TRIGORA_SANITIZE})
endif()

# trigora_floors(FOLDER...): the folders of the product from the lowest floor to the highest. What lies in a
# folder includes and links only what lies in folders that stand before it.
function(trigora_floors)
  set_property(GLOBAL PROPERTY trigora_folders ${ARGV})
  foreach(folder IN LISTS ARGV)
    add_subdirectory(${folder})
  endforeach()
endfunction()

# trigora_floor(NAME SOURCES file... LINKS target...)
# Notes what the check of the floors has to know.
function(trigora_floor name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  list(TRANSFORM arg_SOURCES PREPEND "${folder}/")
  string(CONCAT floor
    "list(APPEND targets ${name})\nset(${name}_folder ${folder})\n"
    "set(${name}_files \"${arg_SOURCES}\")\nset(${name}_links \"${arg_LINKS}\")\n")
  set_property(GLOBAL APPEND_STRING PROPERTY trigora_floors "${floor}")
endfunction()

# trigora_check_floors(): adds the test that the floors hold.
function(trigora_check_floors)
  get_property(folders GLOBAL PROPERTY trigora_folders)
  get_property(floors GLOBAL PROPERTY trigora_floors)
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/floors.cmake CONTENT "set(folders \"${folders}\")\n${floors}")
  add_test(NAME floors
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR} -DTARGETS=${PROJECT_BINARY_DIR}/floors.cmake
            -P ${PROJECT_SOURCE_DIR}/cmake/CheckFloors.cmake)
endfunction()

# trigora_library(NAME SOURCES file... [LINKS target...] [USES target...])
# A library of one floor; LINKS and USES name exactly the targets that it may include from, USES those that
# only its sources need. Headers without a source of their own are listed, too.
function(trigora_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS;USES")
  set(sources ${arg_SOURCES})
  list(FILTER sources EXCLUDE REGEX "\\.h$")
  if(sources)
    add_library(${name} STATIC ${arg_SOURCES})
    target_link_libraries(${name} PUBLIC trigora_options ${arg_LINKS} PRIVATE ${arg_USES})
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE trigora_options ${arg_LINKS})
  endif()
  trigora_floor(${name} SOURCES ${arg_SOURCES} LINKS ${arg_LINKS} ${arg_USES})
endfunction()

# trigora_program(NAME SOURCES file... LINKS target...)
function(trigora_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE trigora_options ${arg_LINKS})
  trigora_floor(${name} SOURCES ${arg_SOURCES} LINKS ${arg_LINKS})
  set_property(GLOBAL APPEND PROPERTY trigora_programs ${name})
endfunction()

# trigora_test(NAME SOURCES file... LINKS target...)
# A GoogleTest program; each of its cases is a case of ctest.
function(trigora_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE trigora_options ${arg_LINKS} GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
endfunction()
