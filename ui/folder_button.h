/// \file folder_button.h
/// The button that shows and changes the folder for the results.
#pragma once

#include "ui/hover_fade.h"
#include "widgets/return_key.h"

#include <QPushButton>
#include <QString>

namespace ovrel {

/// Two lines between a folder and a chevron. Main thread.
class FolderButton final : public PressedByReturn<QPushButton> {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderButton)

public:
    explicit FolderButton(QWidget* parent = nullptr);
    ~FolderButton() override = default;

    /// \param title the button's text, and its accessible name
    void setLines(const QString& title, const QString& explanation);
    /// The second line.
    const QString& explanation() const { return explanation_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString title_;
    QString explanation_;
    HoverFade* fade_; ///< a child
};

} // namespace ovrel
