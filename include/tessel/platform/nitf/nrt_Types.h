#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Basic types, status values and IO codes shared by the whole record layer. */

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "tessel/platform/nitf/nrt_Error.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
typedef bool NRT_BOOL;
#else
typedef int NRT_BOOL;
#endif
typedef void NRT_DATA;
typedef int64_t nrt_Off;
typedef uint32_t nrt_AccessFlags;
typedef uint32_t nrt_CreationFlags;

#define NRT_SUCCESS 1
#define NRT_FAILURE 0

/* Seek origins. */
#define NRT_SEEK_SET 0
#define NRT_SEEK_CUR 1
#define NRT_SEEK_END 2

/* A seek or tell succeeded when it gave a position. */
#define NRT_IO_SUCCESS(x) ((x) >= 0)

/* Access codes (the Windows values, which the hosts of this library pass). */
#define NRT_ACCESS_READONLY 0x80000000u
#define NRT_ACCESS_WRITEONLY 0x40000000u
#define NRT_ACCESS_READWRITE 0xC0000000u

/* Creation codes: flags that may be combined. */
#define NRT_OPEN_EXISTING 0x0000u
#define NRT_CREATE 0x0040u
#define NRT_TRUNCATE 0x0200u

/* Ownership of data held by containers. */
#define NRT_DATA_RETAIN_OWNER 0
#define NRT_DATA_ADOPT 1

#define NRT_INT8_SZ 1
#define NRT_INT16_SZ 2
#define NRT_INT32_SZ 4
#define NRT_INT64_SZ 8

/* The nitf_ spellings of the shared names. */
typedef NRT_BOOL NITF_BOOL;
typedef NRT_DATA NITF_DATA;
typedef nrt_Off nitf_Off;
typedef nrt_AccessFlags nitf_AccessFlags;
typedef nrt_CreationFlags nitf_CreationFlags;
#define NITF_SUCCESS NRT_SUCCESS
#define NITF_FAILURE NRT_FAILURE
#define NITF_SEEK_SET NRT_SEEK_SET
#define NITF_SEEK_CUR NRT_SEEK_CUR
#define NITF_SEEK_END NRT_SEEK_END
#define NITF_IO_SUCCESS(x) NRT_IO_SUCCESS(x)
#define NITF_ACCESS_READONLY NRT_ACCESS_READONLY
#define NITF_ACCESS_WRITEONLY NRT_ACCESS_WRITEONLY
#define NITF_ACCESS_READWRITE NRT_ACCESS_READWRITE
#define NITF_OPEN_EXISTING NRT_OPEN_EXISTING
#define NITF_CREATE NRT_CREATE
#define NITF_TRUNCATE NRT_TRUNCATE
#define NITF_DATA_RETAIN_OWNER NRT_DATA_RETAIN_OWNER
#define NITF_DATA_ADOPT NRT_DATA_ADOPT
#define NITF_INT8_SZ NRT_INT8_SZ
#define NITF_INT16_SZ NRT_INT16_SZ
#define NITF_INT32_SZ NRT_INT32_SZ
#define NITF_INT64_SZ NRT_INT64_SZ
#define NITF_MAX_PATH NRT_MAX_PATH

#define NITF_NO_ERR NRT_NO_ERR
#define NITF_ERR_MEMORY NRT_ERR_MEMORY
#define NITF_ERR_OPENING_FILE NRT_ERR_OPENING_FILE
#define NITF_ERR_READING_FROM_FILE NRT_ERR_READING_FROM_FILE
#define NITF_ERR_SEEKING_IN_FILE NRT_ERR_SEEKING_IN_FILE
#define NITF_ERR_WRITING_TO_FILE NRT_ERR_WRITING_TO_FILE
#define NITF_ERR_STAT_FILE NRT_ERR_STAT_FILE
#define NITF_ERR_LOADING_DLL NRT_ERR_LOADING_DLL
#define NITF_ERR_UNLOADING_DLL NRT_ERR_UNLOADING_DLL
#define NITF_ERR_RETRIEVING_DLL_HOOK NRT_ERR_RETRIEVING_DLL_HOOK
#define NITF_ERR_UNINITIALIZED_DLL_READ NRT_ERR_UNINITIALIZED_DLL_READ
#define NITF_ERR_INVALID_PARAMETER NRT_ERR_INVALID_PARAMETER
#define NITF_ERR_INVALID_OBJECT NRT_ERR_INVALID_OBJECT
#define NITF_ERR_INVALID_FILE NRT_ERR_INVALID_FILE
#define NITF_ERR_COMPRESSION NRT_ERR_COMPRESSION
#define NITF_ERR_DECOMPRESSION NRT_ERR_DECOMPRESSION
#define NITF_ERR_PARSING_FILE NRT_ERR_PARSING_FILE
#define NITF_ERR_INT_STACK_OVERFLOW NRT_ERR_INT_STACK_OVERFLOW
#define NITF_ERR_UNK NRT_ERR_UNK
#define nitf_strerror nrt_strerror

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
