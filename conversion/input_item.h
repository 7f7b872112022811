/// \file input_item.h
/// One file to convert.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

namespace ovrel {

/// A source file and where it was found. A value.
struct InputItem {
    std::filesystem::path url;     ///< as it was given or found, not normalised
    std::string relativeDirectory; ///< folders between the added folder and the file, joined by '/'; often empty

    /// Identifies the item in lists: the path's bytes.
    const std::string& id() const { return url.native(); }
    bool isGIF() const;  ///< by its name's extension, in any case
    bool isAVIF() const; ///< by its name's extension, in any case

    bool operator==(const InputItem&) const = default;
};

/// The extension of a file name in lower case (ASCII) without its dot.
std::string lowerCaseExtension(const std::filesystem::path& file);

} // namespace ovrel

template <>
struct std::hash<ovrel::InputItem> {
    std::size_t operator()(const ovrel::InputItem& item) const noexcept;
};
