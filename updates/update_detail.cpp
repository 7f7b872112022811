#include "updates/update_detail.h"

#include "widgets/paragraph.h"

#include <QEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

namespace ovrel {

namespace {

constexpr int greatestHeight = 150;
constexpr int frame = 1;
constexpr int focusFrame = 2;
constexpr double radius = 8.0;
constexpr QMargins around(frame, 5, frame, 5); // of what scrolls, bar included, so that it stays off the round corners
constexpr QMargins padding(15, 8, 15, 8);
constexpr double lineHeight = 1.25;

} // namespace

UpdateDetail::UpdateDetail(QWidget* parent) : QScrollArea(parent), text_(new Paragraph) {
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setContentsMargins(around);
    viewport()->setAutoFillBackground(false);
    text_->setContentsMargins(padding);
    text_->setLineHeight(lineHeight);
    setWidget(text_);
    text_->setAutoFillBackground(false);

    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);

    // Who cannot scroll has nothing to do there.
    setFocusPolicy(Qt::NoFocus);
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this,
            [this](int /*least*/, int most) { setFocusPolicy(most > 0 ? Qt::StrongFocus : Qt::NoFocus); });
}

void UpdateDetail::setText(const QString& text) {
    if (text_->text() == text) {
        return;
    }
    text_->setText(text);
    verticalScrollBar()->setValue(0);
    updateGeometry();
}

int UpdateDetail::heightForWidth(int width) const {
    return std::min(greatestHeight,
                    text_->heightForWidth(width - around.left() - around.right()) + around.top() + around.bottom());
}

QSize UpdateDetail::sizeHint() const {
    const int width = text_->sizeHint().width() + around.left() + around.right();
    return {width, heightForWidth(width)};
}

QSize UpdateDetail::minimumSizeHint() const {
    return text_->minimumSizeHint().grownBy(around);
}

bool UpdateDetail::event(QEvent* event) {
    switch (event->type()) {
    case QEvent::Paint: drawFrame(); return true;
    case QEvent::FocusIn:
    case QEvent::FocusOut: update(); break;
    case QEvent::FontChange:
    case QEvent::StyleChange: updateGeometry(); break;
    default: break;
    }
    return QScrollArea::event(event);
}

void UpdateDetail::drawFrame() {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int line = hasFocus() ? focusFrame : frame;
    painter.setPen(QPen(palette().color(hasFocus() ? QPalette::Highlight : QPalette::Dark), line));
    painter.setBrush(palette().base());
    const double inset = line / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius, radius);
}

} // namespace ovrel
