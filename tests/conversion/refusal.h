/// \file refusal.h
/// What a conversion says when it fails.
#pragma once

#include "conversion/conversion_error.h"

#include <string>
#include <utility>

namespace ovrel::test {

/// The English and the Russian text.
using Refusal = std::pair<std::string, std::string>;

/// The texts of the ConversionError that `action` throws, or "nothing was refused".
template <typename Action>
Refusal refusalOf(const Action& action) {
    try {
        action();
    } catch (const ConversionError& error) {
        return {error.english, error.message()};
    }
    return {"nothing was refused", ""};
}

} // namespace ovrel::test
