/// \file return_key.h
/// Buttons that Return presses as Space does. Qt leaves that to the desktop and to dialogs.
#pragma once

#include <QAbstractButton>
#include <QKeyEvent>

namespace ovrel {

/// Presses a button by Return or Enter alone. Together with other keys they belong to commands, and held they press
/// once: what a button does may put another one in its place. Main thread.
/// \return whether it was one of these keys, which are nothing for the class of the button itself
bool takeReturn(QAbstractButton& button, QKeyEvent& event);

/// A button of the class `Base` that takes Return.
template <class Base>
class PressedByReturn : public Base {
public:
    using Base::Base;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (!takeReturn(*this, *event)) {
            Base::keyPressEvent(event);
        }
    }
};

} // namespace ovrel
