#include "tests/layers/layer_table.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace ovrel::test {

namespace {

using Words = std::vector<std::string>;

Words wordsOf(const std::string& line) {
    std::istringstream stream(line.substr(0, line.find('#')));
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

/// The length of the longest of `starts` that `text` starts with, 0 for none.
std::size_t longestStart(std::string_view text, const Words& starts) {
    std::size_t length = 0;
    for (const std::string& start : starts) {
        if (text.substr(0, start.size()) == start) {
            length = std::max(length, start.size());
        }
    }
    return length;
}

template <typename Named>
void requireKnown(const Words& names, const std::vector<Named>& known) {
    for (const std::string& name : names) {
        if (std::none_of(known.begin(), known.end(), [&](const Named& one) { return one.name == name; })) {
            throw std::runtime_error(name + " stands nowhere above");
        }
    }
}

void readLine(const Words& words, LayerTable& table) {
    const std::string& keyword = words.front();
    const Words values(words.begin() + 1, words.end());
    if (values.empty()) {
        throw std::runtime_error("nothing follows the keyword");
    }
    if (keyword == "library") {
        table.libraries.push_back({values.front(), Words(values.begin() + 1, values.end())});
    } else if (keyword == "unchecked") {
        table.unchecked = values;
    } else if (keyword == "layer") {
        table.layers.push_back({values.front(), {}, {}, {}, {}});
    } else if (table.layers.empty()) {
        throw std::runtime_error("no layer stands above");
    } else if (keyword == "files") {
        table.layers.back().files = values;
    } else if (keyword == "includes") {
        requireKnown(values, std::vector<Layer>(table.layers.begin(), table.layers.end() - 1));
        table.layers.back().includes = values;
    } else if (keyword == "qt") {
        table.layers.back().qt = values;
    } else if (keyword == "libraries") {
        requireKnown(values, table.libraries);
        table.layers.back().libraries = values;
    } else {
        throw std::runtime_error("the keyword is not known");
    }
}

} // namespace

const Layer* LayerTable::layerOf(std::string_view path) const {
    const Layer* found = nullptr;
    std::size_t foundLength = 0;
    for (const Layer& layer : layers) {
        const std::size_t length = longestStart(path, layer.files);
        if (length > foundLength) {
            found = &layer;
            foundLength = length;
        }
    }
    return found;
}

const Library* LayerTable::libraryOf(std::string_view header) const {
    const auto found = std::find_if(libraries.begin(), libraries.end(),
                                    [&](const Library& library) { return longestStart(header, library.headers) > 0; });
    return found == libraries.end() ? nullptr : &*found;
}

bool LayerTable::isUnchecked(std::string_view path) const {
    return longestStart(path, unchecked) > 0;
}

LayerTable readLayerTable(std::istream& text) {
    LayerTable table;
    std::string line;
    for (int number = 1; std::getline(text, line); ++number) {
        const Words words = wordsOf(line);
        if (words.empty()) {
            continue;
        }
        try {
            readLine(words, table);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("line " + std::to_string(number) + ": " + error.what() + ": " + line);
        }
    }
    return table;
}

} // namespace ovrel::test
