#include "PyFile.h"

#include <filesystem>
#include <sstream>

#include "PyErrors.h"
#include "PyImage.h"
#include "PyValues.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFilePrivate.h"
#include "tessel/file/OpenFailure.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/nitf.h"

namespace py = pybind11;

namespace tessel_python {

std::shared_ptr<OpenedFile> openContext(const Tessel::NITFURI& uri) {
    Tessel::NITFMessages messages;
    auto context = Tessel::NITFFactory::get().open(uri, messages);
    if (!context) {
        throw TesselError(Tessel::openFailureText(uri, messages));
    }
    return std::make_shared<OpenedFile>(OpenedFile{uri, std::move(context)});
}

PyFile::PyFile(const std::string& uriText) {
    const std::string base = std::filesystem::current_path().string();
    const Tessel::NITFURI uri{std::string_view(uriText), std::string_view(base)};
    py::gil_scoped_release unlocked;
    opened_ = openContext(uri);
}

std::string PyFile::uri() const {
    return opened_->uri.getURI_u8(Tessel::URIParts::Everything);
}

std::string PyFile::version() const {
    std::ostringstream out;
    out << opened_->context.getNITFVersion();
    return out.str();
}

py::dict PyFile::segments() const {
    Tessel::NITFFilePrivate& file = *opened_->context.getFile().getPrivate();
    const auto lock = file.lockRecord();
    nitf_Record* record = file.getRecord();
    nrt_Error error{};
    py::dict counts;
    counts["images"] = nitf_Record_getNumImages(record, &error);
    counts["graphics"] = nitf_Record_getNumGraphics(record, &error);
    counts["labels"] = nitf_Record_getNumLabels(record, &error);
    counts["texts"] = nitf_Record_getNumTexts(record, &error);
    counts["data_extensions"] = nitf_Record_getNumDataExtensions(record, &error);
    counts["reserved_extensions"] = nitf_Record_getNumReservedExtensions(record, &error);
    return counts;
}

size_t PyFile::imageCount() const {
    return opened_->context.getNumberImages();
}

PyImage PyFile::image(size_t index) const {
    const size_t count = imageCount();
    if (index >= count) {
        throw py::index_error("no image " + std::to_string(index) + " in " +
                              opened_->uri.getURI_u8(Tessel::URIParts::Path) + " (it has " +
                              std::to_string(count) + ")");
    }
    Tessel::NITFURI uri = opened_->uri;
    uri.object_index(index, Tessel::FileObject::Image);
    py::gil_scoped_release unlocked;
    std::shared_ptr<OpenedFile> opened = openContext(uri);
    std::shared_ptr<Tessel::NITFImage> image;
    try {
        image = opened->context.getImage(Tessel::ImageOptions{});
    } catch (const std::exception& error) {
        throw TesselError("image " + std::to_string(index) + " can't be read: " + error.what());
    }
    if (!image) {
        throw TesselError("image " + std::to_string(index) + " can't be read");
    }
    return PyImage(std::move(opened), std::move(image), index);
}

py::list PyFile::images() const {
    py::list list;
    for (size_t index = 0; index < imageCount(); ++index) {
        list.append(py::cast(image(index)));
    }
    return list;
}

py::object PyFile::path(const std::string& path) const {
    any_type::value value;
    {
        py::gil_scoped_release unlocked;
        value = opened_->context.getPath(path);
    }
    return pythonValue(value);
}

py::object PyFile::tree() const {
    std::string json;
    {
        py::gil_scoped_release unlocked;
        json = opened_->context.getISD("JSON");
    }
    return pythonTree(json);
}

std::string PyFile::xml() const {
    py::gil_scoped_release unlocked;
    return opened_->context.getISD("XML");
}

std::string PyFile::repr() const {
    return "<tessel.File " + opened_->uri.getURI_u8(Tessel::URIParts::Path) + ", " + version() +
           ", " + std::to_string(imageCount()) + " image(s)>";
}

}  // namespace tessel_python
