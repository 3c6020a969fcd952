#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "tessel/file/NITFFileContext.h"
#include "tessel/paths/StandardJson.h"
#include "tools/Commands.h"
#include "tools/FileCommands.h"

namespace tessel_cli {
namespace {

using Json = nlohmann::ordered_json;

// One line per value: "/FileHeader/FHDR = NITF"; array elements by index.
std::string childPath(const std::string& path, const std::string& name) {
    std::string child = path;
    child += '/';
    child += name;
    return child;
}

void printLines(const Json& node, const std::string& path) {
    if (node.is_object()) {
        for (const auto& [key, child] : node.items()) {
            printLines(child, childPath(path, key));
        }
    } else if (node.is_array()) {
        for (size_t i = 0; i < node.size(); ++i) {
            printLines(node[i], childPath(path, std::to_string(i)));
        }
    } else if (node.is_string()) {
        std::printf("%s = %s\n", path.c_str(), node.get<std::string>().c_str());
    } else {
        std::printf("%s = %s\n", path.c_str(), node.dump().c_str());
    }
}

int runDump(const Arguments& arguments) {
    if (arguments.positional.size() != 1) {
        return fail("dump", "expected one URI (see 'tessel dump --help')");
    }
    const auto context = openFile("dump", arguments.positional[0]);
    if (!context) {
        return 1;
    }
    if (arguments.has("--xml")) {
        std::printf("%s\n", context->getISD("XML").c_str());
        return 0;
    }
    const std::string json = context->getISD("JSON");
    if (arguments.has("--json")) {
        std::printf("%s\n", json.c_str());
        return 0;
    }
    const Json tree = Json::parse(Tessel::standardJsonEscapes(json), nullptr, false);
    if (tree.is_discarded()) {
        return fail("dump", "the metadata isn't readable as JSON; try --json or --xml");
    }
    printLines(tree, "");
    return 0;
}

}  // namespace

Command dumpCommand() {
    return {"dump", "dump URI [--json|--xml]", "Print the whole metadata tree of a NITF file.",
            "Without an option, one line 'PATH = VALUE' for every field, with the paths that\n"
            "'tessel path' reads. --json and --xml print the document as the library gives it:\n"
            "its JSON writes a byte above 127 as \"\\u\" and a negative number, as field text\n"
            "should hold none.",
            runDump};
}

}  // namespace tessel_cli
