#include "updates/update_view.h"

#include "updates/update_detail.h"
#include "widgets/return_key.h"

#include <QBoxLayout>
#include <QEvent>
#include <QProgressBar>
#include <QPushButton>

#include <cmath>

namespace ovrel {

namespace {

constexpr int viewWidth = 510;
constexpr int padding = 24;
constexpr int gap = 18;
constexpr int buttonGap = 8;
constexpr int progressSteps = 1000;

/// As high as the style draws it. By itself it would keep room for a text.
class Indicator final : public QProgressBar {
public:
    using QProgressBar::QProgressBar;

    QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace

UpdateView::UpdateView(UpdateManager& manager, QWidget* parent)
    : QWidget(parent)
    , manager_(manager)
    , heading_(new UpdateHeading(this))
    , detail_(new UpdateDetail(this))
    , progress_(new Indicator(this))
    , row_(new QWidget(this))
    , rowLayout_(new QBoxLayout(QBoxLayout::LeftToRight, row_)) {
    setFixedWidth(viewWidth);
    progress_->setTextVisible(false);
    rowLayout_->setContentsMargins(0, 0, 0, 0);
    rowLayout_->setSpacing(buttonGap);

    auto* const stack = new QVBoxLayout(this);
    stack->setContentsMargins(padding, padding, padding, padding);
    stack->setSpacing(gap);
    stack->addWidget(heading_);
    stack->addWidget(detail_);
    stack->addWidget(progress_);
    stack->addWidget(row_, 0, Qt::AlignLeading);

    connect(&manager_, &UpdateManager::headingChanged, this, &UpdateView::takeTexts);
    connect(&manager_, &UpdateManager::detailChanged, this, &UpdateView::takeTexts);
    connect(&manager_, &UpdateManager::showsProgressChanged, this, &UpdateView::takeProgress);
    connect(&manager_, &UpdateManager::progressChanged, this, &UpdateView::takeProgress);
    connect(&manager_, &UpdateManager::actionsChanged, this, &UpdateView::takeActions);
    takeTexts();
    takeProgress();
    takeActions();
}

void UpdateView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange || event->type() == QEvent::FontChange) {
        arrangeButtons();
    }
    QWidget::changeEvent(event);
}

void UpdateView::takeTexts() {
    heading_->setText(manager_.heading());
    detail_->setText(manager_.detail());
    progress_->setAccessibleName(manager_.heading());
}

void UpdateView::takeProgress() {
    progress_->setVisible(manager_.showsProgress());
    if (const std::optional<double> progress = manager_.progress()) {
        progress_->setRange(0, progressSteps);
        progress_->setValue(static_cast<int>(std::lround(*progress * progressSteps)));
    } else {
        progress_->setRange(0, 0); // moves without an end
    }
}

void UpdateView::takeActions() {
    // One of them may be the button that is being pressed.
    for (QPushButton* const button : std::as_const(buttons_)) {
        rowLayout_->removeWidget(button);
        button->hide();
        button->deleteLater();
    }
    buttons_.clear();

    for (const UpdateManager::Action& action : manager_.actions()) {
        auto* const button = new PressedByReturn<QPushButton>(row_);
        button->setText(QString(action.title).replace(u'&', QStringLiteral("&&")));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [action] {
            const UpdateManager::Action pressed = action; // the button may go before it has been performed
            pressed.perform();
        });
        rowLayout_->addWidget(button);
        buttons_.append(button);
        button->show();
    }
    row_->setVisible(!buttons_.isEmpty());
    if (!buttons_.isEmpty()) {
        buttons_.front()->setDefault(buttons_.size() > 1); // alone it is not the better choice
        buttons_.front()->setFocus();
    }
    arrangeButtons();
}

void UpdateView::arrangeButtons() {
    int width = 0;
    for (const QPushButton* const button : std::as_const(buttons_)) {
        width += button->sizeHint().width() + (width == 0 ? 0 : buttonGap);
    }
    const bool fits = width <= viewWidth - 2 * padding;
    rowLayout_->setDirection(fits ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
}

} // namespace ovrel
