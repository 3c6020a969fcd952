#pragma once
// tessel.File: an opened NITF file, its version, segments, metadata and images.

#include <pybind11/pybind11.h>

#include <memory>
#include <string>

#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFileContext.h"

namespace tessel_python {

class PyImage;

// What a file and each image taken from it share: the context keeps the file open.
struct OpenedFile {
    Tessel::NITFURI uri;
    Tessel::NITFFileContext context;
};

// Opens a URI relative to the working folder; throws TesselError with the library's messages.
std::shared_ptr<OpenedFile> openContext(const Tessel::NITFURI& uri);

class PyFile {
public:
    explicit PyFile(const std::string& uriText);

    std::string uri() const;
    std::string version() const;
    pybind11::dict segments() const;
    size_t imageCount() const;
    PyImage image(size_t index) const;
    pybind11::list images() const;
    pybind11::object path(const std::string& path) const;
    pybind11::object tree() const;
    std::string xml() const;
    std::string repr() const;

private:
    std::shared_ptr<OpenedFile> opened_;
};

}  // namespace tessel_python
