#include "conversion/input_item.h"

#include "platform/text.h"

namespace ovrel {

bool InputItem::isGIF() const {
    return lowerCaseExtension(url) == "gif";
}

bool InputItem::isAVIF() const {
    return lowerCaseExtension(url) == "avif";
}

std::string lowerCaseExtension(const std::filesystem::path& file) {
    const std::string extension = lowerCaseAscii(file.extension().native());
    return extension.empty() ? extension : extension.substr(1);
}

} // namespace ovrel

std::size_t std::hash<ovrel::InputItem>::operator()(const ovrel::InputItem& item) const noexcept {
    constexpr std::size_t spread = 31;
    // Equal paths may differ in their bytes (a/b and a//b), so the path's own hash it is.
    return std::filesystem::hash_value(item.url) * spread + std::hash<std::string>()(item.relativeDirectory);
}
