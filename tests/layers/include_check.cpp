#include "tests/layers/include_check.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <string_view>

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

/// What is wrong with including `name` from `layer`, empty for nothing.
std::string faultOf(const std::string& name, const Layer& layer, const LayerTable& table,
                    const std::vector<fs::path>& qtModules) {
    if (name.empty()) {
        return "the included file's name does not stand in quotes or brackets";
    }
    const std::string path = fs::path(name).lexically_normal().generic_string();
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
    const std::string module = qtModuleOf(path, qtModules);
    if (!module.empty()) {
        return contains(layer.qt, module) ? "" : layer.name + " may not use " + path + " of Qt module " + module;
    }
    return "";
}

/// A quoted include is the project's own, written from the root, unless moc makes it or a library owns it.
bool isStray(std::string_view line, const std::string& name, const LayerTable& table) {
    const bool quoted = line.find('"') < line.find('<');
    return quoted && table.layerOf(name) == nullptr && table.libraryOf(name) == nullptr &&
           fs::path(name).extension() != ".moc";
}

void checkFile(const std::string& path, const Layer& layer, const LayerTable& table, const fs::path& root,
               const std::vector<fs::path>& qtModules, std::vector<std::string>& faults) {
    std::ifstream file(root / path);
    if (!file) {
        faults.push_back(path + ": cannot be read");
    }
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::optional<std::string> name = includedName(line);
        if (!name) {
            continue;
        }
        std::string fault = faultOf(*name, layer, table, qtModules);
        if (fault.empty() && isStray(line, *name, table)) {
            fault = *name + " is not written from the project's root";
        }
        if (!fault.empty()) {
            faults.push_back(path + ":" + std::to_string(number) + ": ");
            faults.back() += fault;
        }
    }
}

} // namespace

IncludeReport checkIncludes(const LayerTable& table, const fs::path& root, const fs::path& qtHeaders) {
    IncludeReport report;
    const std::vector<fs::path> qtModules = modulesIn(qtHeaders);
    for (auto entry = fs::recursive_directory_iterator(root); entry != fs::recursive_directory_iterator(); ++entry) {
        const std::string path = entry->path().lexically_relative(root).generic_string();
        if (entry->is_directory()) {
            if (entry->path().filename().native().front() == '.' || table.isUnchecked(path + "/")) {
                entry.disable_recursion_pending();
            }
        } else if (isSource(entry->path())) {
            if (const Layer* layer = table.layerOf(path)) {
                ++report.filesRead[layer->name];
                checkFile(path, *layer, table, root, qtModules, report.faults);
            } else {
                report.faults.push_back(path + ": belongs to no layer");
            }
        }
    }
    return report;
}

} // namespace ovrel::test
