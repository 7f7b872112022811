#include "encoder/error_text.h"

#include <cstdio>

namespace ovrel {

bool ErrorText::fail(const char* text) const {
    std::snprintf(buffer, capacity, "%s", text);
    return false;
}

bool ErrorText::fail(avifResult result, const avifEncoder& encoder) const {
    std::snprintf(buffer, capacity, "%s: %s", avifResultToString(result), encoder.diag.error);
    return false;
}

} // namespace ovrel
