/// \file wordmark_button.h
/// The program's name in the header.
#pragma once

#include "ui/hover_fade.h"
#include "widgets/return_key.h"

#include <QToolButton>

namespace ovrel {

/// Opens the menu of the program. Main thread.
class WordmarkButton final : public PressedByReturn<QToolButton> {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WordmarkButton)

public:
    /// Between the button's edge and the name.
    static constexpr int padding = 5;

    explicit WordmarkButton(QWidget* parent = nullptr);
    ~WordmarkButton() override = default;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    HoverFade* fade_; ///< a child
};

} // namespace ovrel
