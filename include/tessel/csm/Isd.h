#pragma once

#include <map>
#include <string>

#include "csm.h"

#ifndef IMAGE_ID_PARAM
#define IMAGE_ID_PARAM "IMAGE_ID"
#endif
#ifndef IMAGE_INDEX_PARAM
#define IMAGE_INDEX_PARAM "IMAGE_INDEX"
#endif
#ifndef FRAME_INDEX_PARAM
#define FRAME_INDEX_PARAM "FRAME_INDEX"
#endif
#ifndef LOGICAL_INDEX_PARAM
#define LOGICAL_INDEX_PARAM "LOGICAL_INDEX"
#endif
#ifndef MODEL_NAME_PARAM
#define MODEL_NAME_PARAM "MODEL_NAME"
#endif

namespace csm {

class CSM_EXPORT_API Isd {
public:
    Isd() : theFormat("UNKNOWN") {}
    explicit Isd(const std::string& filename) : theFormat("FILENAME"), theFilename(filename) {}
    virtual ~Isd();

    const std::string& format() const { return theFormat; }
    const std::string filename() const { return theFilename; }
    void setFilename(const std::string& fn);

    // The value of the instance-th parameter of that name, or "" when there is none.
    std::string param(const std::string& name, int instance = 0) const;
    void addParam(const std::string& name, const std::string& value) {
        theParameters.insert(std::make_pair(name, value));
    }
    void clearAllParams() { theParameters.clear(); }
    void clearParams(const std::string& name) { theParameters.erase(name); }
    const std::multimap<std::string, std::string>& parameters() const { return theParameters; }

protected:
    Isd(const std::string& format, const std::string& filename)
        : theFormat(format), theFilename(filename) {}

    std::string theFormat;
    std::string theFilename;
    std::multimap<std::string, std::string> theParameters;
};

}  // namespace csm
