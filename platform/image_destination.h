/// \file image_destination.h
/// The system's own image writer. Which types it can write depends on what is installed.
#pragma once

#include "platform/image.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel {

/// Writes an image file. One thread at a time; different objects are independent.
class ImageDestination {
public:
    /// Type identifier of AVIF files.
    static constexpr std::string_view avifType = "public.avif";

    /// Identifiers of the types that can be written on this machine.
    static std::vector<std::string> typeIdentifiers();

    /// \param imageCount number of images that will be added; only 1 is supported
    /// \return null when the type cannot be written or the file cannot be created
    static std::unique_ptr<ImageDestination> create(const std::filesystem::path& file, std::string_view type,
                                                    std::size_t imageCount);
    virtual ~ImageDestination() = default;

    /// Adds a copy of the image, with its RGB profile when it has one; grey and CMYK are written as sRGB. What fails
    /// here but for memory is told by finalize().
    ///
    /// \param lossyCompressionQuality 0.0 … 1.0
    ///
    /// \throws std::bad_alloc
    virtual void addImage(const Image& image, double lossyCompressionQuality) = 0;

    /// Encodes what was added and writes the file. Called once.
    /// \return whether the file is complete
    /// \throws std::bad_alloc when memory was missing while it was encoded
    virtual bool finalize() = 0;

protected:
    ImageDestination() = default;
    ImageDestination(const ImageDestination&) = default;
    ImageDestination& operator=(const ImageDestination&) = default;
};

} // namespace ovrel
