#include "ui/focus_ring.h"

#include "ui/folder_button.h"
#include "ui/segments.h"
#include "ui/switch.h"
#include "ui/theme.h"
#include "ui/wordmark_button.h"

#include <QApplication>
#include <QComboBox>
#include <QFocusFrame>
#include <QKeyEvent>
#include <QPushButton>

#include <utility>

namespace ovrel {

namespace {

/// Whether the user moves by keyboard, and not by mouse. What the program or the desktop moves goes on being seen as it
/// was: reasons of focus do not tell, as Qt calls it Tab as well when what has had the focus is hidden.
bool& byKeyboard() {
    static bool seen = false;
    return seen;
}

bool movesFocus(int key) {
    switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Space: return true;
    default: return false;
    }
}

/// Qt's own frame goes when the style of its widget changes, which is how widgets hear of another theme.
class LastingFrame final : public QFocusFrame {
public:
    using QFocusFrame::QFocusFrame;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        return event->type() != QEvent::StyleChange && QFocusFrame::eventFilter(watched, event);
    }
};

/// What the ring goes around when a widget has the focus; null for what shows its focus itself.
QWidget* ringedBy(QWidget* focused) {
    if (focused == nullptr)
        return nullptr;
    if (auto* segments = qobject_cast<Segments*>(focused->parentWidget()))
        return segments;
    const bool ringed =
        qobject_cast<QAbstractButton*>(focused) != nullptr || qobject_cast<QComboBox*>(focused) != nullptr;
    return ringed ? focused : nullptr;
}

} // namespace

FocusShape focusShapeOf(const QWidget& widget) {
    if (const auto* onOff = qobject_cast<const Switch*>(&widget))
        return {onOff->track(), onOff->track().height() / 2.0};
    if (qobject_cast<const FolderButton*>(&widget) != nullptr)
        return {widget.rect(), metrics::folderRadius};
    if (qobject_cast<const Segments*>(&widget) != nullptr)
        return {widget.rect(), 9};
    if (qobject_cast<const WordmarkButton*>(&widget) != nullptr)
        return {widget.rect().adjusted(0, 2, 0, -2), metrics::tileRadius}; // text stands close below
    return {widget.rect(), metrics::buttonRadius};
}

bool keyboardFocusIsSeen(const QWidget* widget) {
    if (widget == nullptr || !byKeyboard())
        return false;
    const QWidget* focused = QApplication::focusWidget();
    return focused != nullptr && (focused == widget || widget->isAncestorOf(focused));
}

FocusRing::FocusRing(QObject* parent) : QObject(parent) {
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget* /*old*/, QWidget* now) { goTo(now); });
}

FocusRing::~FocusRing() {
    byKeyboard() = false;
    delete frame_;
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress: setByKeyboard(false); break;
    case QEvent::KeyPress:
        if (movesFocus(static_cast<QKeyEvent*>(event)->key()))
            setByKeyboard(true);
        break;
    default: break;
    }
    return QObject::eventFilter(watched, event);
}

void FocusRing::setByKeyboard(bool seen) {
    if (std::exchange(byKeyboard(), seen) != seen)
        goTo(QApplication::focusWidget());
}

void FocusRing::goTo(QWidget* widget) {
    QWidget* ringed = byKeyboard() ? ringedBy(widget) : nullptr;
    if (widget != nullptr)
        widget->update();
    if (ringed == nullptr) {
        if (frame_ != nullptr)
            frame_->setWidget(nullptr);
        return;
    }
    if (frame_ == nullptr)
        frame_ = new LastingFrame(ringed->window());
    frame_->setWidget(ringed);
    frame_->update();
}

} // namespace ovrel
