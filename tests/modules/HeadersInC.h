#pragma once

/* Records filled in by a C compiler, to be compared byte for byte in C++. */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Fills the record number and gives its size, which is at most 256 bytes; 0 behind the last one. */
size_t recordFilledInC(int number, unsigned char* bytes);
/* Whether a table of each class has room for its header and every function behind it. */
int areTablesPacked(void);

#ifdef __cplusplus
}
#endif
