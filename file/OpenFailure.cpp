#include "tessel/file/OpenFailure.h"

#include "tessel/platform/base/nitf_fs.h"

namespace Tessel {

std::string openRefusalText(const NITFURI& uri) {
    const bool exists = nitf_fs::ext::status(uri.nativePath()).exists();
    return uri.getURI_u8(URIParts::Path) +
           (exists ? ": not a NITF file" : ": No such file or directory");
}

std::string openFailureText(const NITFURI& uri, const NITFMessages& messages) {
    std::string text;
    for (const auto& message : messages) {
        text += (text.empty() ? "" : "; ") + message;
    }
    return text.empty() ? openRefusalText(uri) : text;
}

}  // namespace Tessel
