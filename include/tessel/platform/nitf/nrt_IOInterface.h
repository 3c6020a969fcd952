#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Byte sources and sinks: a table of nine operations over private data, the
 * functions that forward to it, and the file and memory adapters. */

#include "tessel/platform/nitf/nrt_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef NRT_BOOL (*NRT_IO_INTERFACE_READ)(NRT_DATA* data, void* buf, size_t size, nrt_Error* error);
typedef NRT_BOOL (*NRT_IO_INTERFACE_WRITE)(NRT_DATA* data, const void* buf, size_t size,
                                           nrt_Error* error);
typedef NRT_BOOL (*NRT_IO_INTERFACE_CAN_SEEK)(NRT_DATA* data, nrt_Error* error);
typedef nrt_Off (*NRT_IO_INTERFACE_SEEK)(NRT_DATA* data, nrt_Off offset, int whence,
                                         nrt_Error* error);
typedef nrt_Off (*NRT_IO_INTERFACE_TELL)(NRT_DATA* data, nrt_Error* error);
typedef nrt_Off (*NRT_IO_INTERFACE_GET_SIZE)(NRT_DATA* data, nrt_Error* error);
typedef int (*NRT_IO_INTERFACE_GET_MODE)(NRT_DATA* data, nrt_Error* error);
typedef NRT_BOOL (*NRT_IO_INTERFACE_CLOSE)(NRT_DATA* data, nrt_Error* error);
typedef void (*NRT_IO_INTERFACE_DESTRUCT)(NRT_DATA* data);

typedef struct _NRT_IIOInterface {
    NRT_IO_INTERFACE_READ read;
    NRT_IO_INTERFACE_WRITE write;
    NRT_IO_INTERFACE_CAN_SEEK canSeek;
    NRT_IO_INTERFACE_SEEK seek;
    NRT_IO_INTERFACE_TELL tell;
    NRT_IO_INTERFACE_GET_SIZE getSize;
    NRT_IO_INTERFACE_GET_MODE getMode;
    NRT_IO_INTERFACE_CLOSE close;
    NRT_IO_INTERFACE_DESTRUCT destruct;
} nrt_IIOInterface;

typedef struct _NRT_IOInterface {
    NRT_DATA* data;
    nrt_IIOInterface* iface;
} nrt_IOInterface;

NRT_BOOL nrt_IOInterface_read(nrt_IOInterface* io, void* buf, size_t size, nrt_Error* error);
NRT_BOOL nrt_IOInterface_write(nrt_IOInterface* io, const void* buf, size_t size, nrt_Error* error);
NRT_BOOL nrt_IOInterface_canSeek(nrt_IOInterface* io, nrt_Error* error);
nrt_Off nrt_IOInterface_seek(nrt_IOInterface* io, nrt_Off offset, int whence, nrt_Error* error);
nrt_Off nrt_IOInterface_tell(nrt_IOInterface* io, nrt_Error* error);
nrt_Off nrt_IOInterface_getSize(nrt_IOInterface* io, nrt_Error* error);
int nrt_IOInterface_getMode(nrt_IOInterface* io, nrt_Error* error);
NRT_BOOL nrt_IOInterface_close(nrt_IOInterface* io, nrt_Error* error);
/* Calls the destructor of the private data, frees the interface and NULLs the pointer. */
void nrt_IOInterface_destruct(nrt_IOInterface** io);

/* A file opened with POSIX calls; access is an NRT_ACCESS_* code, creation a combination of
 * NRT_CREATE / NRT_TRUNCATE (or NRT_OPEN_EXISTING). Closed when destructed. */
nrt_IOInterface* nrt_IOHandleAdapter_open(const char* path, nrt_AccessFlags access,
                                          nrt_CreationFlags creation, nrt_Error* error);

/* A fixed-size memory region; with ownBuffer the buffer (from malloc) is freed on destruct.
 * Writes may not go past the end. */
nrt_IOInterface* nrt_BufferAdapter_construct(char* buffer, size_t size, NRT_BOOL ownBuffer,
                                             nrt_Error* error);

/* A memory region that grows as it is written; seeking past the end and writing fills the
 * gap with zeros. */
nrt_IOInterface* nrt_BufferAdapter_constructGrowable(nrt_Error* error);

/* The bytes of a growable memory output and their count (the size, not the position). The
 * pointer stays valid until the next write or the destruct. NULL for other interfaces. */
const char* nrt_BufferAdapter_getBuffer(nrt_IOInterface* io, size_t* size);

typedef nrt_IIOInterface nitf_IIOInterface;
typedef nrt_IOInterface nitf_IOInterface;
#define nitf_IOInterface_read nrt_IOInterface_read
#define nitf_IOInterface_write nrt_IOInterface_write
#define nitf_IOInterface_canSeek nrt_IOInterface_canSeek
#define nitf_IOInterface_seek nrt_IOInterface_seek
#define nitf_IOInterface_tell nrt_IOInterface_tell
#define nitf_IOInterface_getSize nrt_IOInterface_getSize
#define nitf_IOInterface_getMode nrt_IOInterface_getMode
#define nitf_IOInterface_close nrt_IOInterface_close
#define nitf_IOInterface_destruct nrt_IOInterface_destruct
#define nitf_IOHandleAdapter_open nrt_IOHandleAdapter_open
#define nitf_BufferAdapter_construct nrt_BufferAdapter_construct
#define nitf_BufferAdapter_constructGrowable nrt_BufferAdapter_constructGrowable
#define nitf_BufferAdapter_getBuffer nrt_BufferAdapter_getBuffer
#define NITF_IO_INTERFACE_READ NRT_IO_INTERFACE_READ
#define NITF_IO_INTERFACE_WRITE NRT_IO_INTERFACE_WRITE
#define NITF_IO_INTERFACE_CAN_SEEK NRT_IO_INTERFACE_CAN_SEEK
#define NITF_IO_INTERFACE_SEEK NRT_IO_INTERFACE_SEEK
#define NITF_IO_INTERFACE_TELL NRT_IO_INTERFACE_TELL
#define NITF_IO_INTERFACE_GET_SIZE NRT_IO_INTERFACE_GET_SIZE
#define NITF_IO_INTERFACE_GET_MODE NRT_IO_INTERFACE_GET_MODE
#define NITF_IO_INTERFACE_CLOSE NRT_IO_INTERFACE_CLOSE
#define NITF_IO_INTERFACE_DESTRUCT NRT_IO_INTERFACE_DESTRUCT

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
