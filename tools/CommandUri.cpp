#include <cstdio>
#include <nlohmann/json.hpp>

#include "tessel/core/NITFURI.h"
#include "tessel/platform/base/text.h"
#include "tools/Commands.h"

namespace tessel_cli {
namespace {

const char* objectTypeName(Tessel::FileObject type) {
    switch (type) {
        case Tessel::FileObject::Named:
            return "name";
        case Tessel::FileObject::Image:
            return "image";
        default:
            return "none";
    }
}

std::string part(const Tessel::NITFURI& uri, int parts) {
    return uri.getURI_u8(static_cast<Tessel::URIParts>(parts));
}

nlohmann::ordered_json describe(const Tessel::NITFURI& uri, const std::string& base) {
    nlohmann::ordered_json out;
    out["original"] = std::to_string(uri.getOriginalURI());
    out["base"] = base;
    out["root"] = std::to_string(uri.root_name());
    out["relative_path"] = std::to_string(uri.relative_path());
    out["stem"] = std::to_string(uri.stem());
    out["extension"] = std::to_string(uri.extension());
    out["profile"] = std::to_string(uri.profile_name());
    out["object_name"] = std::to_string(uri.object_name());
    out["object_type"] = objectTypeName(uri.object_type());
    out["object_index"] = uri.object_index();
    out["folder"] = part(uri, 3);
    out["file_name"] = part(uri, 48);
    out["path"] = part(uri, 51);
    out["canonical"] = part(uri, 819);
    out["cache_key"] = std::to_string(uri.cacheKey());
    out["nitf_extension"] = Tessel::NITFURI::is_nitf_extension(uri.extension());
    return out;
}

int runUri(const Arguments& arguments) {
    if (arguments.positional.empty() || arguments.positional.size() > 2) {
        return fail("uri", "expected TEXT [BASE] (see 'tessel uri --help')");
    }
    const std::string& input = arguments.positional[0];
    const std::string base = arguments.positional.size() > 1 ? arguments.positional[1] : "";
    const Tessel::NITFURI uri{std::string_view(input), std::string_view(base)};
    const auto description = describe(uri, base);
    if (arguments.has("--json")) {
        std::printf("%s\n", description.dump(2).c_str());
        return 0;
    }
    for (const auto& item : description.items()) {
        const auto& value = item.value();
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        std::printf("%-15s %s\n", item.key().c_str(), text.c_str());
    }
    return 0;
}

}  // namespace

Command uriCommand() {
    return {"uri", "uri TEXT [BASE] [--json]",
            "Split a URI into its path parts, profile and object, with its canonical forms.",
            "TEXT may be \"path\", \"path#IM_n\", \"path#name\", \"NITF_IM:n:path\",\n"
            "\"path.ntf/Profile\" or \"path.ntf/Profile/IM_n\"; a relative TEXT is resolved\n"
            "against BASE.",
            runUri};
}

}  // namespace tessel_cli
