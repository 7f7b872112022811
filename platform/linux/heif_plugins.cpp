#include "platform/linux/heif_handles.h"

#include <filesystem>
#include <system_error>

namespace ovrel {

namespace {

/// An installation that carries its libraries has libheif's plug-ins among them, where the system puts them into files
/// of their own. Elsewhere there is no such folder.
void loadCarriedPlugins() {
    std::error_code unreadable;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", unreadable);
    const std::filesystem::path folder = program.parent_path().parent_path() / "lib" / "libheif";
    heif_load_plugins(folder.c_str(), nullptr, nullptr, 0);
}

} // namespace

void loadHeifPlugins() {
    [[maybe_unused]] static const bool loaded = [] {
        const bool hasOwn = succeeded(heif_init(nullptr));
        loadCarriedPlugins();
        return hasOwn;
    }();
}

} // namespace ovrel
