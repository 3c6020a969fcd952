#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// What a model policy reads support data through: a document (a model state or a JSON ISD)
// or an open NITF file. Readers chain to a parent, so that a failure names where it happened
// ("ConstructModelFromISD::TRE"), and send every failure to the caller's warning list.

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "tessel/csm/Warning.h"

namespace Tessel {
class NITFFileContext;
}

namespace VEXASensors {

// Sends "[<plugin>::<second>] <text>" under `label` to `warnings`; nothing without a list.
// `second` stands as "UNKNOWN" when empty.
void sendPluginWarning(csm::WarningList* warnings, csm::Warning::WarningType type,
                       const std::string& pluginName, const std::string& second,
                       const std::string& text, const std::string& label);

class IsdReader {
public:
    virtual ~IsdReader();
    IsdReader(const IsdReader&) = default;
    IsdReader& operator=(const IsdReader&) = delete;

    // The names of the ancestors and this reader, from the root down, joined by "::".
    std::string label() const;
    // Reports a failure under this reader's label.
    void fail(const std::string& message) const;

    // An image header field as text with its double quotes removed; a missing one is
    // reported and reads "UNKNOWN".
    std::string imageParameter(const std::string& key) const;
    // Whether the support data holds a TRE of that name.
    virtual bool hasTre(const std::string& name) const = 0;

    const std::string& pluginName() const { return plugin_; }
    const std::string& modelName() const { return model_; }
    const std::string& name() const { return name_; }
    csm::WarningList* warnings() const { return warnings_; }

protected:
    IsdReader(const IsdReader* parent, csm::WarningList* warnings, std::string pluginName,
              std::string modelName, std::string name);
    // The raw field text, or nothing when the field is missing.
    virtual bool rawImageParameter(const std::string& key, std::string& text) const = 0;

private:
    const IsdReader* parent_;
    csm::WarningList* warnings_;
    std::string plugin_;
    std::string model_;
    std::string name_;
};

// A reader over a JSON value.
class DocumentReader : public IsdReader {
public:
    DocumentReader(const IsdReader* parent, csm::WarningList* warnings, std::string pluginName,
                   std::string modelName, std::string name, const nlohmann::json* value);

    struct Lookup {
        bool isObject = false;
        bool exists = false;
        const nlohmann::json* value = nullptr;
    };
    // The member of that key, telling whether the holder was an object at all.
    Lookup find(const std::string& key) const;
    // The member, or a failure "Key '<key>' not found" ("Not an object (...) looking for
    // '<key>'" for a holder of another type) followed by already_logged.
    const nlohmann::json& member(const std::string& key, const std::string& word = "Key") const;

    bool hasTre(const std::string& name) const override;
    // The TRE's member, read by a child named "TRE".
    DocumentReader tre(const std::string& name) const;

    const nlohmann::json& value() const { return *value_; }

protected:
    bool rawImageParameter(const std::string& key, std::string& text) const override;

private:
    const nlohmann::json* value_;
    // Keeps alive a value that this reader parsed itself.
    std::shared_ptr<const nlohmann::json> owned_;

    friend class NitfReader;
};

// A reader over an open file, through its metadata paths.
class NitfReader : public IsdReader {
public:
    NitfReader(const IsdReader* parent, csm::WarningList* warnings, std::string pluginName,
               std::string modelName, std::string name, const Tessel::NITFFileContext* file);

    bool hasTre(const std::string& name) const override;
    // The TRE's fields as a JSON document, read by a child named "TRE".
    DocumentReader tre(const std::string& name) const;

    const Tessel::NITFFileContext& file() const { return *file_; }

protected:
    bool rawImageParameter(const std::string& key, std::string& text) const override;

private:
    const Tessel::NITFFileContext* file_;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
