#include "platform/text.h"

#include <algorithm>

#include <unicode/unistr.h>

namespace ovrel {

std::string validUtf8(std::string_view bytes) {
    std::string text;
    icu::UnicodeString::fromUTF8(bytes).toUTF8String(text);
    return text;
}

std::string lowerCaseAscii(std::string_view bytes) {
    std::string text(bytes);
    // Not std::tolower: a Turkish locale knows another lower-case I.
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

} // namespace ovrel
