/// \file layout_checks.h
/// What has to hold of the main window's layout in every state. Fails the test that asks.
#pragma once

#include "tests/ui/window_fixture.h"

#include <QList>
#include <QScrollArea>
#include <QWidget>

#include <functional>
#include <vector>

namespace ovrel::test {

/// A state of the main window in which its layout has to hold.
struct WindowState {
    const char* name;
    std::function<void(WindowFixture&)> arrange; ///< of a window that is shown
};

const std::vector<WindowState>& windowStates();

/// Those that lie side by side in a parent.
QList<QWidget*> visibleChildrenOf(const QWidget& parent);

/// The column of settings.
QScrollArea& settingsOf(WindowFixture& fixture);

/// No text is cut, nothing lies over anything else or leaves its place, and the settings scroll upwards only.
void expectGoodLayout(WindowFixture& fixture);

} // namespace ovrel::test
