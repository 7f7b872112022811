#include "ui/header_bar.h"

#include "model/model.h"
#include "ui/control_painting.h"
#include "ui/segments.h"
#include "ui/text_label.h"
#include "ui/wordmark_button.h"

#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

namespace ovrel {

namespace {

constexpr int logoSize = 40;
constexpr int shieldIcon = 15;
constexpr int globeIcon = 18;
constexpr int leastPadding = 8; ///< above and below large text

} // namespace

/// Says where the files are processed; where there is little room, by its icon and its tool tip.
class HeaderBar::PrivacyBadge final : public QWidget {
public:
    explicit PrivacyBadge(QWidget* parent)
        : QWidget(parent), text_(new TextLabel(TextStyle::caption, TextColor::secondary, this)) {
        auto* row = new QHBoxLayout(this);
        row->setContentsMargins(10, 6, 12, 6);
        row->setSpacing(8);
        row->addWidget(new IconView(Icon::lockShield, shieldIcon, &Colors::success, this));
        row->addWidget(text_);
        setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    }

    /// Its text never keeps the window wide.
    QSize minimumSizeHint() const override { return {10 + besideText(shieldIcon) + 10, sizeHint().height()}; }

    void setText(const QString& text) {
        text_->setText(text);
        setToolTip(text);
        setAccessibleName(text);
    }
    void setCollapsed(bool collapsed) {
        text_->setVisible(!collapsed);
        layout()->setContentsMargins(10, 6, collapsed ? 10 : 12, 6);
    }
    /// With its text.
    int fullWidth() const { return 10 + besideText(shieldIcon) + 8 + text_->sizeHint().width() + 12; }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        drawRounded(painter, rect(), height() / 2.0, colors().inset, Qt::transparent);
    }

private:
    TextLabel* text_;
};

HeaderBar::HeaderBar(Model& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , wordmark_(new WordmarkButton(this))
    , tagline_(new ElidedLabel(TextStyle::caption, TextColor::secondary, this))
    , badge_(new PrivacyBadge(this))
    , language_(new Segments(static_cast<int>(AppLanguage::allCases.size()), false, metrics::smallButton, this)) {
    auto* names = new QVBoxLayout;
    names->setSpacing(0);
    names->addStretch();
    names->addWidget(wordmark_, 0, Qt::AlignLeading);
    auto* taglineRow = new QHBoxLayout;
    taglineRow->setContentsMargins(WordmarkButton::padding, 0, 0, 0);
    taglineRow->addWidget(tagline_);
    names->addLayout(taglineRow);
    names->addStretch();

    auto* row = new QHBoxLayout(this);
    row->setSpacing(0);
    row->addWidget(new ApplicationIcon(logoSize, this));
    row->addSpacing(12 - WordmarkButton::padding);
    row->addLayout(names, 1);
    row->addSpacing(12);
    row->addWidget(badge_);
    row->addSpacing(16);
    row->addWidget(new IconView(Icon::globe, globeIcon, &Colors::secondaryText, this));
    row->addSpacing(8);
    row->addWidget(language_);

    language_->setTexts({QStringLiteral("Русский"), QStringLiteral("English")});
    language_->setAccessibleName(QStringLiteral("Language / Язык"));
    connect(language_, &Segments::chosen, this,
            [this](int index) { model_.setLanguage(AppLanguage::allCases.at(static_cast<std::size_t>(index))); });
    connect(&model_, &Model::languageChanged, this, &HeaderBar::takeTexts);
    takeTexts();
}

void HeaderBar::setMenu(QMenu* menu) {
    wordmark_->setMenu(menu);
    wordmark_->updateGeometry();
}

void HeaderBar::setMetrics(int height, int margin, bool compact) {
    compact_ = compact;
    height_ = height;
    layout()->setContentsMargins(margin, leastPadding, margin, leastPadding);
    fitBadge();
    updateGeometry();
}

QSize HeaderBar::sizeHint() const {
    return QWidget::sizeHint().expandedTo({0, height_});
}

QSize HeaderBar::minimumSizeHint() const {
    return QWidget::minimumSizeHint().expandedTo({0, height_});
}

void HeaderBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), colors().surface);
    painter.fillRect(0, height() - 1, width(), 1, colors().border);
}

void HeaderBar::resizeEvent(QResizeEvent* event) {
    fitBadge();
    QWidget::resizeEvent(event);
}

void HeaderBar::takeTexts() {
    tagline_->setText(model_.t(QStringLiteral("Новая форма ваших изображений")));
    badge_->setText(model_.t(QStringLiteral("Обработка файлов на вашем Mac")));
    language_->setIndex(static_cast<int>(AppLanguage::Case(model_.language())));
    fitBadge();
}

void HeaderBar::fitBadge() {
    const QMargins margins = layout()->contentsMargins();
    const int others = margins.left() + margins.right() + logoSize + 12 +
                       std::max(wordmark_->sizeHint().width(), tagline_->sizeHint().width()) + 12 + 16 +
                       besideText(globeIcon) + 8 + language_->sizeHint().width();
    badge_->setCollapsed(compact_ || others + badge_->fullWidth() > width());
}

} // namespace ovrel
