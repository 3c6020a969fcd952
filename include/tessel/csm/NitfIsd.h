#pragma once

#include <string>
#include <vector>

#include "Isd.h"
#include "csm.h"

namespace csm {

class CSM_EXPORT_API Des {
public:
    Des() = default;
    Des(const std::string& aSubHeader, const std::string& aData)
        : theSubHeader(aSubHeader), theData(aData) {}
    ~Des() = default;

    void clear() {
        theSubHeader.clear();
        theData.clear();
    }
    const std::string& subHeader() const { return theSubHeader; }
    const std::string& data() const { return theData; }
    void setSubHeader(const std::string& sh) { theSubHeader = sh; }
    void setData(const std::string& d) { theData = d; }

private:
    std::string theSubHeader;
    std::string theData;
};

class CSM_EXPORT_API Tre {
public:
    Tre() : theLength(0) {}
    explicit Tre(const std::string& treData) : theLength(0) { setTre(treData); }
    Tre(const std::string& aName, unsigned int aLength, const std::string& aData)
        : theName(aName), theLength(aLength), theData(aData) {}
    ~Tre() = default;

    const std::string& name() const { return theName; }
    // The qualifier on the return type is part of the published signature.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
    const unsigned int length() const {
        return theLength;
    }
    const void setName(const std::string& n) {
        theName = n;
    }
    const void setLength(const unsigned int& l) {
        theLength = l;
    }
    const void setData(const std::string& d) {
        theData = d;
    }
#pragma GCC diagnostic pop
    const std::string& data() const {
        return theData;
    }

    // Six characters of tag, five digits of length, then the data; shorter input is ignored.
    void setTre(const std::string& treData);
    void clear() {
        theName.clear();
        theLength = 0;
        theData.clear();
    }

private:
    std::string theName;
    unsigned int theLength;
    std::string theData;
};

class CSM_EXPORT_API Image {
public:
    Image() = default;
    Image(const std::string& aSubHeader, const std::vector<Tre>& tres)
        : theSubHeader(aSubHeader), theImageTres(tres) {}
    ~Image() = default;

    const std::string& subHeader() const { return theSubHeader; }
    const std::vector<Tre>& imageTres() const { return theImageTres; }
    void setSubHeader(const std::string& sh) { theSubHeader = sh; }
    void clearImageTres() { theImageTres.clear(); }
    void addImageTre(const Tre& tre) { theImageTres.push_back(tre); }
    void setImageTres(const std::vector<Tre>& tres) { theImageTres = tres; }

private:
    std::string theSubHeader;
    std::vector<Tre> theImageTres;
};

class CSM_EXPORT_API NitfIsd : public Isd {
public:
    ~NitfIsd() override;

    const std::string& fileHeader() const { return theFileHeader; }
    const std::vector<Tre>& fileTres() const { return theFileTres; }
    const std::vector<Des>& fileDess() const { return theFileDess; }
    const std::vector<Image>& images() const { return theImages; }

    void setFileHeader(const std::string& head) { theFileHeader = head; }
    void clearFileTres() { theFileTres.clear(); }
    void addFileTre(const Tre& tre) { theFileTres.push_back(tre); }
    void setFileTres(const std::vector<Tre>& tres) { theFileTres = tres; }
    void clearFileDess() { theFileDess.clear(); }
    void addFileDes(const Des& des) { theFileDess.push_back(des); }
    void setFileDess(const std::vector<Des>& dess) { theFileDess = dess; }
    void clearImages() { theImages.clear(); }
    void addImage(const Image& image) { theImages.push_back(image); }
    void setImages(const std::vector<Image>& images) { theImages = images; }

protected:
    NitfIsd(const std::string& format, const std::string& filename = "") : Isd(format, filename) {}

private:
    std::string theFileHeader;
    std::vector<Tre> theFileTres;
    std::vector<Des> theFileDess;
    std::vector<Image> theImages;
};

class CSM_EXPORT_API Nitf20Isd : public NitfIsd {
public:
    Nitf20Isd(const std::string& filename = "") : NitfIsd("NITF2.0", filename) {}
    ~Nitf20Isd() override;
};

class CSM_EXPORT_API Nitf21Isd : public NitfIsd {
public:
    Nitf21Isd(const std::string& filename = "") : NitfIsd("NITF2.1", filename) {}
    ~Nitf21Isd() override;
};

}  // namespace csm
