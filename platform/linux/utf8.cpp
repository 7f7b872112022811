#include "platform/utf8.h"

#include <unicode/unistr.h>

namespace ovrel {

std::string validUtf8(std::string_view bytes) {
    std::string text;
    icu::UnicodeString::fromUTF8(bytes).toUTF8String(text);
    return text;
}

} // namespace ovrel
