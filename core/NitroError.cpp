#include "tessel/core/NitroError.h"

#include <cstring>
#include <string>

namespace Tessel {
namespace {

template <typename Range>
bool report(const nrt_Error& error, NITFMessages& messages, const Range& context, bool failed) {
    std::string contextText;
    for (const auto& step : context) {
        contextText += '/';
        contextText += step;
    }
    if (error.level != 0) {
        std::string text(error.message, strnlen(error.message, sizeof error.message));
        messages.push_back(contextText.empty() ? text : contextText + ": " + text);
        return true;
    }
    if (failed && messages.empty()) {
        messages.push_back(contextText.empty() ? std::string("Generic Error")
                                               : contextText + ": Generic Error");
    }
    return failed;
}

}  // namespace

bool checkNitroError(const nrt_Error& error, NITFMessages& messages,
                     std::initializer_list<std::string_view> context, bool failed) {
    return report(error, messages, context, failed);
}

bool checkNitroError(const nrt_Error& error, NITFMessages& messages,
                     const std::vector<std::string_view>& context, bool failed) {
    return report(error, messages, context, failed);
}

}  // namespace Tessel
