/// \file layer_table.h
/// The table of the program's layers, as layers.txt writes it.
#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel::test {

struct Layer {
    std::string name;
    std::vector<std::string> files;     ///< how its files' paths start, seen from the project's root
    std::vector<std::string> includes;  ///< names of other layers
    std::vector<std::string> qt;        ///< modules without their "Qt"
    std::vector<std::string> libraries; ///< names of libraries
};

struct Library {
    std::string name;
    std::vector<std::string> headers; ///< how its headers' names start
};

struct LayerTable {
    std::vector<Layer> layers;
    std::vector<Library> libraries;
    std::vector<std::string> unchecked; ///< folders, each with its closing slash

    /// The layer of a file, which need not exist. \return null for a file of none
    const Layer* layerOf(std::string_view path) const;

    /// \return null when the header belongs to none of the libraries
    const Library* libraryOf(std::string_view header) const;

    bool isUnchecked(std::string_view path) const;
};

/// Throws std::runtime_error with the line's number and text for a line that it does not understand, and for a name
/// that stands nowhere above it; the latter also keeps circles out.
LayerTable readLayerTable(std::istream& text);

} // namespace ovrel::test
