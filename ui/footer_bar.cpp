#include "ui/footer_bar.h"

#include "model/model.h"
#include "platform/file_error.h"
#include "remote/banner_model.h"
#include "remote/banner_view.h"
#include "ui/announcement.h"
#include "ui/button.h"
#include "ui/decoration.h"
#include "ui/progress_bar.h"
#include "ui/shortcuts.h"
#include "ui/text_label.h"
#include "ui/tool_tip.h"

#include <QBoxLayout>
#include <QPainter>

#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace ovrel {

namespace {

constexpr int progressWidth = 360;
constexpr int plainHeight = 72;
constexpr int oneRowWidth = 1280; ///< of the window, from which on the status stands beside the buttons in any case
constexpr int stackedButton = 36;

struct BannerSize {
    int width;  ///< of the picture, which is six times as wide as high
    int footer; ///< height
};

BannerSize bannerSizeIn(int windowWidth) {
    if (windowWidth >= 1400) {
        return {540, 128};
    }
    return windowWidth >= 1000 ? BannerSize{432, 110} : BannerSize{348, 96};
}

} // namespace

FooterBar::FooterBar(Model& model, const BannerModel& banner, LinkOpener openLink, QWidget* parent)
    : QWidget(parent), model_(model), banner_(banner), openLink_(std::move(openLink)) {
    work_ = new QBoxLayout(QBoxLayout::LeftToRight);
    work_->addWidget(statusArea(), 1);
    work_->addWidget(buttonArea());
    row_ = new QHBoxLayout(this);
    row_->addLayout(work_, 1);
    height_ = new QSpacerItem(0, plainHeight);
    row_->addSpacerItem(height_);

    connect(open_, &Button::clicked, this, [this] {
        const std::optional<std::filesystem::path> folder = model_.output();
        std::error_code error;
        if (folder && !openFolder(openLink_, *folder) && !std::filesystem::exists(*folder, error)) {
            model_.setError(std::make_exception_ptr(FileError(FileError::readNoSuchFile, *folder)));
        }
    });
    connect(convert_, &Button::clicked, &model_, &Model::start);
    connect(stop_, &Button::clicked, this, [this] { model_.setCancelled(true); });

    connect(&model_, &Model::languageChanged, this, &FooterBar::takeTexts);
    connect(&model_, &Model::canStartChanged, this, &FooterBar::takeRun);
    connect(&model_, &Model::busyChanged, this, &FooterBar::takeRun);
    connect(&model_, &Model::cancelledChanged, this, &FooterBar::takeRun);
    connect(&model_, &Model::completedChanged, this, &FooterBar::takeRun);
    connect(&model_, &Model::finishedChanged, this, &FooterBar::takeRun);
    connect(&model_, &Model::messageChanged, this, &FooterBar::takeMessage);
    connect(&model_, &Model::outputChanged, this, &FooterBar::takeHint);
    connect(&banner_, &BannerModel::creativeChanged, this, &FooterBar::takeBanner);
    takeTexts();
    takeBanner();
}

void FooterBar::setMetrics(int windowWidth, int margin, bool compact) {
    windowWidth_ = windowWidth;
    margin_ = margin;
    compact_ = compact;
    arrange();
}

QWidget* FooterBar::statusArea() {
    status_ = new QWidget(this);
    failure_ = new IconView(Icon::exclamationCircle, 17, &Colors::danger, status_);
    message_ = new ElidedLabel(TextStyle::controlTitle, TextColor::primary, status_);
    hint_ = new ElidedLabel(TextStyle::caption, TextColor::secondary, status_);
    progress_ = new ProgressBar(status_);
    progress_->setMaximumWidth(progressWidth);

    auto* line = new QHBoxLayout;
    line->setSpacing(7);
    line->addWidget(failure_);
    line->addWidget(message_, 1);
    auto* column = new QVBoxLayout(status_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addStretch();
    column->addLayout(line);
    column->addSpacing(3);
    column->addWidget(hint_);
    progressGap_ = new QSpacerItem(0, 0);
    column->addSpacerItem(progressGap_);
    column->addWidget(progress_);
    column->addStretch();
    return status_;
}

QWidget* FooterBar::buttonArea() {
    buttons_ = new QWidget(this);
    open_ = new Button(ButtonKind::secondary, metrics::largeButton, buttons_);
    open_->setIcons(Icon::folder);
    convert_ = new Button(ButtonKind::primary, metrics::largeButton, buttons_);
    convert_->setIcons(Icon::none, Icon::arrowRight);
    stop_ = new Button(ButtonKind::stop, metrics::largeButton, buttons_);
    stop_->setIcons(Icon::stop);
    buttonRow_ = new QHBoxLayout(buttons_);
    buttonRow_->setContentsMargins(0, 0, 0, 0);
    buttonRow_->addStretch();
    buttonRow_->addWidget(open_);
    buttonRow_->addWidget(convert_);
    buttonRow_->addWidget(stop_);
    return buttons_;
}

void FooterBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), colors().surface);
    painter.fillRect(0, 0, width(), 1, colors().border);
}

void FooterBar::takeTexts() {
    open_->setText(model_.t(QStringLiteral("Открыть папку результата")));
    convert_->setText(model_.t(QStringLiteral("Преобразовать в AVIF")));
    convert_->setToolTip(toolTipWithKeys(convert_->text(), shortcuts::convert));
    progress_->setAccessibleName(convert_->text());
    if (view_ != nullptr) {
        takeBanner();
    }
    takeRun();
    takeMessage();
    takeHint();
}

void FooterBar::takeRun() {
    const bool busy = model_.busy();
    const bool focused = convert_->hasFocus() || stop_->hasFocus();
    convert_->setEnabled(model_.canStart());
    // Both at once would need more room, which the window would make and keep.
    (busy ? convert_ : stop_)->hide();
    (busy ? stop_ : convert_)->show();
    stop_->setEnabled(!model_.cancelled());
    stop_->setText(model_.t(model_.cancelled() ? QStringLiteral("Останавливаем…") : QStringLiteral("Остановить")));
    stop_->setToolTip(
        toolTipWithKeys(model_.t(QStringLiteral("Остановка после текущего изображения")), shortcuts::stop));
    if (focused) {
        (busy ? stop_ : convert_)->setFocus();
    }
    progress_->setCounters(model_.completed(), model_.items().size());
    (busy ? static_cast<QWidget*>(hint_) : progress_)->hide();
    (busy ? static_cast<QWidget*>(progress_) : hint_)->show();
    progressGap_->changeSize(0, busy ? 5 : 0);
    status_->layout()->invalidate();
    failure_->setVisible(model_.finished() && model_.failures() > 0);
}

void FooterBar::takeMessage() {
    const QString message = model_.message();
    if (message == message_->text()) {
        return;
    }
    message_->setText(message);
    // Every image of a run has its own message, which nobody wants to hear each time.
    if (!std::exchange(announcedRun_, model_.busy()) || !model_.busy()) {
        announce(*message_, message);
    }
}

void FooterBar::takeHint() {
    hint_->setText(model_.t(model_.output() ? QStringLiteral("Исходные файлы останутся на месте")
                                            : QStringLiteral("Выберите папку сохранения перед запуском")));
    open_->setVisible(model_.output().has_value());
}

void FooterBar::takeBanner() {
    if (view_ != nullptr) {
        // It may be the one whose click brought this about.
        row_->removeWidget(view_);
        view_->hide();
        std::exchange(view_, nullptr)->deleteLater();
    }
    if (banner_.creative()) {
        view_ = new BannerView(*banner_.creative(), model_.language(), openLink_, this);
        row_->insertWidget(0, view_, 0, Qt::AlignVCenter);
        setTabOrder(stop_, view_);
    }
    arrange();
}

void FooterBar::arrange() {
    const bool stacked = view_ != nullptr && windowWidth_ < oneRowWidth;
    const BannerSize banner = bannerSizeIn(windowWidth_);
    if (view_ != nullptr) {
        view_->setFixedWidth(banner.width);
    }
    for (Button* button : {open_, convert_, stop_}) {
        button->setDesignedHeight(stacked ? stackedButton : metrics::largeButton);
    }
    buttonRow_->setDirection(compact_ ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    buttonRow_->setSpacing(compact_ ? 6 : 10);
    work_->setDirection(stacked ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    work_->setSpacing(stacked ? 4 : 16);
    // Below each other they would take the width of what stands above them.
    work_->setAlignment(buttons_, stacked && compact_ ? Qt::AlignTrailing : Qt::Alignment());
    constexpr int vertical = 8;
    row_->setContentsMargins(margin_, vertical + 1, margin_, vertical);
    row_->setSpacing(margin_);
    const int height = view_ != nullptr ? banner.footer : plainHeight;
    height_->changeSize(0, height - 2 * vertical - 1, QSizePolicy::Fixed, QSizePolicy::Minimum);
    row_->invalidate();
    updateGeometry();
}

} // namespace ovrel
