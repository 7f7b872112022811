/// \file update_detail.h
/// The text below the heading of the panel of updates.
#pragma once

#include <QScrollArea>
#include <QString>

namespace ovrel {

class Paragraph;

/// A framed text, as high as that is but at most 150 pixels; what is longer scrolls, by the keyboard too. Main thread.
class UpdateDetail final : public QScrollArea {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdateDetail)

public:
    explicit UpdateDetail(QWidget* parent = nullptr);
    ~UpdateDetail() override = default;

    /// Shows the beginning of a text.
    void setText(const QString& text);

    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;

private:
    void drawFrame();

    Paragraph* text_;
};

} // namespace ovrel
