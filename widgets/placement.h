/// \file placement.h
/// Where a window appears.
#pragma once

#include <QWidget>

namespace ovrel {

/// Puts a window that is not visible into the middle of the screen on which the user works, no larger than that. Some
/// desktops place windows themselves. Main thread.
void placeInMiddleOfScreen(QWidget& window);

/// Makes a window that is not visible no larger than its screen has room for, frame included. Main thread.
void keepWithinScreen(QWidget& window);

} // namespace ovrel
