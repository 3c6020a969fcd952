#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* NITRO's error record: the message, where it was raised, and a level that is
 * also the error code (0 means no error). Callers zero-fill it before a call. */

#ifdef __cplusplus
extern "C" {
#endif

#define NRT_MAX_PATH 1024
#define NRT_MAX_EMESSAGE 1024

typedef struct nrt_Error {
    char message[NRT_MAX_EMESSAGE + 1];
    char file[NRT_MAX_PATH + 1];
    int line;
    char func[NRT_MAX_PATH + 1];
    int level;
} nrt_Error;

enum {
    NRT_NO_ERR = 0,
    NRT_ERR_MEMORY = 1,
    NRT_ERR_OPENING_FILE = 2,
    NRT_ERR_READING_FROM_FILE = 3,
    NRT_ERR_SEEKING_IN_FILE = 4,
    NRT_ERR_WRITING_TO_FILE = 5,
    NRT_ERR_STAT_FILE = 6,
    NRT_ERR_LOADING_DLL = 7,
    NRT_ERR_UNLOADING_DLL = 8,
    NRT_ERR_RETRIEVING_DLL_HOOK = 9,
    NRT_ERR_UNINITIALIZED_DLL_READ = 10,
    NRT_ERR_INVALID_PARAMETER = 11,
    NRT_ERR_INVALID_OBJECT = 12,
    NRT_ERR_INVALID_FILE = 13,
    NRT_ERR_COMPRESSION = 14,
    NRT_ERR_DECOMPRESSION = 15,
    NRT_ERR_PARSING_FILE = 16,
    NRT_ERR_INT_STACK_OVERFLOW = 17,
    NRT_ERR_UNK = 18
};

#define NRT_FUNC __func__
#define NRT_CTXT __FILE__, __LINE__, NRT_FUNC

void nrt_Error_init(nrt_Error* error, const char* message, const char* file, int line,
                    const char* func, int level);
void nrt_Error_initf(nrt_Error* error, const char* file, int line, const char* func, int level,
                     const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 6, 7)))
#endif
    ;
char* nrt_strerror(int errnum);

/* NITRO spells the shared names both ways. */
typedef nrt_Error nitf_Error;
#define nitf_Error_init nrt_Error_init
#define nitf_Error_initf nrt_Error_initf
#define NITF_CTXT NRT_CTXT
#define NITF_MAX_EMESSAGE NRT_MAX_EMESSAGE

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
