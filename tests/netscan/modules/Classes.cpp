#include "tests/netscan/modules/FunctionTables.h"

extern "C" {

trigora::test::ClassFunctions functions;

const TrigoraClassHeader* TrigoraClassNamed(const char* className) { return functions.classNamed(className); }

} // extern "C"
