// The "XML" dictionary of an XML data extension segment: the parsed document as nested
// dictionaries of attributes, text and child elements.

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <climits>
#include <memory>

#include "paths/PathDictionary.h"

using Tessel::NITFMessages;

namespace NITFPathInternal {
namespace {

struct DocumentFree {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};

std::string nodeContent(xmlNode* node) {
    xmlChar* content = xmlNodeGetContent(node);
    if (content == nullptr) {
        return {};
    }
    std::string text(reinterpret_cast<const char*>(content));
    xmlFree(content);
    return text;
}

std::string nameOf(const xmlChar* name) {
    return name != nullptr ? std::string(reinterpret_cast<const char*>(name)) : std::string();
}

// An element: its attributes in order as "@name", then its children in order, text as
// "#text" and any other node as a nested dictionary under its name.
Dict encodeElement(xmlNode* element) {
    Dict dict;
    for (xmlAttr* attribute = element->properties; attribute != nullptr;
         attribute = attribute->next) {
        dict.add("@" + nameOf(attribute->name),
                 Node::makeString(nodeContent(reinterpret_cast<xmlNode*>(attribute))));
    }
    for (xmlNode* child = element->children; child != nullptr; child = child->next) {
        if (child->type == XML_TEXT_NODE) {
            dict.add("#text", Node::makeString(nodeContent(child)));
        } else {
            dict.add(nameOf(child->name), Node::makeDict(encodeElement(child)));
        }
    }
    return dict;
}

}  // namespace

Dict encodeXMLContent(std::string_view bytes, NITFMessages& messages, const PathList&) {
    Dict dict;
    xmlInitParser();
    std::shared_ptr<xmlDoc> document;
    if (bytes.size() <= static_cast<size_t>(INT_MAX)) {
        // Quietly: a broken document is reported in the sink, not on the standard error.
        constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
        document.reset(
            xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, kOptions),
            DocumentFree());
    }
    if (!document) {
        messages.push_back("DES: Unable to parse XML segment");
        return dict;
    }
    for (xmlNode* node = document->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            dict.add(nameOf(node->name), Node::makeDict(encodeElement(node)));
        }
    }
    return dict;
}

}  // namespace NITFPathInternal
