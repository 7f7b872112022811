/// \file shortcuts.h
/// The keys of the program, in the form of QKeySequence.
#pragma once

#include <QString>

namespace ovrel::shortcuts {

inline const QString addFiles = QStringLiteral("Ctrl+O");
inline const QString addFolder = QStringLiteral("Ctrl+Shift+O");
inline const QString selectAll = QStringLiteral("Ctrl+A");
inline const QString remove = QStringLiteral("Del");
inline const QString convert = QStringLiteral("Ctrl+Return");
inline const QString stop = QStringLiteral("Esc");
inline const QString help = QStringLiteral("F1");
/// The sign of help everywhere, also where it needs Shift.
inline const QString helpSign = QStringLiteral("Ctrl+?");
inline const QString quit = QStringLiteral("Ctrl+Q");

} // namespace ovrel::shortcuts
