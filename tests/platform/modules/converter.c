/* An ID converter that knows one name, answers one product with more than fits, and one with broken text. */
#include <stdint.h>
#include <string.h>

int32_t PS2GetModelIDWithTwainID(const char* utf8Name, char* buffer, uint32_t bufferSize);
int32_t PS2GetTwainIDWithProductID(const char* productID, char* buffer256);

int32_t PS2GetModelIDWithTwainID(const char* utf8Name, char* buffer, uint32_t bufferSize) {
    for (uint32_t i = 0; i < bufferSize; ++i) {
        if (buffer[i] != 0) {
            return -2;
        }
    }
    memset(buffer, 'x', bufferSize);
    return strcmp(utf8Name, "PELOX Scänner") == 0 ? 0 : 5;
}

#ifndef ONLY_MODEL_ID
int32_t PS2GetTwainIDWithProductID(const char* productID, char* buffer256) {
    if (strcmp(productID, "long") == 0) {
        memset(buffer256, 'x', 300);
    } else if (strcmp(productID, "broken") == 0) {
        strcpy(buffer256, "\xC3");
    } else if (strcmp(productID, "0123") == 0) {
        strcpy(buffer256, "PELOX Scänner");
    } else {
        return 1;
    }
    return 0;
}
#endif
