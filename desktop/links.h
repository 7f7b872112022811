/// \file links.h
/// Opening what other programs show: pages and folders.
#pragma once

#include <QUrl>

#include <filesystem>
#include <functional>

namespace ovrel {

/// Has an address opened by the program that the user prefers for it. Does not wait for that program. Main thread.
/// \return false when no program could be asked
using LinkOpener = std::function<bool(const QUrl& address)>;

/// Asks the desktop. Needs a QGuiApplication.
LinkOpener desktopLinkOpener();

/// Shows a folder, whose name may be any bytes.
/// \return also false for what is no folder, or not there any more: a file could be a program that opening it starts
bool openFolder(const LinkOpener& opener, const std::filesystem::path& folder);

} // namespace ovrel
