#include "tests/layers/include_check.h"

#include <algorithm>
#include <deque>
#include <fstream>
#include <optional>
#include <string_view>
#include <utility>

namespace ovrel::test {

namespace fs = std::filesystem;

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isSource(const fs::path& file) {
    static const std::vector<std::string> suffixes = {".h", ".hpp", ".c", ".cc", ".cpp"};
    return contains(suffixes, file.extension().native());
}

std::string_view withoutLeadingBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text;
}

bool takeStart(std::string_view& text, std::string_view start) {
    if (text.substr(0, start.size()) != start) {
        return false;
    }
    text = withoutLeadingBlanks(text.substr(start.size()));
    return true;
}

/// The name that an #include line gives, empty when it gives none in quotes or brackets.
/// \return nothing for any other line
std::optional<std::string> includedName(std::string_view line) {
    line = withoutLeadingBlanks(line);
    if (!takeStart(line, "#") || !takeStart(line, "include")) {
        return std::nullopt;
    }
    const char closing = line.substr(0, 1) == "<" ? '>' : '"';
    const std::size_t end = line.find(closing, 1);
    if ((line.substr(0, 1) != "<" && line.substr(0, 1) != "\"") || end == std::string_view::npos) {
        return "";
    }
    return std::string(line.substr(1, end - 1));
}

/// The module of a Qt header, "?" for a name of Qt's kind in no module, empty for any other header.
std::string qtModuleOf(const std::string& header, const std::vector<fs::path>& qtModules) {
    if (header.substr(0, 2) == "Qt" && header.find('/') != std::string::npos) {
        return header.substr(2, header.find('/') - 2);
    }
    for (const fs::path& module : qtModules) {
        if (fs::exists(module / header)) {
            return module.filename().native().substr(2);
        }
    }
    const bool namedLikeQt = header.size() > 1 && header[0] == 'Q' && header[1] >= 'A' && header[1] <= 'Z';
    return namedLikeQt ? "?" : "";
}

std::vector<fs::path> modulesIn(const fs::path& qtHeaders) {
    std::vector<fs::path> modules;
    for (const fs::directory_entry& entry : fs::directory_iterator(qtHeaders)) {
        if (entry.is_directory() && entry.path().filename().native().substr(0, 2) == "Qt") {
            modules.push_back(entry.path());
        }
    }
    return modules;
}

/// One #include line.
struct Include {
    int line = 0;
    std::string path;   ///< without detours; empty when the line gives no name in quotes or brackets
    std::string module; ///< of Qt, as qtModuleOf() tells it
    bool isQuoted = false;
};

/// What every file of the program includes, by the file's path from the root.
using IncludesOfFiles = std::map<std::string, std::vector<Include>>;

/// \return nothing when the file cannot be read
std::optional<std::vector<Include>> includesOf(const fs::path& file, const std::vector<fs::path>& qtModules) {
    std::ifstream stream(file);
    if (!stream) {
        return std::nullopt;
    }
    std::vector<Include> includes;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        if (const std::optional<std::string> name = includedName(line)) {
            const std::string path = fs::path(*name).lexically_normal().generic_string();
            includes.push_back({number, path, qtModuleOf(path, qtModules), line.find('"') < line.find('<')});
        }
    }
    return includes;
}

/// A quoted include is the project's own, written from the root, unless moc makes it or a library owns it.
bool isStray(const Include& include, const LayerTable& table) {
    return include.isQuoted && table.layerOf(include.path) == nullptr && table.libraryOf(include.path) == nullptr &&
           fs::path(include.path).extension() != ".moc";
}

std::string refusalOfQt(const Layer& layer, const Include& include) {
    return layer.name + " may not use " + include.path + " of Qt module " + include.module;
}

/// What is wrong with this one line in a file of `layer`, empty for nothing.
std::string faultOf(const Include& include, const Layer& layer, const LayerTable& table) {
    const std::string& path = include.path;
    if (path.empty()) {
        return "the included file's name does not stand in quotes or brackets";
    }
    if (const Layer* other = table.layerOf(path)) {
        const bool allowed = other->name == layer.name || contains(layer.includes, other->name);
        return allowed ? "" : layer.name + " may not include " + path + " of " + other->name;
    }
    if (table.isUnchecked(path)) {
        return path + " is no part of the program";
    }
    if (const Library* library = table.libraryOf(path)) {
        return contains(layer.libraries, library->name) ? "" : layer.name + " may not use the library " + library->name;
    }
    if (!include.module.empty() && !contains(layer.qt, include.module)) {
        return refusalOfQt(layer, include);
    }
    return isStray(include, table) ? path + " is not written from the project's root" : "";
}

/// What is wrong with the Qt that `header` brings along into a file of `layer`, empty for nothing. The shortest way to
/// it through the program's own headers is told, that of `header` first.
std::string faultBehind(const std::string& header, const Layer& layer, const IncludesOfFiles& files) {
    std::map<std::string, std::string> ways{{header, header}};
    std::deque<std::string> next{header};
    for (; !next.empty(); next.pop_front()) {
        const auto file = files.find(next.front());
        if (file == files.end()) {
            continue;
        }
        for (const Include& include : file->second) {
            if (files.count(include.path) > 0) {
                if (ways.emplace(include.path, ways[file->first] + " > " + include.path).second) {
                    next.push_back(include.path);
                }
            } else if (!include.module.empty() && !contains(layer.qt, include.module)) {
                return refusalOfQt(layer, include) + ", which comes with " + ways[file->first];
            }
        }
    }
    return "";
}

void checkFile(const std::string& path, const Layer& layer, const LayerTable& table, const IncludesOfFiles& files,
               std::vector<std::string>& faults) {
    for (const Include& include : files.at(path)) {
        std::string fault = faultOf(include, layer, table);
        // Headers of the same layer answer for what they bring along.
        if (const Layer* other = table.layerOf(include.path); fault.empty() && other != nullptr && other != &layer) {
            fault = faultBehind(include.path, layer, files);
        }
        if (!fault.empty()) {
            faults.push_back(path + ":" + std::to_string(include.line) + ": ");
            faults.back() += fault;
        }
    }
}

} // namespace

IncludeReport checkIncludes(const LayerTable& table, const fs::path& root, const fs::path& qtHeaders) {
    IncludeReport report;
    IncludesOfFiles files;
    const std::vector<fs::path> qtModules = modulesIn(qtHeaders);
    for (auto entry = fs::recursive_directory_iterator(root); entry != fs::recursive_directory_iterator(); ++entry) {
        const std::string path = entry->path().lexically_relative(root).generic_string();
        if (entry->is_directory()) {
            if (entry->path().filename().native().front() == '.' || table.isUnchecked(path + "/")) {
                entry.disable_recursion_pending();
            }
        } else if (isSource(entry->path())) {
            if (table.layerOf(path) == nullptr) {
                report.faults.push_back(path + ": belongs to no layer");
            } else if (std::optional<std::vector<Include>> includes = includesOf(entry->path(), qtModules)) {
                files.emplace(path, std::move(*includes));
            } else {
                report.faults.push_back(path + ": cannot be read");
            }
        }
    }
    for (const auto& [path, includes] : files) {
        const Layer& layer = *table.layerOf(path);
        ++report.filesRead[layer.name];
        checkFile(path, layer, table, files, report.faults);
    }
    return report;
}

} // namespace ovrel::test
