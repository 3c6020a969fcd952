// Band and segment sources over memory and segment readers, and the image source that
// gathers the bands of one image.

#include <cstdlib>
#include <cstring>

#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_DataSource.h"

namespace {

// Memory with a stride: `width` bytes taken, then `skip` bytes passed over.
struct StridedMemory {
    const char* data = nullptr;
    char* owned = nullptr;
    nitf_Off size = 0;
    nitf_Off start = 0;
    nitf_Off mark = 0;  // bytes of data consumed so far, skips included
    int width = 1;
    int skip = 0;
};

NITF_BOOL stridedRead(NITF_DATA* data, void* buf, nitf_Off size, nitf_Error* error) {
    auto* memory = static_cast<StridedMemory*>(data);
    auto* out = static_cast<char*>(buf);
    if (size < 0) {
        tessel_nitf::setError(error, NITF_ERR_INVALID_PARAMETER, "negative read size");
        return false;
    }
    const nitf_Off available = memory->size - memory->start;
    if (memory->skip == 0) {
        if (memory->mark + size > available) {
            tessel_nitf::failf(error, NITF_ERR_READING_FROM_FILE,
                               "read of {} bytes at {} passes the end of the source ({} bytes)",
                               size, memory->mark, available);
            return false;
        }
        std::memcpy(out, memory->data + memory->start + memory->mark, static_cast<size_t>(size));
        memory->mark += size;
        return true;
    }
    const nitf_Off step = memory->width + memory->skip;
    for (nitf_Off done = 0; done < size; done += memory->width) {
        if (memory->mark + memory->width > available || size - done < memory->width) {
            tessel_nitf::failf(error, NITF_ERR_READING_FROM_FILE,
                               "read of {} bytes at {} passes the end of the source", size,
                               memory->mark);
            return false;
        }
        std::memcpy(out + done, memory->data + memory->start + memory->mark,
                    static_cast<size_t>(memory->width));
        memory->mark += step;
    }
    return true;
}

void stridedDestruct(NITF_DATA* data) {
    auto* memory = static_cast<StridedMemory*>(data);
    std::free(memory->owned);
    delete memory;
}

nitf_Off stridedSize(NITF_DATA* data, nitf_Error*) {
    auto* memory = static_cast<StridedMemory*>(data);
    const nitf_Off span = memory->size - memory->start;
    const nitf_Off step = memory->width + memory->skip;
    return span <= 0 ? 0 : (span + memory->skip) / step * memory->width;
}

NITF_BOOL stridedSetSize(NITF_DATA* data, nitf_Off size, nitf_Error*) {
    static_cast<StridedMemory*>(data)->size = size;
    return true;
}

nitf_IDataSource stridedInterface = {stridedRead, stridedDestruct, stridedSize, stridedSetSize};

NITF_BOOL segmentReaderRead(NITF_DATA* data, void* buf, nitf_Off size, nitf_Error* error) {
    return nitf_SegmentReader_read(static_cast<nitf_SegmentReader*>(data), buf,
                                   static_cast<size_t>(size), error);
}

void segmentReaderDestruct(NITF_DATA* data) {
    auto* reader = static_cast<nitf_SegmentReader*>(data);
    nitf_SegmentReader_destruct(&reader);
}

nitf_Off segmentReaderSize(NITF_DATA* data, nitf_Error* error) {
    return nitf_SegmentReader_getSize(static_cast<nitf_SegmentReader*>(data), error);
}

NITF_BOOL segmentReaderSetSize(NITF_DATA*, nitf_Off, nitf_Error*) {
    return true;
}

nitf_IDataSource segmentReaderInterface = {segmentReaderRead, segmentReaderDestruct,
                                           segmentReaderSize, segmentReaderSetSize};

nitf_DataSource* makeDataSource(nitf_IDataSource* iface, NITF_DATA* data, nitf_Error* error) {
    auto* source = static_cast<nitf_DataSource*>(std::calloc(1, sizeof(nitf_DataSource)));
    if (source == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    source->iface = iface;
    source->data = data;
    return source;
}

nitf_DataSource* makeStrided(StridedMemory* memory, nitf_Error* error) {
    nitf_DataSource* source = makeDataSource(&stridedInterface, memory, error);
    if (source == nullptr) {
        stridedDestruct(memory);
    }
    return source;
}

}  // namespace

extern "C" {

void nitf_DataSource_destruct(nitf_DataSource** source) {
    if (source == nullptr || *source == nullptr) {
        return;
    }
    if ((*source)->iface != nullptr && (*source)->iface->destruct != nullptr) {
        (*source)->iface->destruct((*source)->data);
    }
    std::free(*source);
    *source = nullptr;
}

nitf_BandSource* nitf_MemorySource_construct(const void* data, nitf_Off size, nitf_Off start,
                                             int numBytesPerPixel, int pixelSkip,
                                             nitf_Error* error) {
    if (data == nullptr || size < 0 || start < 0 || pixelSkip < 0) {
        nitf_Error_init(error, "bad memory source", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    auto* memory = new StridedMemory;
    memory->data = static_cast<const char*>(data);
    memory->size = size;
    memory->start = start;
    memory->width = numBytesPerPixel > 0 ? numBytesPerPixel : 1;
    memory->skip = pixelSkip * memory->width;
    return makeStrided(memory, error);
}

nitf_SegmentSource* nitf_SegmentMemorySource_construct(const char* data, nitf_Off size,
                                                       nitf_Off start, int byteSkip,
                                                       NITF_BOOL copyData, nitf_Error* error) {
    if ((data == nullptr && size > 0) || size < 0 || start < 0 || byteSkip < 0) {
        nitf_Error_init(error, "bad memory source", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    auto* memory = new StridedMemory;
    memory->data = data;
    if (copyData && size > 0) {
        memory->owned = static_cast<char*>(std::malloc(static_cast<size_t>(size)));
        if (memory->owned == nullptr) {
            delete memory;
            nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
            return nullptr;
        }
        std::memcpy(memory->owned, data, static_cast<size_t>(size));
        memory->data = memory->owned;
    }
    memory->size = size;
    memory->start = start;
    memory->skip = byteSkip;
    return makeStrided(memory, error);
}

nitf_SegmentSource* nitf_SegmentReaderSource_construct(nitf_SegmentReader* reader,
                                                       nitf_Error* error) {
    if (reader == nullptr) {
        nitf_Error_init(error, "no segment reader", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    return makeDataSource(&segmentReaderInterface, reader, error);
}

nitf_ImageSource* nitf_ImageSource_construct(nitf_Error* error) {
    auto* source = static_cast<nitf_ImageSource*>(std::calloc(1, sizeof(nitf_ImageSource)));
    if (source == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    source->bandSources = nitf_List_construct(error);
    if (source->bandSources == nullptr) {
        std::free(source);
        return nullptr;
    }
    return source;
}

void nitf_ImageSource_destruct(nitf_ImageSource** source) {
    if (source == nullptr || *source == nullptr) {
        return;
    }
    nitf_List* bands = (*source)->bandSources;
    while (bands != nullptr && !nitf_List_isEmpty(bands)) {
        auto* band = static_cast<nitf_BandSource*>(nitf_List_popFront(bands));
        nitf_DataSource_destruct(&band);
    }
    nitf_List_destruct(&(*source)->bandSources);
    std::free(*source);
    *source = nullptr;
}

NITF_BOOL nitf_ImageSource_addBand(nitf_ImageSource* source, nitf_BandSource* band,
                                   nitf_Error* error) {
    if (source == nullptr || band == nullptr) {
        nitf_Error_init(error, "no image source or band", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    if (!nitf_List_pushBack(source->bandSources, band, error)) {
        return false;
    }
    ++source->size;
    return true;
}

nitf_BandSource* nitf_ImageSource_getBand(nitf_ImageSource* source, int n, nitf_Error* error) {
    if (source == nullptr || n < 0 || n >= source->size) {
        tessel_nitf::failf(error, NITF_ERR_INVALID_PARAMETER, "there is no band source {}", n);
        return nullptr;
    }
    return static_cast<nitf_BandSource*>(nitf_List_get(source->bandSources, n, error));
}

}  // extern "C"
