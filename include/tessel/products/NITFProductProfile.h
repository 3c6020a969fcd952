#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A product profile: how a file becomes a product. Two kinds derive from it: the built-in
// default profile and the profiles loaded from JSON files. Profiles store templates; an
// evaluation against one file and one image index turns them into values.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/any_type.h"
#include "tessel/products/Products.h"

namespace Tessel {

class NITFFileContext;
class NITFProduct;
class NITFProductProfile;

// A host's optional tracing of profile evaluation. Each hook may be empty; none changes
// anything. Stages of a property source: 0 start, 5 raw value known, 6 map applied,
// 7 rejected; of a definition: 0 start, 4 default taken, 5 value found; of a match rule:
// 0 start, 1 held, 2 failed; of a layer: 0 start (with its URI), 1 done, 2 refused by its
// match rules, 5 one of its texts expanded (with the label of the text: "Title", "Template",
// "Source", "DisplayLevel", "Alias").
struct ProfileEvalHooks {
    std::function<void(const NITFProductProfile& profile, int stage)> profile;
    std::function<void(const Products::MatchRule& rule, int stage, const any_type::value& value)>
        matchRule;
    std::function<void(std::wstring_view label, const Products::PropertyDefinition& definition,
                       int stage, const any_type::value& value)>
        propertyDefinition;
    std::function<void(const Products::PropertySource& source, int stage,
                       const any_type::value& value)>
        propertySource;
    std::function<void(std::wstring_view what, int stage, const any_type::value& value)> layer;
};

class NITFProductProfile {
public:
    // The state of one evaluation of templates against a file.
    struct ComputeContext {
        // Answers the "/Product/..." paths: given the rest of such a path and this context,
        // it gives the value. Evaluations that need it give an empty value without it.
        using evaluator_type =
            std::function<any_type::value(std::string_view path, const ComputeContext& context)>;

        // The file being evaluated; it must outlive the evaluation. Null when there is none.
        const NITFFileContext* fileContext = nullptr;
        NITFURI uri;
        int64_t imageIndex = 0;  // what "%i" stands for
        int64_t bandIndex = 0;   // what "%b" stands for
        evaluator_type evaluator;
    };

    // Given an expression and the wide text of its result, the replacement text.
    using Encoder =
        std::function<std::wstring(std::string_view expression, std::wstring_view text)>;

    static const std::wstring DefaultObjectName;   // "Primary"
    static const std::wstring DefaultProfileName;  // "Generic"

    virtual ~NITFProductProfile();

    virtual std::wstring getFormatType() const = 0;
    virtual std::wstring getType() const = 0;
    virtual std::wstring getName() const = 0;
    virtual std::wstring getTitle() const = 0;
    virtual int getPriority() const = 0;
    virtual bool getShowGeneric() const = 0;
    virtual std::vector<std::wstring> getProcessingTemplates() const = 0;
    // Above 0: all of the profile's rules held; 0: none held or there are none; below 0: some.
    virtual int matchesFile(const NITFFileContext& context, const ProfileEvalHooks& hooks) = 0;
    virtual std::shared_ptr<NITFProduct> openProduct(const NITFFileContext& context,
                                                     NITFMessages& messages,
                                                     const ProfileEvalHooks& hooks) = 0;
    virtual void ProcessImageSegment(int index, const NITFFileContext& context,
                                     std::vector<Products::Layer>& layers, NITFMessages& messages,
                                     const ProfileEvalHooks& hooks);
    virtual void ProcessFeatureSegment(int index, const NITFFileContext& context,
                                       std::vector<Products::Layer>& layers, NITFMessages& messages,
                                       const ProfileEvalHooks& hooks);
    virtual void ProcessTables(const NITFFileContext& context, int& tableIndex,
                               std::vector<Products::Layer>& layers, NITFMessages& messages,
                               const ProfileEvalHooks& hooks);
    virtual any_type::value getPropertyValue(std::string_view path,
                                             const ComputeContext& context) const;

    // Expands the "$...$" spans of a template. A template that is one span alone keeps the
    // type of its value; otherwise the values are appended as text. An encoder, when given,
    // rewrites wide text results (for texts that go inside JSON).
    static any_type::value ComputeIsdValue(const ComputeContext& context,
                                           std::wstring_view templateText,
                                           const Encoder& encoder = {});
};

}  // namespace Tessel

TESSEL_PUBLIC_END
