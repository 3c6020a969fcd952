#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A product profile loaded from a JSON file: its name, title, type and priority, the rules
// that tell which files it claims, its layer and mosaic definitions, and its properties.
// Definitions may be left out at start-up and read on first need.

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "tessel/products/NITFProductProfile.h"

namespace Tessel {

class NITFProductJsonConfigProfile : public NITFProductProfile {
public:
    using AliasTable = std::map<std::wstring, std::wstring, std::less<>>;

    // The profiles of one file. With `loadDefinitions` false only names, priorities and
    // match rules are read; with a `nameFilter` only the product of that name. Each bad
    // product is left out with its messages; the file's "Aliases" go into `aliases`.
    static std::vector<std::shared_ptr<NITFProductJsonConfigProfile>> createProductProfiles(
        const std::wstring& path, bool loadDefinitions, const std::wstring& nameFilter,
        AliasTable& aliases, NITFMessages& messages);
    // The same for a text that is no file (tests, fuzzing); references name files of the
    // profile folders as usual.
    static std::vector<std::shared_ptr<NITFProductJsonConfigProfile>> createProductProfilesFromText(
        const std::string& text, const std::wstring& path, bool loadDefinitions,
        const std::wstring& nameFilter, AliasTable& aliases, NITFMessages& messages);

    std::wstring getFormatType() const override { return L"JSONConfig"; }
    std::wstring getType() const override { return type_; }
    std::wstring getName() const override { return name_; }
    std::wstring getTitle() const override { return title_; }
    int getPriority() const override { return priority_; }
    bool getShowGeneric() const override { return showGeneric_; }
    std::vector<std::wstring> getProcessingTemplates() const override;
    int matchesFile(const NITFFileContext& context, const ProfileEvalHooks& hooks) override;
    std::shared_ptr<NITFProduct> openProduct(const NITFFileContext& context, NITFMessages& messages,
                                             const ProfileEvalHooks& hooks) override;
    void ProcessImageSegment(int index, const NITFFileContext& context,
                             std::vector<Products::Layer>& layers, NITFMessages& messages,
                             const ProfileEvalHooks& hooks) override;
    void ProcessFeatureSegment(int index, const NITFFileContext& context,
                               std::vector<Products::Layer>& layers, NITFMessages& messages,
                               const ProfileEvalHooks& hooks) override;
    void ProcessTables(const NITFFileContext& context, int& tableIndex,
                       std::vector<Products::Layer>& layers, NITFMessages& messages,
                       const ProfileEvalHooks& hooks) override;
    any_type::value getPropertyValue(std::string_view path,
                                     const ComputeContext& context) const override;

    // Every feature segment from index 0 up to "/FileHeader/NUMDES".
    void ProcessFeatureSegments(const NITFFileContext& context,
                                std::vector<Products::Layer>& layers, NITFMessages& messages,
                                const ProfileEvalHooks& hooks);

    // By exact key, then by alias; std::runtime_error when neither matches.
    const Products::PropertyDefinition& getPropertyDefinition(std::wstring_view name) const;
    const Products::LayerDefinition& getLayerDefinition(std::wstring_view key) const;

    const std::wstring& getBase() const { return base_; }
    const std::filesystem::path& getFile() const { return file_; }
    const std::vector<Products::MatchRule>& getMatchRules() const { return match_; }
    const std::vector<Products::LayerDefinition>& getLayerDefinitions() const;
    const std::vector<Products::MosaicDefinition>& getMosaicDefinitions() const;
    const Products::PropertyDefinitions& getProperties() const { return properties_; }

    // Reads the layer and mosaic definitions from the profile's file on first need.
    void reloadDefinitions() const;

private:
    friend struct JsonProfileLoader;

    bool Process(const Products::LayerDefinition& definition, int index,
                 const std::wstring& keyText, const NITFFileContext& context,
                 std::vector<Products::Layer>& layers, NITFMessages& messages,
                 const ProfileEvalHooks& hooks, const any_type::value& value);
    bool ValidateLayer(const NITFFileContext& context, const NITFURI& uri, int index,
                       const Products::LayerDefinition& definition, Products::Layer& layer,
                       NITFMessages& messages, const ProfileEvalHooks& hooks);
    // The base profile, when it names a loaded JSON profile other than this one.
    std::shared_ptr<NITFProductJsonConfigProfile> baseProfile(NITFMessages& messages) const;

    std::filesystem::path file_;
    std::wstring name_;
    std::wstring title_;
    std::wstring type_;
    int priority_ = 0;
    std::wstring base_;
    bool showGeneric_ = false;
    std::vector<Products::MatchRule> match_;
    Products::PropertyDefinitions properties_;
    std::set<std::wstring> processingTemplates_;

    mutable std::mutex definitionsMutex_;
    mutable bool definitionsLoaded_ = false;
    mutable std::vector<Products::LayerDefinition> layers_;
    mutable std::vector<Products::MosaicDefinition> mosaics_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
