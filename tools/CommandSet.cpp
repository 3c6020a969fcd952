// tessel set: fields changed by metadata path, and the file written again.

#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/RecordCopy.h"
#include "tessel/platform/nitf.h"
#include "tools/Commands.h"
#include "tools/FileCommands.h"

namespace tessel_cli {
namespace {

struct Assignment {
    std::string path;
    std::string value;
    bool json = false;
};

// "PATH=VALUE", "PATH:=JSON"; a VALUE that begins with "{" or "[" is JSON too.
std::optional<Assignment> parseAssignment(const std::string& word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0) {
        return std::nullopt;
    }
    Assignment assignment;
    assignment.value = word.substr(equals + 1);
    if (word[equals - 1] == ':') {
        assignment.path = word.substr(0, equals - 1);
        assignment.json = true;
    } else {
        assignment.path = word.substr(0, equals);
        assignment.json = !assignment.value.empty() &&
                          (assignment.value.front() == '{' || assignment.value.front() == '[');
    }
    return assignment;
}

// The number of segments of each kind: an assignment may not add any, since the data of a
// new segment has no source here.
std::vector<uint32_t> segmentCounts(Tessel::NITFFile& file) {
    nitf_Record* record = file.getPrivate()->getRecord();
    return {nitf_List_size(record->images), nitf_List_size(record->graphics),
            nitf_List_size(record->labels), nitf_List_size(record->texts),
            nitf_List_size(record->dataExtensions)};
}

bool namesABody(const std::string& path) {
    const size_t slash = path.find_last_not_of(" /");
    const std::string trimmed = path.substr(0, slash == std::string::npos ? 0 : slash + 1);
    const std::string last = trimmed.substr(trimmed.find_last_of('/') + 1);
    return last == "Data" || last == "DataBase64";
}

struct SetOptions {
    std::string uri;
    std::string output;
    std::vector<Assignment> assignments;
};

std::optional<SetOptions> parseOptions(const Arguments& arguments) {
    SetOptions options;
    const auto& words = arguments.words;
    for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "-o" || words[i] == "--output") {
            if (i + 1 >= words.size() || !options.output.empty()) {
                return std::nullopt;
            }
            options.output = words[++i];
        } else if (options.uri.empty()) {
            options.uri = words[i];
        } else if (const auto assignment = parseAssignment(words[i])) {
            options.assignments.push_back(*assignment);
        } else {
            fail("set", "not an assignment PATH=VALUE: " + words[i]);
            return std::nullopt;
        }
    }
    if (options.uri.empty() || options.output.empty() || options.assignments.empty()) {
        return std::nullopt;
    }
    return options;
}

// The file, opened apart from the cache so that nothing else sees the changes.
std::shared_ptr<Tessel::NITFFile> openForChange(const std::string& uriText) {
    const Tessel::NITFURI uri = uriFromArgument(uriText);
    Tessel::NITFMessages messages;
    try {
        auto file = std::make_shared<Tessel::NITFFile>(uri, messages);
        file->getPrivate()->setReadOnly(false);
        return file;
    } catch (const std::exception& e) {
        fail("set", uriText + ": " + e.what());
        return nullptr;
    }
}

bool apply(Tessel::NITFFile& file, const Assignment& assignment) {
    if (namesABody(assignment.path)) {
        fail("set", assignment.path + ": segment data can't be changed by this command");
        return false;
    }
    const std::vector<uint32_t> before = segmentCounts(file);
    Tessel::NITFMessages messages;
    const bool ok = assignment.json
                        ? file.setPath(0, assignment.path, assignment.value, messages)
                        : file.setPathAsString(0, assignment.path, assignment.value, messages);
    for (const auto& message : messages) {
        fail("set", message);
    }
    if (ok && segmentCounts(file) != before) {
        fail("set",
             assignment.path + ": adds a segment, whose data can't be written by this command");
        return false;
    }
    return ok;
}

int runSet(const Arguments& arguments) {
    const auto options = parseOptions(arguments);
    if (!options) {
        return fail("set", "expected URI PATH=VALUE... -o OUT (see 'tessel set --help')");
    }
    const auto file = openForChange(options->uri);
    if (!file) {
        return 1;
    }
    for (const auto& assignment : options->assignments) {
        if (!apply(*file, assignment)) {
            return 1;  // nothing is written
        }
    }
    std::string error;
    return Tessel::writeRecordCopy(*file, options->output, error) ? 0 : fail("set", error);
}

}  // namespace

Command setCommand() {
    return {
        "set", "set URI PATH=VALUE... -o OUT",
        "Change fields by metadata path and write the file to OUT.",
        "Each PATH=VALUE stores VALUE as text in the field that PATH names\n"
        "(\"/FileHeader/FTITLE=New title\", \"/Images/0/IID1=ID\"). PATH:=JSON stores a\n"
        "JSON value, field by field for an object (\"/FileHeader:={\\\"ONAME\\\": \\\"Me\\\"}\");\n"
        "a VALUE that begins with \"{\" or \"[\" is JSON too. Missing TREs are made\n"
        "(\"/FileHeader/TREs/BLOCKA/BLOCK_INSTANCE=1\").\n"
        "A value is checked against the field's type and width first: a refused one is\n"
        "reported with the path and the reason, the exit status is 1 and nothing is\n"
        "written. Read-only fields (lengths and counts) are accepted and left as they are.\n"
        "New segments and segment data can't be given here. OUT is written as 'tessel\n"
        "copy' writes: whole, under a temporary name renamed into place.",
        runSet};
}

}  // namespace tessel_cli
