#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The reading side of the path language: splitting a path into components, walking a
// tree of nodes, and rendering the node reached in one of the output formats.

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/any_type.h"
#include "tessel/paths/Node.h"
#include "tessel/paths/PathComponents.h"
#include "tessel/paths/PathContext.h"
#include "tessel/platform/nitf/nitf_Extensions.h"
#include "tessel/platform/nitf/nitf_Segments.h"

namespace NITFPathInternal {

// Splits text at `separator`; each piece is trimmed of blank, tab, carriage return,
// vertical tab and line feed, and empty pieces are dropped.
std::vector<std::string> splitItems(std::string_view text, char separator);
// The components of a path: "/FileHeader/FL", "FileHeader/FL" and "//FileHeader/ FL /"
// are the same; "" and "/" have none.
std::vector<std::string> splitPath(std::string_view path);

// Walks components down from a root. The root (and with it the tree) must outlive the
// walk. A failed walk appends its message to the sink and has no node. With `create` set
// the walk writes: a missing name is made by the dictionary's create function, and an
// array is grown by its create function until the index exists.
class PathWalk {
public:
    PathWalk(Node& root, std::vector<std::string> components, Tessel::NITFMessages& messages,
             bool create = false);
    PathWalk(const PathWalk&) = delete;
    PathWalk& operator=(const PathWalk&) = delete;

    bool failed() const { return node_ == nullptr; }
    // The node reached: inside the tree, or made by the walk ("_count", "_exists", a
    // lookup's result); null when the walk failed.
    Node* node() const { return node_; }
    // The node reached, or the shared Empty node.
    const Node& result() const { return node_ != nullptr ? *node_ : emptyNode(); }
    // The components walked, for messages and providers.
    const PathList& path() const { return path_; }

private:
    bool step(const std::string& component, Tessel::NITFMessages& messages);
    bool stepInDict(const std::string& component, Tessel::NITFMessages& messages);
    bool stepInArray(const std::string& component, Tessel::NITFMessages& messages);
    bool createInDict(const std::string& component, Tessel::NITFMessages& messages);
    bool fail(Tessel::NITFMessages& messages, std::string_view what);
    Node& keep(Node node);

    std::vector<std::string> components_;
    bool create_ = false;
    PathList path_;
    std::deque<Node> made_;
    Node* node_ = nullptr;
};

// Grows an array node by its create function, called with the element name, until it has
// `count` elements; the array is taken again after each call. False, with "{path}: Unable
// to grow array to {count}", when there is no create function or it fails; true with fewer
// elements when a call made none. No more than kMaxArrayGrowth elements are made at once.
bool growArray(Node& node, std::size_t count, Tessel::NITFMessages& messages, const PathList& path);
inline constexpr std::size_t kMaxArrayGrowth = 1000;

// "/A/B" of a path list, as messages show it; "" for the root.
std::string pathText(const PathList& path);

// The text forms. `path` is the path of the node, passed on to providers.
// XML: the declaration line and the node under the tag "NITFFragment", or under `tag`
// (a whole file's document uses "NITF").
std::string renderXML(Node& node, Tessel::NITFMessages& messages, const PathList& path,
                      std::string_view tag = "NITFFragment");
// JSON: the node with no key; containers nested deeper than `depth` become markers.
std::string renderJSON(Node& node, double depth, Tessel::NITFMessages& messages,
                       const PathList& path);
// The concatenated text of the node; field text is trimmed unless `raw`.
std::string renderText(Node& node, bool raw, Tessel::NITFMessages& messages, const PathList& path);

// The value of a node in the format of the query: XML and JSON as narrow text, string and
// raw forms as wide text through the post-processor. A null node gives an empty value.
any_type::value renderValue(Node* node, const PathComponents& query, Tessel::NITFMessages& messages,
                            const PathList& path);

// Parses "path?query", walks it from the root and renders the result.
any_type::value queryTree(Node& root, std::string_view path, Tessel::NITFMessages& messages);

// How a context's record becomes the nodes that a read starts from. The path dictionary
// installs its builders when the library is loaded; until then a record reads as an
// empty dictionary.
struct RootBuilders {
    // The root dictionary of the file: "/".
    std::function<Dict(PathContext& context)> root;
    // The dictionary of an image segment, as "/Images/n" gives it; "Image" uses it.
    std::function<Dict(nitf_ImageSegment* segment, int index, PathContext& context)> image;
    // Appends the TRE entries of one extension section (which may be null) to a
    // dictionary, as a segment's "TREs" lists them; "TRE" uses it.
    std::function<void(Dict& target, nitf_Extensions* section, PathContext& context,
                       Tessel::NITFMessages& messages, const PathList& path)>
        appendSection;
};

// Installs the builders and returns the ones installed before. Meant for start-up.
RootBuilders installRootBuilders(RootBuilders builders);
const RootBuilders& rootBuilders();

// The start of a read from a context: the root, or for a first component "Image" the
// dictionary of image `image`, or for "TRE" the merged extensions of that image and the
// file. The shortcut's component is removed; a bad image index leaves "Image" in place
// with an Empty root, after reporting the NITRO error.
Node startNode(PathContext& context, int image, std::vector<std::string>& components,
               Tessel::NITFMessages& messages);

}  // namespace NITFPathInternal

TESSEL_PUBLIC_END
