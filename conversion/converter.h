/// \file converter.h
/// Finding sources and turning one of them into one AVIF file.
#pragma once

#include "conversion/conversion_error.h"
#include "conversion/encoding_mode.h"
#include "conversion/input_item.h"
#include "platform/file_error.h"

#include <array>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

namespace ovrel {

/// What a conversion wrote.
struct ConversionResult {
    std::filesystem::path file; ///< the new file
    bool multiImage = false;    ///< the source holds several images: all of a GIF were written, else the first alone
};

/// The conversion without state: any thread, several at once, into one folder too. Sources are only read, existing
/// files never replaced, and a failure leaves no file behind.
class Converter {
public:
    Converter() = delete;

    /// Accepted extensions, in lower case.
    static constexpr std::array<std::string_view, 6> extensions{"jpg", "jpeg", "webp", "png", "avif", "gif"};

    /// Whether the system's image writer offers AVIF, so that EncodingMode::system can be used.
    static bool supported();

    /// The images among files and folders, in the order of a file browser, each once. Links, hidden entries below a
    /// folder and the contents of packages are left out.
    /// \param recursive whether folders inside folders are searched
    /// \throws ConversionError when a given folder cannot be read, FileError for anything else
    static std::vector<InputItem> scan(std::span<const std::filesystem::path> urls, bool recursive);

    /// Converts one item into `output` (below it, by the item's relativeDirectory; missing folders are created) under
    /// the first free of the names base.avif, base-2.avif, …
    /// \param quality 0.0 … 1.0; values outside are clamped, values that are no number abort the program unless the
    ///                source is copied
    /// \param speed 0 (slowest) … 10 (fastest); without effect on the system's writer
    /// \throws ConversionError, FileError
    static ConversionResult convert(const InputItem& item, const std::filesystem::path& output, double quality,
                                    EncodingMode mode, int speed);
};

} // namespace ovrel
