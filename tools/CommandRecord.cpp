#include <cstdio>

#include "tools/Commands.h"
#include "tools/RecordJson.h"

namespace tessel_cli {
namespace {

int runRecord(const Arguments& arguments) {
    if (arguments.positional.size() != 1) {
        return fail("record", "expected FILE (see 'tessel record --help')");
    }
    RecordJson record;
    try {
        record = readRecordJson(arguments.positional[0]);
    } catch (const std::exception& error) {
        return fail("record", error.what());
    }
    if (arguments.has("--json")) {
        // Every text value is valid UTF-8 already; the replacement only guards the path.
        std::printf("%s\n",
                    record.dump(1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
        return 0;
    }
    std::fputs(recordText(record).c_str(), stdout);
    return 0;
}

}  // namespace

Command recordCommand() {
    return {"record", "record FILE [--json]",
            "Show the whole record: header, segments, subheaders, bands and TREs field by field.",
            "Fields carry NITRO's names (FHDR, FSCLAS, FSCLSY, IID1, NROWS, ...); every TRE\n"
            "of every extension section is listed field by field, raw TREs as \"raw_data\".\n"
            "Text values are shown trimmed of trailing blanks and quoted, binary values in\n"
            "hexadecimal. --json keeps every byte: text values untrimmed (bytes above 127\n"
            "read as ISO 8859-1 and written as UTF-8), binary values as {\"base64\": ...}.\n"
            "A file that can't be read: the reason on standard error, exit status 1.",
            runRecord};
}

}  // namespace tessel_cli
