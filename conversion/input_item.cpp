#include "conversion/input_item.h"

#include <algorithm>

namespace ovrel {

namespace {

// Not std::tolower: extensions are ASCII, and a Turkish locale knows another lower-case I.
char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

bool InputItem::isGIF() const {
    return lowerCaseExtension(url) == "gif";
}

bool InputItem::isAVIF() const {
    return lowerCaseExtension(url) == "avif";
}

std::string lowerCaseExtension(const std::filesystem::path& file) {
    std::string extension = file.extension().native();
    if (!extension.empty()) {
        extension.erase(0, 1);
    }
    std::transform(extension.begin(), extension.end(), extension.begin(), lowerCase);
    return extension;
}

} // namespace ovrel

std::size_t std::hash<ovrel::InputItem>::operator()(const ovrel::InputItem& item) const noexcept {
    constexpr std::size_t spread = 31;
    // Equal paths may differ in their bytes (a/b and a//b), so the path's own hash it is.
    return std::filesystem::hash_value(item.url) * spread + std::hash<std::string>()(item.relativeDirectory);
}
