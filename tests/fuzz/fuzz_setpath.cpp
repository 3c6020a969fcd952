// libFuzzer target: writes by metadata path. The input's first byte chooses text or JSON,
// the bytes up to the first line end are the path and the rest is the value, written into
// a new file made in memory that already holds an image, a text segment and a TRE; the
// whole tree is then read back in every format.

#include <cstddef>
#include <cstdint>
#include <string>

#include "tessel/core/NITFMessages.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"

namespace {

// A new file with something in each list that a path reaches first.
Tessel::NITFFileContext setPathFuzzFile() {
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context = Tessel::NITFFactory::create(messages);
    if (!context) {
        return context;
    }
    const Tessel::NITFFile& file = context.getFile();
    file.setPathAsString(0, "/Images/0/IID1", "FUZZ", messages);
    file.setPathAsString(0, "/Images/0/NBANDS", "2", messages);
    file.setPathAsString(0, "/Images/0/TREs/BLOCKA/BLOCK_INSTANCE", "1", messages);
    file.setPathAsString(0, "/Text/0/Data", "text", messages);
    file.setPathAsString(0, "/DESs/0/DESTAG", "TEST_DES", messages);
    return context;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Long inputs add nothing but time: each array element may reshape an image.
    if (size < 1 || size > 4096) {
        return 0;
    }
    const bool json = (data[0] & 1) != 0;
    const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t end = input.find('\n');
    const std::string path = input.substr(0, end);
    const std::string value = end == std::string::npos ? std::string() : input.substr(end + 1);

    Tessel::NITFFileContext context = setPathFuzzFile();
    if (!context) {
        return 0;
    }
    Tessel::NITFFile& file = context.getFile();
    Tessel::NITFMessages messages;
    const bool ok = json ? file.setPath(0, path, value, messages)
                         : file.setPathAsString(0, path, value, messages);
    if (!ok && messages.empty()) {
        __builtin_trap();  // every failure says why
    }
    (void)file.getPath(0, path);
    for (const char* format : {"JSON", "XML", "RAW", ""}) {
        (void)file.getISD(format);
    }
    return 0;
}
