#include "tools/FileCommands.h"

#include <charconv>
#include <cstdio>
#include <filesystem>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tools/Commands.h"

namespace tessel_cli {

std::optional<Tessel::NITFFileContext> openFile(const std::string& command,
                                                const std::string& uriText) {
    const std::string base = std::filesystem::current_path().string();
    const Tessel::NITFURI uri{std::string_view(uriText), std::string_view(base)};
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uri, messages);
    if (context) {
        return context;
    }
    for (const auto& message : messages) {
        fail(command, message);
    }
    if (messages.empty()) {
        const bool exists = nitf_fs::ext::status(uri.nativePath()).exists();
        fail(command, uri.getURI_u8(Tessel::URIParts::Path) +
                          (exists ? ": not a NITF file" : ": No such file or directory"));
    }
    return std::nullopt;
}

std::string withByteEscapes(const std::string& json) {
    std::string out;
    out.reserve(json.size());
    for (size_t i = 0; i < json.size(); ++i) {
        if (json[i] != '\\' || i + 1 >= json.size()) {
            out += json[i];
            continue;
        }
        // "\u-0XX": the minus and three hexadecimal digits of a negative byte value.
        if (json[i + 1] == 'u' && i + 5 < json.size() && json[i + 2] == '-') {
            int magnitude = 0;
            const char* first = json.data() + i + 3;
            const auto [end, error] = std::from_chars(first, first + 3, magnitude, 16);
            if (error == std::errc() && end == first + 3 && magnitude > 0 && magnitude <= 128) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", 256 - magnitude);
                out += escape;
                i += 5;
                continue;
            }
        }
        out += json[i];
        out += json[i + 1];
        ++i;
    }
    return out;
}

}  // namespace tessel_cli
