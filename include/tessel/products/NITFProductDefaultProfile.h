#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The built-in profile "Generic": one image layer and one mosaic item per image segment and
// one feature layer per shape data extension segment, for any file of the NITF family. It
// also makes the connection strings of shape data that templates reach through the paths
// ".../ConnectionString" and ".../Exists".

#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tessel/products/NITFProduct.h"
#include "tessel/products/NITFProductProfile.h"

namespace Tessel {

class NITFProductDefaultProfile : public NITFProductProfile {
public:
    using json = nlohmann::ordered_json;

    std::wstring getFormatType() const override { return L"Default"; }
    std::wstring getType() const override { return L"Generic"; }
    std::wstring getName() const override { return DefaultProfileName; }
    std::wstring getTitle() const override { return L"$/FileHeader/FTITLE$"; }
    int getPriority() const override { return 1; }
    bool getShowGeneric() const override { return true; }
    std::vector<std::wstring> getProcessingTemplates() const override { return {L"Default"}; }
    // 0 always: the default profile is only ever the fallback.
    int matchesFile(const NITFFileContext& context, const ProfileEvalHooks& hooks) override;
    std::shared_ptr<NITFProduct> openProduct(const NITFFileContext& context, NITFMessages& messages,
                                             const ProfileEvalHooks& hooks) override;

    // An image layer per image segment, and a mosaic of one item per displayable one.
    // Throws std::runtime_error "No File" for a context without a file.
    void ProcessImageSegments(const NITFFileContext& context,
                              const std::shared_ptr<NITFProduct>& product);
    // A feature layer per shape data extension segment whose data are complete.
    void ProcessDESegments(const NITFFileContext& context,
                           const std::shared_ptr<NITFProduct>& product);
    bool AddFeatureDataset(const NITFFileContext& context, const json& document, size_t index,
                           const std::shared_ptr<NITFProduct>& product);

    // The display documents of an image and a feature layer. Throw std::runtime_error
    // "No File" for a context without a file.
    static std::string MapDocForImage(const NITFFileContext& context, int index,
                                      const std::string_view& name,
                                      const std::string_view& description,
                                      const std::string_view& connection,
                                      const std::string_view& dataset);
    static std::string MapDocForFeature(const NITFFileContext& context, int index,
                                        const std::string_view& name,
                                        const std::string_view& description,
                                        const std::string_view& connection);

    // The connection of the shape data that one data extension segment holds, given the
    // segment as the JSON document of "DESs/n?JSON"; empty when a component is missing.
    // Throws the JSON library's errors for a malformed document.
    static std::string CreateFeatureConnectionString(const NITFFileContext& context,
                                                     const json& document);
    // "Feature/DES/2/ConnectionString": segment 2; "Feature/USE/ConnectionString": the first
    // segment whose SHAPE_USE is USE. Empty when none is found.
    static std::wstring MakeFeatureConnectionString(const NITFFileContext& context,
                                                    const std::wstring_view& path);
    // "true" when a segment's SHAPE_USE equals the path's second component, else empty.
    static std::wstring ProcessDataExtensionSegments(const NITFFileContext& context,
                                                     const std::wstring_view& path);
    static std::wstring CheckForFeatureDefinition(const NITFFileContext& context,
                                                  const std::wstring_view& path);
};

}  // namespace Tessel

TESSEL_PUBLIC_END
