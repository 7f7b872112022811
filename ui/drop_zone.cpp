#include "ui/drop_zone.h"

#include "model/model.h"
#include "ui/button.h"
#include "ui/decoration.h"
#include "ui/shortcuts.h"
#include "ui/text_label.h"
#include "ui/tool_tip.h"
#include "widgets/paragraph.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QVariantAnimation>

namespace ovrel {

namespace {

constexpr int pictureSize = 84;
constexpr double restingDegrees = -5;
constexpr double explanationLineHeight = 1.25;

} // namespace

/// The icon, slightly turned until something is dragged over it.
class DropZone::Picture final : public QWidget {
public:
    explicit Picture(QWidget* parent) : QWidget(parent) {
        setFixedSize(pictureSize + 12, pictureSize + 12);
        turn_.setDuration(motion::drag);
        turn_.setEasingCurve(QEasingCurve::OutCubic);
        connect(&turn_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
            degrees_ = value.toDouble();
            update();
        });
    }

    void setStraight(bool straight) {
        const double target = straight ? 0 : restingDegrees;
        turn_.stop();
        if (!theme().animations || !isVisible()) {
            degrees_ = target;
            update();
            return;
        }
        turn_.setStartValue(degrees_);
        turn_.setEndValue(target);
        turn_.start();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.translate(QRectF(rect()).center());
        painter.rotate(degrees_);
        drawIcon(painter, Icon::photoBadgePlus,
                 QRectF(-pictureSize / 2.0, -pictureSize / 2.0, pictureSize, pictureSize), colors().accent);
    }

private:
    QVariantAnimation turn_;
    double degrees_ = restingDegrees;
};

DropZone::DropZone(Model& model, QWidget* parent) : QWidget(parent), model_(model), pages_(new QStackedWidget(this)) {
    pages_->addWidget(invitation());
    pages_->addWidget(gathering());
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(pages_);

    connect(files_, &Button::clicked, &model_, &Model::chooseFiles);
    connect(folder_, &Button::clicked, &model_, &Model::chooseFolder);
    connect(clear_, &Button::clicked, &model_, &Model::clearQueue);
    connect(&model_, &Model::languageChanged, this, &DropZone::takeTexts);
    connect(&model_, &Model::canEditQueueChanged, this, &DropZone::takeState);
    connect(&model_, &Model::scanningChanged, this, &DropZone::takeState);
    connect(&model_, &Model::rootsChanged, this, &DropZone::takeState);
    connect(&model_, &Model::itemsChanged, this, &DropZone::takeState);
    connect(&model_, &Model::targetedChanged, this, [this] { picture_->setStraight(model_.targeted()); });
    takeTheme();
    takeTexts();
    takeState();
}

void DropZone::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        takeTheme();
    QWidget::changeEvent(event);
}

QWidget* DropZone::invitation() {
    auto* page = new QWidget(this);
    picture_ = new Picture(page);
    heading_ = new TextLabel(TextStyle::emptyHeading, TextColor::primary, page);
    explanation_ = new Paragraph(Paragraph::Role::text, page);
    explanation_->setLineHeight(explanationLineHeight);
    formats_ = new Pill(page);
    files_ = new Button(ButtonKind::primary, metrics::largeButton, page);
    folder_ = new Button(ButtonKind::secondary, metrics::largeButton, page);
    clear_ = new Button(ButtonKind::flat, metrics::smallButton, page);
    files_->setIcons(Icon::photoStack);
    folder_->setIcons(Icon::folderPlus);
    formats_->setText(QStringLiteral("JPG · PNG · WebP · GIF · AVIF"));
    formats_->setContentsMargins(12, 5, 12, 5);
    heading_->setAlignment(Qt::AlignCenter);
    heading_->setWordWrap(true);
    explanation_->setAlignment(Qt::AlignCenter);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(10);
    buttons->addStretch();
    buttons->addWidget(files_);
    buttons->addWidget(folder_);
    buttons->addStretch();

    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(30, 30, 30, 30);
    column->setSpacing(0);
    column->addStretch();
    column->addWidget(picture_, 0, Qt::AlignHCenter);
    column->addSpacing(12);
    column->addWidget(heading_);
    column->addSpacing(6);
    column->addWidget(explanation_);
    column->addSpacing(14);
    column->addWidget(formats_, 0, Qt::AlignHCenter);
    column->addSpacing(24);
    column->addLayout(buttons);
    column->addSpacing(6);
    column->addWidget(clear_, 0, Qt::AlignHCenter);
    column->addStretch();
    return page;
}

QWidget* DropZone::gathering() {
    auto* page = new QWidget(this);
    gatheringText_ = new TextLabel(TextStyle::section, TextColor::primary, page);
    gatheringText_->setAlignment(Qt::AlignCenter);
    auto* column = new QVBoxLayout(page);
    column->setSpacing(16);
    column->addStretch();
    column->addWidget(new Spinner(32, page), 0, Qt::AlignHCenter);
    column->addWidget(gatheringText_);
    column->addStretch();
    return page;
}

void DropZone::takeTheme() {
    QPalette secondary = explanation_->palette();
    secondary.setColor(QPalette::WindowText, colors().secondaryText);
    explanation_->setPalette(secondary);
}

void DropZone::takeTexts() {
    heading_->setText(model_.t(QStringLiteral("Перетащите файлы сюда")));
    explanation_->setText(
        model_.t(QStringLiteral("Или добавьте целую папку — Ovrel\nподготовит всё к преобразованию.")));
    files_->setText(model_.t(QStringLiteral("Выбрать файлы…")));
    files_->setToolTip(toolTipWithKeys(files_->text(), shortcuts::addFiles));
    folder_->setText(model_.t(QStringLiteral("Выбрать папку…")));
    folder_->setToolTip(toolTipWithKeys(folder_->text(), shortcuts::addFolder));
    clear_->setText(model_.t(QStringLiteral("Очистить список")));
    gatheringText_->setText(model_.t(QStringLiteral("Собираем изображения…")));
}

void DropZone::takeState() {
    pages_->setCurrentIndex(model_.scanning() ? 1 : 0);
    files_->setEnabled(model_.canEditQueue());
    folder_->setEnabled(model_.canEditQueue());
    // What is gone would be missed again whenever anything is added; no other control lets go of it.
    clear_->setVisible(!model_.roots().empty() && model_.items().isEmpty());
    clear_->setEnabled(model_.canEditQueue());
}

} // namespace ovrel
