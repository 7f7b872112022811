#include "updates/update_detail.h"

#include "widgets/paragraph.h"

#include <QEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>

namespace ovrel {

namespace {

constexpr int greatestHeight = 150;
constexpr int frame = 1;
constexpr int focusFrame = 2;
constexpr double radius = 8.0;
constexpr QMargins around(frame, 5, frame, 5); // so that what scrolls stays off the round corners
constexpr QMargins padding(15, 8, 15, 8);
constexpr double lineHeight = 1.25;

} // namespace

UpdateDetail::UpdateDetail(QWidget* parent) : QWidget(parent), area_(new QScrollArea(this)), text_(new Paragraph) {
    // Not fixed: that would hold it to the height of lines as long as the text likes them.
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);

    area_->setFrameShape(QFrame::NoFrame);
    area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area_->setWidgetResizable(true);
    area_->viewport()->setAutoFillBackground(false);
    text_->setContentsMargins(padding);
    text_->setLineHeight(lineHeight);
    area_->setWidget(text_);
    text_->setAutoFillBackground(false);

    // Who cannot scroll has nothing to do there.
    area_->setFocusPolicy(Qt::NoFocus);
    connect(area_->verticalScrollBar(), &QScrollBar::rangeChanged, this,
            [this](int /*least*/, int most) { area_->setFocusPolicy(most > 0 ? Qt::StrongFocus : Qt::NoFocus); });
    area_->installEventFilter(this);
}

void UpdateDetail::setText(const QString& text) {
    if (text_->text() == text) {
        return;
    }
    text_->setText(text);
    area_->verticalScrollBar()->setValue(0);
    updateGeometry();
    arrange();
}

int UpdateDetail::heightForWidth(int width) const {
    const int edges = around.top() + around.bottom();
    return text_->heightOfWholeLines(width - around.left() - around.right(), greatestHeight - edges) + edges;
}

QSize UpdateDetail::sizeHint() const {
    const int width = text_->sizeHint().grownBy(around).width();
    return {width, heightForWidth(width)};
}

bool UpdateDetail::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        update();
    }
    return QWidget::eventFilter(watched, event);
}

void UpdateDetail::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        updateGeometry();
        arrange();
    }
    QWidget::changeEvent(event);
}

void UpdateDetail::resizeEvent(QResizeEvent* /*event*/) {
    arrange();
}

void UpdateDetail::arrange() {
    QRect inside = rect().marginsRemoved(around);
    const bool scrolls = text_->heightForWidth(inside.width()) > inside.height();
    // Left to itself, a bar stays that has come while there was less room, since beside it there is too little.
    area_->setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    if (scrolls) {
        // Half a line at the end is hard to read and looks like an error.
        inside.adjust(0, 0, 0, -padding.bottom());
    }
    area_->setGeometry(inside);
}

void UpdateDetail::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool focused = area_->hasFocus();
    const int line = focused ? focusFrame : frame;
    painter.setPen(QPen(palette().color(focused ? QPalette::Highlight : QPalette::Dark), line));
    painter.setBrush(palette().base());
    const double inset = line / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius, radius);
}

} // namespace ovrel
