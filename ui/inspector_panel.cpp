#include "ui/inspector_panel.h"

#include "model/help_sections.h"
#include "model/model.h"
#include "model/path_text.h"
#include "ui/decoration.h"
#include "ui/folder_button.h"
#include "ui/quality_slider.h"
#include "ui/segments.h"
#include "ui/switch.h"
#include "ui/text_label.h"
#include "ui/tool_tip.h"

#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <array>

namespace ovrel {

namespace {

constexpr std::array modes{EncodingMode::efficient, EncodingMode::system};
constexpr std::array<qint64, 3> speeds{8, 6, 4}; // as they are offered

/// Leaves the wheel to the column: who scrolls past it does not choose.
class CompressionBox final : public QComboBox {
public:
    using QComboBox::QComboBox;

protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

QHBoxLayout* rowOf(QWidget* first, QWidget* last) {
    auto* row = new QHBoxLayout;
    row->setSpacing(10);
    row->addWidget(first);
    row->addStretch();
    row->addWidget(last);
    return row;
}

QVBoxLayout* sectionOf(QWidget* section, int spacing) {
    auto* column = new QVBoxLayout(section);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    return column;
}

} // namespace

InspectorPanel::InspectorPanel(Model& model, QWidget* parent) : QScrollArea(parent), model_(model) {
    setFrameShape(NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    viewport()->setAutoFillBackground(false);

    auto* content = new QWidget(this);
    content->setAutoFillBackground(false);
    column_ = new QVBoxLayout(content);
    column_->setContentsMargins(margin, 0, margin, margin);
    column_->addWidget(outputCard());
    column_->addWidget(settingsCard());
    folderTitle_ = new TextLabel(TextStyle::overline, TextColor::secondary, content);
    folderTitle_->setContentsMargins(2, 0, 2, 0);
    folder_ = new FolderButton(content);
    auto* saving = new QVBoxLayout;
    saving->setSpacing(6);
    saving->addWidget(folderTitle_);
    saving->addWidget(folder_);
    column_->addLayout(saving);
    recursive_ = new Switch(content);
    column_->addWidget(recursive_);
    column_->addWidget(informationLine());
    column_->addStretch();
    setWidget(content);
    setMetrics(width_, false);

    connectSettings();
    takeTexts();
    takeQuality();
    takeMode();
    takeSpeed();
    recursive_->setChecked(model_.recursive());
    content->setEnabled(!model_.busy());
}

void InspectorPanel::setMetrics(int width, bool dense) {
    width_ = width;
    dense_ = dense;
    column_->setSpacing(dense ? 8 : 12);
    sections_->setSpacing(dense ? 10 : 14);
    compression_->layout()->setSpacing(dense ? 7 : 10);
    takeLastSection();
    updateGeometry();
}

void InspectorPanel::takeLastSection() {
    const int padding = dense_ ? 10 : 14;
    // A control has less below it than a text, so that both seem to stand as far from the edge.
    const int below = compression_->isHidden() ? padding : (dense_ ? 7 : 10);
    sections_->setContentsMargins(14, padding, 14, below);
}

// The scroll bar has its room whether it is seen or not: it comes with a height that depends on the width.
QSize InspectorPanel::sizeHint() const {
    const int texts = widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width();
    return {std::max(width_, texts), QScrollArea::sizeHint().height()};
}

QSize InspectorPanel::minimumSizeHint() const {
    return {sizeHint().width(), QScrollArea::minimumSizeHint().height()};
}

bool InspectorPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == widget() && event->type() == QEvent::LayoutRequest) {
        updateGeometry();
    }
    return QScrollArea::eventFilter(watched, event);
}

QWidget* InspectorPanel::outputCard() {
    auto* card = new Card(this);
    card->setFill(&Colors::accentTint, false);
    card->setFillWhenDisabled(&Colors::disabledFill);
    auto* sign = new IconView(Icon::sparkles, 22, &Colors::onAccent, card);
    sign->setTile(42, &Colors::accentFill, 8);
    auto* format = new TextLabel(TextStyle::wordmark, TextColor::primary, card);
    format->setText(QStringLiteral("AVIF"));
    output_ = new TextLabel(TextStyle::overline, TextColor::accent, card);
    outputNote_ = new TextLabel(TextStyle::caption, TextColor::secondary, card);
    outputNote_->setWordWrap(true);

    auto* lines = new QVBoxLayout;
    lines->setSpacing(0);
    lines->addStretch();
    lines->addLayout(rowOf(format, output_));
    lines->addWidget(outputNote_);
    lines->addStretch();
    auto* row = new QHBoxLayout(card);
    row->setContentsMargins(15, 12, 15, 12);
    row->setSpacing(12);
    row->addWidget(sign);
    row->addLayout(lines, 1);
    return card;
}

QWidget* InspectorPanel::settingsCard() {
    auto* card = new Card(this);
    sections_ = new QVBoxLayout(card);
    sections_->addWidget(qualitySection(card));
    sections_->addWidget(new Divider(card));
    sections_->addWidget(methodSection(card));
    sections_->addWidget(compressionSection(card));
    return card;
}

QWidget* InspectorPanel::qualitySection(QWidget* card) {
    auto* section = new QWidget(card);
    qualityTitle_ = new TextLabel(TextStyle::controlTitle, TextColor::primary, section);
    qualityValue_ = new TextLabel(TextStyle::section, TextColor::accent, section);
    quality_ = new QualitySlider(section);
    smaller_ = new TextLabel(TextStyle::caption, TextColor::secondary, section);
    finer_ = new TextLabel(TextStyle::caption, TextColor::secondary, section);
    auto* column = sectionOf(section, 0);
    column->addLayout(rowOf(qualityTitle_, qualityValue_));
    column->addWidget(quality_);
    column->addLayout(rowOf(smaller_, finer_));
    return section;
}

QWidget* InspectorPanel::methodSection(QWidget* card) {
    auto* section = new QWidget(card);
    methodTitle_ = new TextLabel(TextStyle::controlTitle, TextColor::primary, section);
    method_ = new Segments(static_cast<int>(modes.size()), true, metrics::button, section);
    methodNote_ = new TextLabel(TextStyle::caption, TextColor::secondary, section);
    methodNote_->setWordWrap(true);
    auto* column = sectionOf(section, 8);
    column->addWidget(methodTitle_);
    column->addWidget(method_);
    column->addWidget(methodNote_);
    return section;
}

QWidget* InspectorPanel::compressionSection(QWidget* card) {
    compression_ = new QWidget(card);
    compressionTitle_ = new TextLabel(TextStyle::controlTitle, TextColor::primary, compression_);
    speed_ = new CompressionBox(compression_);
    speed_->setFocusPolicy(Qt::StrongFocus);
    for (const qint64 speed : speeds) {
        speed_->addItem(QString(), speed);
    }
    speed_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    compressionTitle_->setBuddy(speed_);
    auto* column = sectionOf(compression_, 0);
    column->addWidget(new Divider(compression_));
    column->addLayout(rowOf(compressionTitle_, speed_));
    return compression_;
}

QWidget* InspectorPanel::informationLine() {
    auto* line = new QWidget(this);
    informationIcon_ = new IconView(Icon::infoCircle, 16, &Colors::accentText, line);
    information_ = new TextLabel(TextStyle::caption, TextColor::secondary, line);
    information_->setWordWrap(true);
    auto* row = new QHBoxLayout(line);
    row->setContentsMargins(2, 0, 2, 0);
    row->setSpacing(9);
    row->addWidget(informationIcon_, 0, Qt::AlignTop);
    row->addWidget(information_, 1);
    return line;
}

void InspectorPanel::connectSettings() {
    connect(quality_, &QSlider::valueChanged, this, [this](int percent) { model_.setQuality(percent); });
    connect(method_, &Segments::chosen, this,
            [this](int index) { model_.setMode(modes.at(static_cast<std::size_t>(index))); });
    connect(speed_, &QComboBox::activated, this,
            [this](int index) { model_.setSpeed(speeds.at(static_cast<std::size_t>(index))); });
    connect(folder_, &FolderButton::clicked, &model_, &Model::chooseOutput);
    connect(recursive_, &Switch::clicked, this, [this](bool recursive) {
        model_.setRecursive(recursive);
        model_.rescan();
    });

    connect(&model_, &Model::qualityChanged, this, &InspectorPanel::takeQuality);
    connect(&model_, &Model::modeChanged, this, &InspectorPanel::takeMode);
    connect(&model_, &Model::speedChanged, this, &InspectorPanel::takeSpeed);
    connect(&model_, &Model::outputChanged, this, &InspectorPanel::takeOutput);
    connect(&model_, &Model::recursiveChanged, this, [this] { recursive_->setChecked(model_.recursive()); });
    connect(&model_, &Model::languageChanged, this, &InspectorPanel::takeTexts);
    connect(&model_, &Model::busyChanged, this, [this] { widget()->setEnabled(!model_.busy()); });
    connect(&model_, &Model::canEditQueueChanged, this, [this] { recursive_->setEnabled(model_.canEditQueue()); });
}

void InspectorPanel::takeTexts() {
    output_->setText(model_.t(QStringLiteral("РЕЗУЛЬТАТ")));
    outputNote_->setText(model_.t(QStringLiteral("Меньше размер. Больше места.")));
    qualityTitle_->setText(model_.t(QStringLiteral("Качество")));
    quality_->setAccessibleName(model_.t(QStringLiteral("Качество изображения")));
    smaller_->setText(model_.t(QStringLiteral("Меньше файл")));
    finer_->setText(model_.t(QStringLiteral("Больше деталей")));
    methodTitle_->setText(model_.t(QStringLiteral("Способ обработки")));
    method_->setAccessibleName(methodTitle_->text());
    method_->setTexts({model_.t(QStringLiteral("Компактный")), model_.t(QStringLiteral("Системный"))});
    compressionTitle_->setText(model_.t(QStringLiteral("Сжатие")));
    speed_->setAccessibleName(compressionTitle_->text());
    speed_->setItemText(0, model_.t(QStringLiteral("Быстро")));
    speed_->setItemText(1, model_.t(QStringLiteral("Баланс")));
    speed_->setItemText(2, model_.t(QStringLiteral("Тщательно")));
    speed_->setMinimumWidth(std::max(132, speed_->sizeHint().width()));
    folderTitle_->setText(model_.t(QStringLiteral("ПАПКА СОХРАНЕНИЯ")));
    recursive_->setText(model_.t(QStringLiteral("Вложенные папки")));
    const QString explanation = model_.language().helpSections().at(2).answer;
    recursive_->setToolTip(plainToolTip(explanation));
    recursive_->setAccessibleDescription(explanation); // Qt would tell the tool tip's markup
    recursive_->updateGeometry();
    takeOutput();
    takeMode();
}

void InspectorPanel::takeQuality() {
    quality_->setValue(qRound(model_.quality()));
    qualityValue_->setText(QString::number(quality_->value()));
}

void InspectorPanel::takeMode() {
    const bool efficient = model_.mode() == EncodingMode::efficient;
    method_->setIndex(efficient ? 0 : 1);
    methodNote_->setText(model_.t(
        efficient ? QStringLiteral("Кодировщик libaom через библиотеку libavif. Позволяет выбрать баланс между "
                                   "скоростью обработки и сжатием. Рекомендуем начать с этого режима.")
                  : QStringLiteral("Встроенный кодировщик Apple через ImageIO. Альтернативный вариант для сравнения "
                                   "качества и размера файла. Анимированные GIF обрабатываются через libaom.")));
    compression_->setVisible(efficient);
    takeLastSection();
    takeInformation();
}

void InspectorPanel::takeSpeed() {
    speed_->setCurrentIndex(speed_->findData(model_.speed()));
}

void InspectorPanel::takeOutput() {
    if (!model_.output()) {
        folder_->setLines(model_.t(QStringLiteral("Выбрать папку")),
                          model_.t(QStringLiteral("Для готовых изображений")));
        folder_->setToolTip({});
        return;
    }
    const std::filesystem::path& folder = *model_.output();
    // The folder of all folders has no name of its own.
    const QString name = textOf(folder.filename().empty() ? folder : folder.filename());
    folder_->setLines(name, model_.t(QStringLiteral("Нажмите, чтобы изменить")));
    folder_->setToolTip(plainToolTip(textOf(folder)));
}

void InspectorPanel::takeInformation() {
    const bool unavailable = model_.mode() == EncodingMode::system && !model_.supported();
    information_->setText(
        model_.t(unavailable ? QStringLiteral("Системный кодировщик недоступен. Выберите компактный режим.")
                             : QStringLiteral("GIF сохраняет анимацию. Готовые AVIF копируются без изменений.")));
    information_->setTextColor(unavailable ? TextColor::danger : TextColor::secondary);
    informationIcon_->setIcon(unavailable ? Icon::exclamationCircle : Icon::infoCircle,
                              unavailable ? &Colors::danger : &Colors::accentText);
}

} // namespace ovrel
