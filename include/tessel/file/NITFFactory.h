#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The entry to the file model: starts the NITF subsystem on first use, opens files through
// the process-wide cache, and tells cheaply what kind of file a URI names.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFType.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/any_type.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/products/NITFProduct.h"
#include "tessel/products/NITFProductProfile.h"

namespace Tessel {

class NITFFactory {
public:
    // Announced to the registered callbacks while the subsystem starts; the value passed
    // with them is empty.
    enum event_type : int {
        plugins_loading = 0,  // before the NITRO plug-ins are loaded
        plugins_loaded = 1,   // after they are loaded
    };
    using callback_type = std::function<void(event_type, const any_type::value&)>;

    // The factory; the first call starts the subsystem on the calling thread.
    static NITFFactory& get();

    // For static initialisers: a callback registered after the start is never called.
    static void registerCallback(callback_type&& callback);

    // A context on the file of `uri`, shared with every other open of the same path. A
    // failed open gives an empty context and never throws; the reason, when there is one,
    // is in `messages`. A path known not to be NITF fails at once without a message.
    NITFFileContext open(const NITFURI& uri, NITFMessages& messages);

    // A context over a new, empty file for writing; never cached.
    static NITFFileContext create(NITFMessages& messages);

    bool isNITFFile(const NITFURI& uri) const;
    // From the cache, or from the first bytes of the file without parsing it.
    NITFType getNITFVersion(const NITFURI& uri) const;

    // Opens the file at `uri` into the cache after another part of the program wrote it.
    // `name` is not used. Throws when the file can't be opened.
    bool cacheOnExport(const std::wstring_view& name, const NITFURI& uri);

    // Forgets every cached type, file and block. Files held by contexts stay open but are
    // no longer found by their path.
    void clearCache();

    // The product of a URI through the profile that the URI names, or else the first that
    // claims the file in priority order, or "Generic". Empty, with the reason in `messages`,
    // when the profile is unknown or the file doesn't open.
    std::shared_ptr<NITFProduct> openProduct(const NITFURI& uri, NITFMessages& messages,
                                             const ProfileEvalHooks& hooks = {});
    // A loaded profile by alias, then by name (exactly); empty when there is none. The
    // profiles of the configuration folders are loaded on first use; their messages go to
    // the sink of the call that loads them.
    std::shared_ptr<NITFProductProfile> getProfile(const std::wstring_view& name,
                                                   NITFMessages& messages);
    // The profiles of one file, definitions read at once, not entered in the tables.
    std::vector<std::shared_ptr<NITFProductProfile>> loadProfileFile(const std::wstring_view& path,
                                                                     NITFMessages& messages);
    // (priority, name) of every loaded profile, in priority order.
    std::vector<std::pair<int, std::wstring>> getAllProfiles(NITFMessages& messages);
    // The processing templates of all profiles.
    std::vector<std::wstring> getAllProcessingTemplates();
    // The name of the first profile in priority order whose rules all hold, else "Generic".
    std::wstring getBestMatchingProfile(const NITFURI& uri, NITFMessages& messages,
                                        const ProfileEvalHooks& hooks = {});
    // (score, name) of every profile whose score isn't 0, partial ones included.
    std::vector<std::pair<int, std::wstring>> getMatchingProfiles(
        const NITFURI& uri, NITFMessages& messages, const ProfileEvalHooks& hooks = {});
    // Where each loaded profile came from: its file, or "built-in"; in priority order.
    std::vector<std::pair<std::wstring, std::wstring>> getProfileOrigins(NITFMessages& messages);

private:
    NITFFactory();
    ~NITFFactory() = default;
    NITFFactory(const NITFFactory&) = delete;
    NITFFactory& operator=(const NITFFactory&) = delete;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
