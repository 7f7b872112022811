#include "widgets/return_key.h"

namespace ovrel {

bool takeReturn(QAbstractButton& button, QKeyEvent& event) {
    if (event.key() != Qt::Key_Return && event.key() != Qt::Key_Enter) {
        return false;
    }
    const Qt::KeyboardModifiers others = event.modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier);
    if (others == Qt::NoModifier) {
        if (!event.isAutoRepeat()) {
            button.click();
        }
    } else {
        event.ignore();
    }
    return true;
}

} // namespace ovrel
