#include "tools/FileCommands.h"

#include <filesystem>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/OpenFailure.h"
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
        fail(command, Tessel::openRefusalText(uri));
    }
    return std::nullopt;
}

}  // namespace tessel_cli
