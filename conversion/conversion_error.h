/// \file conversion_error.h
/// A failure that the conversion itself found, worded in both languages.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace ovrel {

/// Thrown by Converter. The interface shows `english` or `message` by its language, chosen when it is shown.
class ConversionError : public std::exception {
public:
    explicit ConversionError(std::string russian, std::string englishText = "Conversion failed")
        : english(std::move(englishText)), message_(std::move(russian)) {}

    /// The Russian text, UTF-8.
    const std::string& message() const { return message_; }
    /// The Russian text, whatever the language of the interface.
    const std::string& errorDescription() const { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

    std::string english; ///< the English text, UTF-8

private:
    std::string message_;
};

} // namespace ovrel
