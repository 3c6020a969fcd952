#include <cstdio>
#include <nlohmann/json.hpp>

#include "tessel/platform/base/versions.h"
#include "tools/Commands.h"

namespace tessel_cli {

Command versionCommand() {
    return {"version", "version", "Print the version of tessel and its library.", "",
            [](const Arguments&) {
                std::printf("tessel %s\n", TESSEL_VERSION_TEXT);
                return 0;
            }};
}

Command versionsCommand() {
    return {"versions", "versions [NAME...]",
            "Print the registered version listings (libraries, TREs, codecs) as JSON.",
            "With names, only those listings are printed.", [](const Arguments& arguments) {
                nlohmann::ordered_json listings = collectVersions();
                if (!arguments.positional.empty()) {
                    nlohmann::ordered_json chosen = nlohmann::ordered_json::object();
                    for (const auto& name : arguments.positional) {
                        if (!listings.contains(name)) {
                            return fail("versions", "no listing named '" + name + "'");
                        }
                        chosen[name] = listings[name];
                    }
                    listings = std::move(chosen);
                }
                std::printf("%s\n", listings.dump(2).c_str());
                return 0;
            }};
}

}  // namespace tessel_cli
