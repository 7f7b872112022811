/// \file update_detail.h
/// The text below the heading of the panel of updates.
#pragma once

#include <QString>
#include <QWidget>

class QScrollArea;

namespace ovrel {

class Paragraph;

/// A framed text, as high as that is but at most 150 pixels; what is longer scrolls, by the keyboard too. Main thread.
class UpdateDetail final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdateDetail)

public:
    explicit UpdateDetail(QWidget* parent = nullptr);
    ~UpdateDetail() override = default;

    /// Shows the beginning of a text.
    void setText(const QString& text);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void arrange();

    QScrollArea* area_;
    Paragraph* text_;
};

} // namespace ovrel
