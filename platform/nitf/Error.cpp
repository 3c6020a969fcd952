#include "tessel/platform/nitf/nrt_Error.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

void copyText(char* destination, size_t capacity, const char* text) {
    if (text == nullptr) {
        destination[0] = '\0';
        return;
    }
    std::strncpy(destination, text, capacity - 1);
    destination[capacity - 1] = '\0';
}

}  // namespace

extern "C" void nrt_Error_init(nrt_Error* error, const char* message, const char* file, int line,
                               const char* func, int level) {
    if (error == nullptr) {
        return;
    }
    copyText(error->message, sizeof error->message, message);
    copyText(error->file, sizeof error->file, file);
    copyText(error->func, sizeof error->func, func);
    error->line = line;
    error->level = level;
}

extern "C" void nrt_Error_initf(nrt_Error* error, const char* file, int line, const char* func,
                                int level, const char* format, ...) {
    if (error == nullptr) {
        return;
    }
    char message[NRT_MAX_EMESSAGE + 1];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    nrt_Error_init(error, message, file, line, func, level);
}

extern "C" char* nrt_strerror(int errnum) {
    // strerror's buffer is shared; NITRO hands it out the same way.
    return std::strerror(errnum);
}
