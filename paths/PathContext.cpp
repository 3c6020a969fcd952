#include "tessel/paths/PathContext.h"

#include <ostream>

#include "tessel/paths/PathComponents.h"
#include "tessel/paths/PathWalker.h"

PathContext::~PathContext() = default;

any_type::value PathContext::GetByPathAsVariant(int image, std::string_view path,
                                                Tessel::NITFMessages& messages) {
    using namespace NITFPathInternal;
    const PathComponents query = PathComponents::parse(path);
    std::vector<std::string> components = splitPath(query.path);
    Node root = startNode(*this, image, components, messages);
    const PathWalk walk(root, std::move(components), messages);
    return renderValue(walk.node(), query, messages, walk.path());
}

namespace {

const char* formatText(PathContext::FormatType format) {
    switch (format) {
        case PathContext::FormatXML:
            return "FormatXML";
        case PathContext::FormatJSON:
            return "FormatJSON";
        case PathContext::FormatRaw:
            return "FormatRaw";
        default:
            return "FormatString";
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& os, PathContext::FormatType format) {
    return os << formatText(format);
}

std::wostream& operator<<(std::wostream& os, PathContext::FormatType format) {
    return os << formatText(format);
}
