/// \file native_file_chooser.h
/// The desktop's own dialogs for files and folders.
#pragma once

#include "desktop/file_chooser.h"

#include <memory>

class QWidget;

namespace ovrel {

/// Dialogs of the desktop, or of Qt where it has none. One is open at a time: what is asked for meanwhile brings it to
/// the front, and is never answered.
/// \param window which the dialogs belong to; outlives the chooser; may be null
std::unique_ptr<FileChooser> nativeFileChooser(QWidget* window);

} // namespace ovrel
