/* A network-scan module on one page. It knows one scanner, which announces itself every half a minute while
 * the service runs; when the agent serves it, its panel asks for the list of jobs. */

#define _POSIX_C_SOURCE 200809L /* the clock, in standard C */

#include "modules/network_scan.h"

#include <pthread.h>
#include <time.h>

#define EXPORT __attribute__((visibility("default")))

EXPORT NSMStartServiceFunction NSMStartService;
EXPORT NSMStopServiceFunction NSMStopService;

enum { SECONDS_BETWEEN_ANNOUNCEMENTS = 30 };

/* Texts of an announcement: the record refers to them, so they lie below 4 GiB. */
typedef struct Texts {
    char productID[16];
    char version[16];
    char address[16];
} Texts;

static NSMDiscoveryCallback announce;
static NSMEventCallback report;
static void *announceContext, *reportContext;

static pthread_t thread;
static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t stopWanted = PTHREAD_COND_INITIALIZER;
static int isRunning, isStopping;

static void askForJobs(const Texts* texts) {
    _PSMLPANELSCANJOBINFO record = {.capabilityFlags = PANEL_HAS_CONTINUE_SCANNING, .protocolVersion = 110};
    strncpy(record.productID, texts->productID, sizeof record.productID - 1);
    strncpy(record.ipAddress, texts->address, sizeof record.ipAddress - 1);
    memcpy(record.hardwareAddress, "00265A0B1C2D", sizeof record.hardwareAddress);
    report(NULL, NSM_EVENT_JOB_LIST, &record, 0, reportContext);
}

/* Whether the service goes on after the pause. */
static int waitForNextTurn(void) {
    struct timespec until;
    int goesOn;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += SECONDS_BETWEEN_ANNOUNCEMENTS;
    pthread_mutex_lock(&mutex);
    while (!isStopping && pthread_cond_timedwait(&stopWanted, &mutex, &until) == 0) {
    }
    goesOn = !isStopping;
    pthread_mutex_unlock(&mutex);
    return goesOn;
}

static void* serve(void* unused) {
    Texts* texts = trigora_low_alloc(sizeof *texts);
    (void)unused;
    if (texts == NULL) {
        return NULL;
    }
    *texts = (Texts){"PID 0147", "Ver 1.10", "192.168.0.20"};
    const _NSMDiscovery discovery = {.productID = trigora_address32(texts->productID),
                                     .versionInformation = trigora_address32(texts->version),
                                     .ipAddress = trigora_address32(texts->address)};
    do {
        if (announce(&discovery, announceContext) == NSM_SCANNER_SERVED) {
            askForJobs(texts);
        }
    } while (waitForNextTurn());
    trigora_low_free(texts, sizeof *texts);
    return NULL;
}

int32_t NSMStartService(NSMDiscoveryCallback discovery, NSMEventCallback event, NSMErrorCallback error,
                        void* discoveryContext, void* eventContext, void* errorContext) {
    (void)error, (void)errorContext;
    announce = discovery, announceContext = discoveryContext;
    report = event, reportContext = eventContext;
    isStopping = 0;
    isRunning = pthread_create(&thread, NULL, serve, NULL) == 0;
    return isRunning;
}

/* No call-back is made any more once this has returned. */
int32_t NSMStopService(void) {
    pthread_mutex_lock(&mutex);
    isStopping = 1;
    pthread_cond_signal(&stopWanted);
    pthread_mutex_unlock(&mutex);
    if (isRunning) {
        pthread_join(thread, NULL);
        isRunning = 0;
    }
    return 1;
}
