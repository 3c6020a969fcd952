#pragma once
// Reading a model's support data, shared by the model families: numbers and texts of a
// record, members of a document, the common header from a document or a file, and the guard
// that turns every failure of a construction into a null model.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "tessel/sensors/Coordinates.h"
#include "tessel/sensors/RasterGM.h"

namespace Tessel {
class NITFFileContext;
}

namespace VEXASensors::detail_support {

// Where a reader sends the words of a failure before it gives up.
using FailSink = std::function<void(const std::string&)>;

// Sends `message` to `fail` and throws already_logged.
[[noreturn]] void failAndThrow(const FailSink& fail, const std::string& message);

// A number as JSON gives it, or text read without regard to the locale after one leading
// plus sign; empty text is 0. Anything else fails with "'<value>' is not a number".
double readNumber(const nlohmann::json& value, const FailSink& fail);
// A JSON string as it stands, any other value as its JSON text.
std::string readText(const nlohmann::json& value);

// The member `key` of `object`; "Not an object (<type>) looking for '<key>'" or
// "Key '<key>' not found" otherwise.
const nlohmann::json& memberOf(const nlohmann::json& object, const std::string& key,
                               const FailSink& fail);

// The common header: each missing member is reported as "Image parameter not found: <key>"
// and stands as "UNKNOWN"; a count that doesn't parse stays 1.
StateHeader readHeader(const nlohmann::json& document, const FailSink& fail);
StateHeader readHeader(const Tessel::NITFFileContext& file, const FailSink& fail);

// An image parameter as text with its double quotes removed, from a document's member or a
// file's "/Image/<key>"; a missing one is reported as "Image parameter not found: <key>" and
// reads "UNKNOWN".
std::string imageParameter(const nlohmann::json& document, const std::string& key,
                           const FailSink& fail);
std::string imageParameter(const Tessel::NITFFileContext& file, const std::string& key,
                           const FailSink& fail);

// An image subheader field through "/Image/<key>", or nothing when the file has none.
std::optional<std::string> imageField(const Tessel::NITFFileContext& file, const std::string& key);

// Whether the file holds the TRE ("/TRE/<name>/_exists"), and its fields as a document.
bool fileHasTre(const Tessel::NITFFileContext& file, const std::string& name);
nlohmann::json treDocument(const Tessel::NITFFileContext& file, const std::string& name);

// Runs a construction; already_logged and any other exception (its text sent to `fail`)
// end in a null model.
template <typename Model, typename Read>
std::unique_ptr<Model> guardedConstruction(const FailSink& fail, Read&& read) {
    try {
        return read();
    } catch (const already_logged&) {
        return nullptr;
    } catch (const std::exception& e) {
        if (fail) {
            fail(e.what());
        }
        return nullptr;
    }
}

}  // namespace VEXASensors::detail_support
