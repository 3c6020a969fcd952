#include "tools/ImageSupport.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/OpenFailure.h"
#include "tessel/image/ImageOptions.h"
#include "tools/FileCommands.h"

namespace tessel_cli {

std::optional<std::string> OptionWords::value(const std::string& key) const {
    const auto found = values.find(key);
    if (found == values.end()) {
        return std::nullopt;
    }
    return found->second;
}

OptionWords parseOptions(const Arguments& arguments, const std::set<std::string>& valued,
                         const std::set<std::string>& plain) {
    OptionWords options;
    const auto& words = arguments.words;
    for (size_t i = 0; i < words.size(); ++i) {
        std::string word = words[i];
        const bool looksLikeOption =
            word.size() > 1 && word[0] == '-' && !(word[1] >= '0' && word[1] <= '9');
        if (!looksLikeOption) {
            options.positional.push_back(word);
            continue;
        }
        std::optional<std::string> inlineValue;
        if (const size_t equals = word.find('='); equals != std::string::npos) {
            inlineValue = word.substr(equals + 1);
            word.resize(equals);
        }
        if (valued.count(word) != 0) {
            if (inlineValue) {
                options.values[word] = *inlineValue;
            } else if (i + 1 < words.size()) {
                options.values[word] = words[++i];
            } else {
                throw std::invalid_argument(word + " needs a value");
            }
        } else if (plain.count(word) != 0 && !inlineValue) {
            options.flags.insert(word);
        } else {
            throw std::invalid_argument("unknown option " + words[i]);
        }
    }
    return options;
}

uint32_t parseUnsigned(const std::string& text, const std::string& what) {
    uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stop != end) {
        throw std::invalid_argument(what + ": '" + text + "' is not an unsigned number");
    }
    return number;
}

std::vector<uint32_t> parseNumberList(const std::string& text, size_t count,
                                      const std::string& what) {
    std::vector<uint32_t> numbers;
    size_t start = 0;
    while (true) {
        const size_t comma = text.find(',', start);
        numbers.push_back(parseUnsigned(text.substr(start, comma - start), what));
        if (comma == std::string::npos) {
            break;
        }
        start = comma + 1;
    }
    if (count != 0 && numbers.size() != count) {
        throw std::invalid_argument(what + ": expected " + std::to_string(count) +
                                    " numbers separated by commas, got '" + text + "'");
    }
    return numbers;
}

namespace {

std::shared_ptr<Tessel::NITFImage> levelOf(const std::shared_ptr<Tessel::NITFImage>& base,
                                           uint32_t level) {
    if (level == 0) {
        return base;
    }
    auto image = base->getPyramidLevel(level);
    if (!image) {
        image = base->openPyramidLevel(level);
    }
    if (!image) {
        throw std::runtime_error(
            "the image has no pyramid level " + std::to_string(level) +
            " (levels found: " + std::to_string(base->getInternalPyramidLevels()) + ")");
    }
    return image;
}

}  // namespace

OpenedImage openImage(const std::string& uriText, uint32_t level) {
    const Tessel::NITFURI uri = uriFromArgument(uriText);
    if (uri.object_type() == Tessel::FileObject::Named) {
        throw std::runtime_error(uriText + ": the URI names no image segment (use #IM_n)");
    }
    Tessel::NITFMessages messages;
    OpenedImage opened{Tessel::NITFFactory::get().open(uri, messages), nullptr};
    if (!opened.context) {
        throw std::runtime_error(Tessel::openFailureText(uri, messages));
    }
    const size_t index = uri.object_type() == Tessel::FileObject::Image ? uri.object_index() : 0;
    const size_t count = opened.context.getNumberImages();
    if (index >= count) {
        throw std::runtime_error("no image " + std::to_string(index) + " in " +
                                 uri.getURI_u8(Tessel::URIParts::Path) + " (it has " +
                                 std::to_string(count) + ")");
    }
    std::shared_ptr<Tessel::NITFImage> image;
    try {
        image = opened.context.getImage(Tessel::ImageOptions{});
    } catch (const std::exception& error) {
        throw std::runtime_error("image " + std::to_string(index) +
                                 " can't be read: " + error.what());
    }
    if (!image) {
        throw std::runtime_error("image " + std::to_string(index) + " can't be read");
    }
    opened.image = levelOf(image, level);
    return opened;
}

}  // namespace tessel_cli
