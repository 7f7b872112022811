/// \file private_mounts.h
/// Volumes of a test's own: full, read-only, or mounted inside themselves.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace ovrel::test {

/// Runs `body` on a thread that alone sees what it mounts; its volumes are gone with it.
/// \return false when this machine does not let us mount; `body` has not run then
[[nodiscard]] bool runWithOwnMounts(const std::function<void()>& body);

/// For use within runWithOwnMounts(). All throw std::runtime_error on failure.
void mountMemory(const std::filesystem::path& at, const std::string& options); ///< a tmpfs, options as in mount(8)
void makeReadOnly(const std::filesystem::path& at);                            ///< the whole volume mounted there
void mountAgain(const std::filesystem::path& folder, const std::filesystem::path& at); ///< the same folder once more

} // namespace ovrel::test
