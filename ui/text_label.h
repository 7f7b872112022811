/// \file text_label.h
/// A piece of text in one of the theme's styles.
#pragma once

#include "ui/theme.h"

#include <QLabel>
#include <QString>

#include <cstdint>

namespace ovrel {

/// What the colour of a text says.
enum class TextColor : std::uint8_t { primary, secondary, accent, danger };

/// The colour of a text in the present theme.
QColor colorOf(TextColor color);

/// A label that follows the theme. Plain text only. Main thread.
class TextLabel : public QLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TextLabel)

public:
    explicit TextLabel(TextStyle style, TextColor color = TextColor::primary, QWidget* parent = nullptr);
    ~TextLabel() override = default;

    void setTextStyle(TextStyle style);
    void setTextColor(TextColor color);

protected:
    void changeEvent(QEvent* event) override;

private:
    void takeTheme();

    TextStyle style_;
    TextColor color_;
};

/// One line that is cut where there is no room, and then says in its tool tip what it says in full.
class ElidedLabel final : public TextLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ElidedLabel)

public:
    using TextLabel::TextLabel;
    ~ElidedLabel() override = default;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;
};

} // namespace ovrel
