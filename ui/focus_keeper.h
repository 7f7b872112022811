/// \file focus_keeper.h
/// The keyboard's place while work takes it away.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace ovrel {

/// Remembers which control of a window lost the focus because it was disabled or hidden, until the user goes elsewhere.
/// Main thread.
class FocusKeeper final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FocusKeeper)

public:
    /// \param area whose controls count; owns this
    explicit FocusKeeper(QWidget& area);
    ~FocusKeeper() override = default;

    /// The control that lost the focus, which is forgotten by this; null for none.
    QWidget* take();

private:
    void follow(QWidget* before);

    QWidget& area_;
    QPointer<QWidget> displaced_;
};

} // namespace ovrel
