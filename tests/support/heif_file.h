/// \file heif_file.h
/// HEIF files put together box by box, for structures that no encoder writes.
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel::test {

/// The lowest `bytes` bytes of a number, the highest first.
std::string heifNumber(std::uint64_t value, std::size_t bytes);

/// ISO/IEC 14496-12, section 4.2.
std::string heifBox(std::string_view type, const std::string& content);
std::string heifFullBox(std::string_view type, unsigned version, const std::string& content, unsigned flags = 0);

struct HeifItem {
    std::uint64_t id = 1;
    std::string type;                    ///< four letters
    std::vector<std::string> properties; ///< boxes
    std::string data;
};

struct HeifReference {
    std::string type; ///< four letters
    std::uint64_t from = 0;
    std::vector<std::uint64_t> to;
};

/// A file whose primary picture is the first item. Those that others are made of are hidden; equal data and equal
/// properties are there once.
std::string heifFile(const std::vector<HeifItem>& items, const std::vector<HeifReference>& references = {});

/// A picture in HEVC.
/// \return nothing where libheif has no encoder
/// \throws std::runtime_error when the encoder refuses
std::optional<HeifItem> hevcItem(std::uint64_t id, const Image& image);

/// A picture made of tiles row by row (ISO/IEC 23008-12, section 6.6.2.3), each side below 65,536.
HeifItem gridItem(std::uint64_t id, unsigned rows, unsigned columns, std::uint32_t width, std::uint32_t height);

/// So many pictures laid upon each other in the corner (ISO/IEC 23008-12, section 6.6.2.2).
HeifItem overlayItem(std::uint64_t id, std::size_t pictures, std::uint32_t width, std::uint32_t height);

/// The same picture once more (ISO/IEC 23008-12, section 6.6.2.1).
HeifItem identityItem(std::uint64_t id, std::uint32_t width, std::uint32_t height);

} // namespace ovrel::test
