/* How a module offers objects.
 *
 * A module whose services are objects exports one function, "TrigoraClassNamed", which gives the table of
 * a class by its name, or null. Each table starts with a TrigoraClassHeader; the agent refuses a table
 * that is smaller than its own or of another version. A later header may have further entries at the end of
 * the table, under the same version: an agent that does not know them passes over them. A null entry behind
 * the header is an operation that the object does not answer to.
 *
 * Lists and dictionaries cross as JSON (RFC 8259) in UTF-8: "null" is a key that is present without a
 * value. A text that an operation returns belongs to the caller, who hands it to the class's releaseText.
 * Booleans are 8 bits, zero or not.
 */
#ifndef TRIGORA_MODULE_CLASS_H
#define TRIGORA_MODULE_CLASS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TrigoraClassHeader {
    uint32_t size;    /* bytes of the whole table */
    uint32_t version; /* the version constant beside the table's type */
} TrigoraClassHeader;

/* Exported as "TrigoraClassNamed". The table lives as long as the module is loaded. */
typedef const TrigoraClassHeader* TrigoraClassNamedFunction(const char* className);

#ifdef __cplusplus
}
#endif

#endif
