# Checks one ELF file: -DFILE=… -DTYPE=EXECUTABLE|MODULE_LIBRARY -DSYMBOLS=… -DREADELF=…
execute_process(COMMAND ${READELF} --wide --file-header --program-headers --dynamic --dyn-syms ${FILE}
                OUTPUT_VARIABLE elf COMMAND_ERROR_IS_FATAL ANY)

# expect(WHAT REGEX): the file has it.
function(expect what regex)
  if(NOT elf MATCHES "${regex}")
    message(SEND_ERROR "${FILE}: ${what}")
  endif()
endfunction()

expect("its addresses are fixed" "Type: +DYN")
if(TYPE STREQUAL "EXECUTABLE")
  expect("is not linked as a program for any address" "FLAGS_1[^\n]*PIE")
endif()
expect("has no table that is read-only once it is loaded" "GNU_RELRO")
expect("does not have all its functions looked up at the start" "FLAGS_1[^\n]*NOW")
expect("does not say whether its stack can be run" "GNU_STACK")
if(elf MATCHES "GNU_STACK[^\n]*RWE")
  message(SEND_ERROR "${FILE}: its stack can be run")
endif()
foreach(symbol IN LISTS SYMBOLS)
  expect("does not call ${symbol}" "UND [^\n]*${symbol}")
endforeach()
