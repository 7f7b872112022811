/// \file button.h
/// Buttons as the program draws them.
#pragma once

#include "ui/control_painting.h"
#include "ui/hover_fade.h"
#include "widgets/return_key.h"

#include <QPushButton>

namespace ovrel {

/// As wide as its text. Main thread.
class Button : public PressedByReturn<QPushButton> {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Button)

public:
    /// \param designedHeight pixels, with text of the usual size
    Button(ButtonKind kind, int designedHeight, QWidget* parent = nullptr);
    ~Button() override = default;

    void setIcons(Icon leading, Icon trailing = Icon::none);
    void setDesignedHeight(int designedHeight);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    ButtonLabel label() const;

    ButtonKind kind_;
    int designedHeight_;
    Icon leading_ = Icon::none;
    Icon trailing_ = Icon::none;
    HoverFade* fade_; ///< a child
};

/// What the pointer and the program do to a button now.
ControlState stateOf(const QAbstractButton& button, const HoverFade& fade);

} // namespace ovrel
