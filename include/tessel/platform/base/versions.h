#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Named version listings: modules register a callback that describes what they hold
// (versions, registered codecs, extensions), and a host collects them all on demand.

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <map>
#include <string>
#include <vector>

// Fills `out` (null on entry) with the listing; `options` are the caller's program
// options, which a listing may use to choose what it shows.
using version_callback = std::function<void(const std::map<std::string, std::string>& options,
                                            nlohmann::ordered_json& out)>;

// Safe to call from static initialisers and from any thread. A second registration of a
// name leaves the first in place.
void registerVersionCB(const std::string& name, const std::string& description,
                       version_callback cb);

// The registered names, in order of registration.
std::vector<std::string> registeredVersionNames();

// {name: {"description": ..., "value": <what the callback filled>}} in order of
// registration. A callback that throws gives "error" with the exception's text instead of
// "value"; the other listings still run. Callbacks run without any lock held, so that they
// may themselves register or collect.
nlohmann::ordered_json collectVersions(const std::map<std::string, std::string>& options = {});

TESSEL_PUBLIC_END
