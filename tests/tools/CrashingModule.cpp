// A module whose code ends the program that loads it.
__attribute__((constructor)) static void crash() { __builtin_trap(); }
