/// \file drag.h
/// Something that another program drags over a window.
#pragma once

#include <QByteArray>
#include <QMimeData>
#include <QPoint>
#include <QWidget>

#include <vector>

namespace ovrel::test {

/// Sends the events that Qt makes of a drag to whatever lies under the pointer. It ends with the drag.
class Drag {
public:
    /// \param addresses of what is dragged, percent-encoded
    Drag(QWidget& window, const std::vector<QByteArray>& addresses,
         Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction);
    ~Drag() { leave(); }
    Drag(const Drag&) = delete;
    Drag& operator=(const Drag&) = delete;

    /// \param where in the window
    /// \return whether it could be dropped there
    bool moveTo(QPoint where);
    void leave();
    /// \return whether it was taken; false also where nothing takes it
    bool drop();

    /// What would become of it, or has become of it.
    Qt::DropAction action() const { return action_; }

private:
    QWidget& window_;
    QMimeData offered_;
    Qt::DropActions actions_;
    QWidget* target_ = nullptr; ///< under the pointer
    QPoint where_;              ///< in `target_`
    bool accepted_ = false;
    Qt::DropAction action_ = Qt::IgnoreAction;
};

} // namespace ovrel::test
