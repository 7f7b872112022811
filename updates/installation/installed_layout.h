/// \file installed_layout.h
/// Names on which an installation, the archives that update it and the updates themselves agree in every version. Those
/// beside an installation are in installation_place.h.
#pragma once

namespace ovrel {

// In the installation's folder, and in the top folder of an archive.

/// The program and the installer; never told by an archive.
inline constexpr const char* programFolder = "bin";
inline constexpr const char* programName = "ovrel";
inline constexpr const char* installerName = "ovrel-installer";
inline constexpr const char* programPath = "bin/ovrel";
inline constexpr const char* installerPath = "bin/ovrel-installer";

/// What an archive says of itself under its signature.
inline constexpr const char* manifestName = "manifest.json";

/// Makes an installation a portable one; its first line is the application's identifier.
inline constexpr const char* portableMarkerName = "portable-installation";

/// Lists what the installation brought: paths of files and symbolic links relative to the folder, one a line, itself
/// included. At most 4 MiB.
inline constexpr const char* installedFilesName = "installed-files.txt";

/// Carries the mark of a new tree that has not started healthily yet.
inline constexpr const char* treeMarkName = ".update-mark";

// Beside the program.

/// By this file a packager says that updates come from them; its first line says who.
inline constexpr const char* packagerMarkerName = "managed-by";

// In an update's private folder.

/// Holds the new tree.
inline constexpr const char* stagedTreeFolder = "tree";

} // namespace ovrel
