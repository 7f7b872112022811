#include "widgets/paragraph.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace ovrel {

namespace {

class AccessibleHeading final : public QAccessibleWidget {
public:
    explicit AccessibleHeading(Paragraph& heading)
        : QAccessibleWidget(&heading, QAccessible::Heading), heading_(heading) {}

    QString text(QAccessible::Text kind) const override {
        const QString given = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && given.isEmpty() ? heading_.text() : given;
    }

private:
    Paragraph& heading_;
};

QAccessibleInterface* makeAccessibleHeading(const QString& /*className*/, QObject* object) {
    auto* const paragraph = qobject_cast<Paragraph*>(object);
    return paragraph && paragraph->role() == Paragraph::Role::heading ? new AccessibleHeading(*paragraph) : nullptr;
}

/// Wide enough for a line that is easy to read, where nobody says how wide it has to be.
int comfortableWidth(const QFontMetrics& metrics) {
    constexpr int lettersOfALine = 60;
    return lettersOfALine * metrics.averageCharWidth();
}

} // namespace

Paragraph::Paragraph(Role role, QWidget* parent) : QLabel(parent), role_(role) {
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(makeAccessibleHeading);
        return true;
    }();
    setTextFormat(Qt::PlainText);
    setWordWrap(true); // so that layouts ask for the height of a width
}

void Paragraph::setLineHeight(double lineHeight) {
    lineHeight_ = lineHeight;
    updateGeometry();
    update();
}

int Paragraph::heightForWidth(int width) const {
    return heightWithin(width, std::numeric_limits<double>::infinity());
}

int Paragraph::heightOfWholeLines(int width, int greatest) const {
    const QMargins margins = contentsMargins();
    return heightWithin(width, greatest - margins.top() - margins.bottom());
}

int Paragraph::heightWithin(int width, double room) const {
    const QMargins margins = contentsMargins();
    QTextLayout layout;
    const double lines = layOut(layout, std::max(1, width - margins.left() - margins.right()), room);
    return static_cast<int>(std::ceil(lines)) + margins.top() + margins.bottom();
}

QSize Paragraph::sizeHint() const {
    const QMargins margins = contentsMargins();
    QTextLayout layout;
    layOut(layout, comfortableWidth(fontMetrics()));
    const int width = static_cast<int>(std::ceil(layout.boundingRect().width())) + margins.left() + margins.right();
    return {width, heightForWidth(width)};
}

QSize Paragraph::minimumSizeHint() const {
    const QMargins margins = contentsMargins();
    return {fontMetrics().maxWidth() + margins.left() + margins.right(), margins.top() + margins.bottom()};
}

void Paragraph::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRect where = contentsRect();
    QTextLayout layout;
    layOut(layout, where.width());
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(&painter, where.topLeft());
}

double Paragraph::layOut(QTextLayout& layout, double width, double room) const {
    QString lines = text();
    if (lines.isEmpty())
        return 0.0;
    layout.setText(lines.replace(u'\n', QChar::LineSeparator));
    layout.setFont(font());
    QTextOption option(QStyle::visualAlignment(layoutDirection(), alignment()) & Qt::AlignHorizontal_Mask);
    option.setTextDirection(layoutDirection());
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);

    double top = 0.0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        // Whole pixels keep the lines as sharp as each other.
        const double height = std::round(line.height() * lineHeight_);
        if (top + height > room) {
            break;
        }
        line.setPosition(QPointF(0.0, top + std::round((height - line.height()) / 2.0)));
        top += height;
    }
    layout.endLayout();
    return top;
}

} // namespace ovrel
