#include "ui/segments.h"

#include "ui/accessible_role.h"
#include "ui/control_painting.h"

#include <QButtonGroup>
#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>

namespace ovrel {

namespace {

constexpr int inset = 3;
constexpr double trackRadius = 9;
constexpr double segmentRadius = 6.5;
constexpr int padding = 13;

class Segment final : public QRadioButton {
public:
    Segment(int designedHeight, QWidget* parent) : QRadioButton(parent), designedHeight_(designedHeight) {
        setFont(fontOf(TextStyle::controlTitle));
        setAttribute(Qt::WA_Hover);
    }

    // Bold text is the widest, so that nothing moves when the choice does.
    QSize sizeHint() const override {
        const QFontMetrics bold(fontOf(TextStyle::controlTitle));
        return {bold.horizontalAdvance(text()) + 2 * padding, heightOf(designedHeight_ - 2 * inset, bold)};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& where) const override { return rect().contains(where); }

    void changeEvent(QEvent* event) override {
        if (event->type() == QEvent::StyleChange)
            setFont(fontOf(TextStyle::controlTitle));
        QRadioButton::changeEvent(event);
    }

    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        const Colors& of = colors();
        if (isChecked())
            drawRounded(painter, rect(), segmentRadius, isEnabled() ? of.segmentSelected : of.segmentSelectedDisabled,
                        isEnabled() ? of.controlBorder : of.border);
        painter.setFont(isChecked() ? font() : fontOf(TextStyle::strong));
        const bool prominent = isChecked() || underMouse();
        painter.setPen(!isEnabled() ? of.disabled : prominent ? of.text : of.secondaryText);
        painter.drawText(rect(), Qt::AlignCenter, text());
    }

private:
    int designedHeight_;
};

} // namespace

Segments::Segments(int count, bool equal, int designedHeight, QWidget* parent)
    : QWidget(parent), group_(new QButtonGroup(this)) {
    setAccessibleRole(*this, QAccessible::Grouping);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(inset, inset, inset, inset);
    row->setSpacing(0);
    for (int index = 0; index < count; ++index) {
        auto* segment = new Segment(designedHeight, this);
        group_->addButton(segment, index);
        row->addWidget(segment, equal ? 1 : 0);
        segments_.push_back(segment);
    }
    segments_.front()->setChecked(true);
    setSizePolicy(equal ? QSizePolicy::Preferred : QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(group_, &QButtonGroup::idToggled, this, [this](int index, bool checked) {
        if (checked) {
            takeChoice();
            Q_EMIT chosen(index);
        }
    });
    takeChoice();
}

void Segments::setTexts(const QStringList& texts) {
    for (qsizetype index = 0; index < texts.size(); ++index) {
        segment(static_cast<int>(index)).setText(texts[index]);
        segment(static_cast<int>(index)).updateGeometry();
    }
}

int Segments::index() const {
    return group_->checkedId();
}

void Segments::setIndex(int index) {
    const QSignalBlocker quiet(group_);
    segment(index).setChecked(true);
    takeChoice();
}

// Qt sees to this only after one of the segments has had the focus: Tab comes to the one that is chosen.
void Segments::takeChoice() {
    for (QRadioButton* const segment : segments_)
        segment->setFocusPolicy(segment->isChecked() ? Qt::StrongFocus : Qt::ClickFocus);
}

void Segments::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    drawRounded(painter, rect(), trackRadius, colors().inset, Qt::transparent);
}

} // namespace ovrel
