#include <cstdio>

#include "tessel/file/RecordCopy.h"
#include "tessel/platform/nitf.h"
#include "tools/Commands.h"
#include "tools/FileCommands.h"

namespace tessel_cli {
namespace {

int runCopy(const Arguments& arguments) {
    if (arguments.positional.size() != 2 || !arguments.flags.empty()) {
        return fail("copy", "expected URI OUT (see 'tessel copy --help')");
    }
    const auto context = openFile("copy", arguments.positional[0]);
    if (!context) {
        return 1;
    }
    std::string error;
    const bool written =
        Tessel::writeRecordCopy(context->getFile(), arguments.positional[1], error);
    return written ? 0 : fail("copy", error);
}

}  // namespace

Command copyCommand() {
    return {"copy", "copy URI OUT", "Write the file again through the record layer.",
            "Every header, subheader and TRE is written from the record as it was read, each\n"
            "segment's data copied as it stands (compressed data stays compressed). Lengths\n"
            "(FL, HL, the segment lengths, the extension section lengths) are measured anew.\n"
            "OUT appears only when it is complete: the file is written beside it under a\n"
            "temporary name and renamed; on failure an existing OUT is left as it was.",
            runCopy};
}

}  // namespace tessel_cli
