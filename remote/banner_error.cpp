#include "remote/banner_error.h"

namespace ovrel {

const char* BannerError::what() const noexcept {
    switch (case_) {
    case invalid: return "invalid content from the publisher";
    case tooLarge: return "too long an answer from the publisher";
    case response: return "no answer of the right kind from the publisher";
    }
    return "";
}

} // namespace ovrel
