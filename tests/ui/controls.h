/// \file controls.h
/// Controls of a window, found as a user finds them: they are seen, and they have a name.
#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QLabel>
#include <QString>
#include <QWidget>

#include <stdexcept>

namespace ovrel::test {

/// What a screen reader calls a widget; mostly the text on it.
QString nameOf(QWidget& widget);
QAccessible::Role roleOf(QWidget& widget);

/// The visible control of a name, null for none. Fails the test when there are several.
template <typename Control>
Control* findControl(const QWidget& window, const QString& name);

/// The same for one that has to be there.
template <typename Control = QAbstractButton>
Control& control(const QWidget& window, const QString& name) {
    Control* const found = findControl<Control>(window, name);
    if (found == nullptr) {
        throw std::runtime_error("no visible control is called \"" + name.toStdString() + "\"");
    }
    return *found;
}

/// Whether a label with this text is visible.
bool shows(const QWidget& window, const QString& text);

/// Presses and releases the left mouse button in the middle of a widget.
void click(QWidget& widget, Qt::KeyboardModifiers modifiers = {});
inline void click(const QWidget& window, const QString& name) {
    click(control(window, name));
}

/// Lets everything happen that waits in the event loop.
void settle();

/// How a tool tip reads, whether it is markup or not.
QString plainTextOf(const QString& toolTip);

// How it is done.

template <typename Control>
Control* findControl(const QWidget& window, const QString& name) {
    Control* found = nullptr;
    for (Control* const candidate : window.findChildren<Control*>()) {
        if (!candidate->isVisible() || nameOf(*candidate) != name) {
            continue;
        }
        if (found != nullptr) {
            throw std::runtime_error("several visible controls are called \"" + name.toStdString() + "\"");
        }
        found = candidate;
    }
    return found;
}

} // namespace ovrel::test
