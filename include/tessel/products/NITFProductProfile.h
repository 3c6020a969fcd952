#pragma once
// A product profile: how a file becomes a product. For now it carries the state of one
// evaluation of a profile's templates.

#include <cstdint>
#include <functional>
#include <string_view>

#include "tessel/core/NITFURI.h"
#include "tessel/core/any_type.h"

namespace Tessel {

class NITFFileContext;

class NITFProductProfile {
public:
    // The state of one evaluation of templates against a file.
    struct ComputeContext {
        // Answers the "/Product/..." paths: given the rest of such a path and this context,
        // it gives the value. Evaluations that need it fail without it.
        using evaluator_type =
            std::function<any_type::value(std::string_view path, const ComputeContext& context)>;

        // The file being evaluated; it must outlive the evaluation. Null when there is none.
        const NITFFileContext* fileContext = nullptr;
        NITFURI uri;
        int64_t imageIndex = 0;  // what "%i" stands for
        int64_t bandIndex = 0;   // what "%b" stands for
        evaluator_type evaluator;
    };
};

}  // namespace Tessel
