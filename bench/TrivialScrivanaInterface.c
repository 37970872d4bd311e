/* A document-capture application with thirty saved jobs for every scanner. */

#include "modules/job_interface.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPORTED __attribute__((visibility("default")))

EXPORTED TrigoraClassNamedFunction TrigoraClassNamed;

static int application;

static void* jobInterfaceForProductID(const char* productID) { return productID[0] ? &application : NULL; }

static void releaseObject(void* object) { (void)object; }

static void releaseText(char* text) { free(text); }

static char* jobs(void* object) {
    enum { JOBS = 30, BYTES_PER_JOB = 320 };
    char* text = malloc(JOBS * BYTES_PER_JOB);
    size_t length = 0;
    int i;
    (void)object;
    for (i = 0; text != NULL && i < JOBS; ++i) {
        length += (size_t)snprintf(
            text + length, BYTES_PER_JOB,
            "%c{\"name\": \"Saved job %d\", \"scanSetting\": {\"pixelDataType\": 2, \"resolution\": 300, "
            "\"functionalUnitType\": 3, \"documentType\": 3, \"duplexScanningEnabled\": true}, "
            "\"saveSetting\": {\"imageUTType\": \"com.adobe.pdf\"}, "
            "\"transportSetting\": {\"identifier\": \"com.pelox.MailTransporter\"}}%s",
            i == 0 ? '[' : ',', i + 1, i + 1 == JOBS ? "]" : "");
    }
    return text;
}

static char* password(void* object) {
    char* text = malloc(sizeof "secret");
    (void)object;
    return text == NULL ? NULL : strcpy(text, "secret");
}

static uint8_t yes(void* object) { return object == &application; }

const TrigoraClassHeader* TrigoraClassNamed(const char* className) {
    static const SVJobInterfaceClass operations = {
        .header = {sizeof(SVJobInterfaceClass), SV_JOB_INTERFACE_VERSION},
        .jobInterfaceForProductID = jobInterfaceForProductID,
        .release = releaseObject,
        .releaseText = releaseText,
        .jobs = jobs,
        .isOfficeFormatSupported = yes,
        .isMD5HashedPasswordRequired = yes,
        .password = password};
    return strcmp(className, "SVJobInterface") == 0 ? &operations.header : NULL;
}
