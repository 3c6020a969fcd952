#include "PyErrors.h"

#include "tessel/platform/base/nitf_fs.h"

namespace tessel_python {

std::string openFailureText(const Tessel::NITFURI& uri, const Tessel::NITFMessages& messages) {
    std::string text;
    for (const auto& message : messages) {
        text += (text.empty() ? "" : "; ") + message;
    }
    if (text.empty()) {
        const bool exists = nitf_fs::ext::status(uri.nativePath()).exists();
        text = uri.getURI_u8(Tessel::URIParts::Path) +
               (exists ? ": not a NITF file" : ": No such file or directory");
    }
    return text;
}

}  // namespace tessel_python
