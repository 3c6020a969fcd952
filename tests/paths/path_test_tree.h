#pragma once
// Hand-built node trees for the path language tests: a small file-like dictionary over
// NITRO fields owned by the test.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessel/paths/Node.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/nitf.h"

namespace path_test {

using namespace NITFPathInternal;

// Owns the NITRO fields that the nodes of a test point to.
class FieldStore {
public:
    FieldStore() = default;
    FieldStore(const FieldStore&) = delete;
    FieldStore& operator=(const FieldStore&) = delete;
    ~FieldStore() {
        for (nitf_Field* field : fields_) {
            nitf_Field_destruct(&field);
        }
    }

    // A field of that width and type holding the bytes, padded as NITRO pads.
    nitf_Field* make(std::string_view bytes, size_t width, nitf_FieldType type = NITF_BCS_A) {
        nitf_Error error{};
        nitf_Field* field = nitf_Field_construct(width, type, &error);
        if (field != nullptr && !bytes.empty()) {
            nitf_Field_setRawData(field, const_cast<char*>(bytes.data()), bytes.size(), &error);
        }
        fields_.push_back(field);
        return field;
    }

private:
    std::vector<nitf_Field*> fields_;
};

// Counts how often the providers of a tree were asked.
struct ProviderCalls {
    int root = 0;
    int fileHeader = 0;
    int images = 0;
    int image = 0;
};

// A tree shaped like a file's:
//   Version (field), FileHeader {FHDR, FVER, FTITLE, FL},
//   Images [Image {IID1, NROWS, NCOLS, IDATIM, Comments [Comment...]}...],
//   Data {} (read-only, empty).
class FileTree {
public:
    explicit FileTree(int imageCount) : imageCount_(imageCount) {
        fhdr_ = fields_.make("NITF", 4);
        fver_ = fields_.make("02.10", 5);
        ftitle_ = fields_.make("A small title", 80);
        fl_ = fields_.make("1234", 12, NITF_BCS_N);
        for (int i = 0; i < imageCount; ++i) {
            images_.push_back(
                {fields_.make("IMG" + std::to_string(i), 10),
                 fields_.make(std::to_string(48 + i), 8, NITF_BCS_N),
                 fields_.make("64", 8, NITF_BCS_N),
                 fields_.make("20240115103000", 14),
                 {fields_.make("first comment", 80), fields_.make("second comment", 80)}});
        }
    }

    Node root() {
        return Node::makeDict([this](Tessel::NITFMessages&, const PathList&) {
            ++calls.root;
            Dict dict;
            dict.add("Version", Node::makeField(fver_));
            dict.add("FileHeader", fileHeader());
            dict.add("Images", images());
            dict.add("Data", Node::makeDict(Dict(), FlagReadOnly));
            return dict;
        });
    }

    Node fileHeader() {
        return Node::makeDict([this](Tessel::NITFMessages&, const PathList&) {
            ++calls.fileHeader;
            Dict dict;
            dict.add("FHDR", Node::makeField(fhdr_, {}, {}, FlagReadOnly));
            dict.add("FVER", Node::makeField(fver_, {}, {}, FlagReadOnly));
            dict.add("FTITLE", Node::makeField(ftitle_));
            dict.add("FL", Node::makeField(fl_, {}, {}, FlagReadOnly));
            return dict;
        });
    }

    Node images() {
        return Node::makeArray("Image", [this](Tessel::NITFMessages&, const PathList&) {
            ++calls.images;
            Array array;
            for (int i = 0; i < imageCount_; ++i) {
                array.add(Node::makeDict(
                    [this, i](Tessel::NITFMessages&, const PathList&) { return image(i); }));
            }
            return array;
        });
    }

    Dict image(int index) {
        ++calls.image;
        const ImageFields& fields = images_[static_cast<size_t>(index)];
        Dict dict;
        dict.add("IID1", Node::makeField(fields.iid1));
        dict.add("NROWS", Node::makeField(fields.nrows));
        dict.add("NCOLS", Node::makeField(fields.ncols));
        dict.add("IDATIM", Node::makeField(fields.idatim));
        Array comments;
        for (nitf_Field* comment : fields.comments) {
            comments.add(Node::makeField(comment));
        }
        dict.add("Comments", Node::makeArray("Comment", std::move(comments)));
        return dict;
    }

    // The concatenated trimmed text of the whole tree, as the string form renders it.
    std::string text() const {
        std::string out = "02.10NITF02.10A small title000000001234";
        for (int i = 0; i < imageCount_; ++i) {
            out += "IMG" + std::to_string(i) + "000000" + std::to_string(48 + i) +
                   "0000006420240115103000first commentsecond comment";
        }
        return out;
    }

    ProviderCalls calls;

private:
    struct ImageFields {
        nitf_Field* iid1;
        nitf_Field* nrows;
        nitf_Field* ncols;
        nitf_Field* idatim;
        std::vector<nitf_Field*> comments;
    };

    int imageCount_;
    FieldStore fields_;
    nitf_Field* fhdr_ = nullptr;
    nitf_Field* fver_ = nullptr;
    nitf_Field* ftitle_ = nullptr;
    nitf_Field* fl_ = nullptr;
    std::vector<ImageFields> images_;
};

}  // namespace path_test
