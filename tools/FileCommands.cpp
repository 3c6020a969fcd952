#include "tools/FileCommands.h"

#include <filesystem>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/OpenFailure.h"
#include "tools/Commands.h"

namespace tessel_cli {

int reportOpenFailure(const std::string& command, const Tessel::NITFURI& uri,
                      const Tessel::NITFMessages& messages) {
    for (const auto& message : messages) {
        fail(command, message);
    }
    if (messages.empty()) {
        fail(command, Tessel::openRefusalText(uri));
    }
    return 1;
}

Tessel::NITFURI uriFromArgument(const std::string& text) {
    const std::string base = std::filesystem::current_path().string();
    return Tessel::NITFURI{std::string_view(text), std::string_view(base)};
}

std::optional<Tessel::NITFFileContext> openFile(const std::string& command,
                                                const std::string& uriText) {
    const Tessel::NITFURI uri = uriFromArgument(uriText);
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uri, messages);
    if (context) {
        return context;
    }
    reportOpenFailure(command, uri, messages);
    return std::nullopt;
}

}  // namespace tessel_cli
