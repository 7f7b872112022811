#include "ui/about_view.h"

#include "ui/about_text.h"
#include "ui/decoration.h"

#include <QCoreApplication>
#include <QEvent>
#include <QVBoxLayout>

namespace ovrel {

namespace {

constexpr int viewWidth = 540;
constexpr int iconSize = 76;
constexpr int gap = 18;
constexpr double textLineHeight = 1.25;

} // namespace

AboutView::AboutView(const Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , preferences_(preferences)
    , name_(new Paragraph(Paragraph::Role::heading, this))
    , tagline_(new Paragraph(Paragraph::Role::text, this))
    , version_(new TextLabel(TextStyle::caption, TextColor::secondary, this)) {
    setFixedWidth(viewWidth);
    auto* const stack = new QVBoxLayout(this);
    stack->setContentsMargins(metrics::dialogPadding, metrics::dialogPadding, metrics::dialogPadding,
                              metrics::dialogPadding);
    stack->setSpacing(gap);
    stack->addWidget(new ApplicationIcon(iconSize, this), 0, Qt::AlignHCenter);
    for (QLabel* const line :
         {static_cast<QLabel*>(name_), static_cast<QLabel*>(tagline_), static_cast<QLabel*>(version_)}) {
        line->setAlignment(Qt::AlignHCenter);
        stack->addWidget(line);
    }
    name_->setText(QStringLiteral("Ovrel"));
    for (std::size_t i = 0; i < aboutParagraphs.size(); ++i) {
        paragraphs_.push_back(new Paragraph(Paragraph::Role::text, this));
        paragraphs_.back()->setLineHeight(textLineHeight);
        stack->addWidget(paragraphs_.back());
    }
    takeFonts();
    followLanguage(preferences_, this, [this](AppLanguage language) { takeLanguage(language); });
}

void AboutView::showEvent(QShowEvent* event) {
    takeLanguage(savedLanguage(preferences_)); // the version is the one that the program has now
    QWidget::showEvent(event);
}

void AboutView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        takeFonts();
    QWidget::changeEvent(event);
}

void AboutView::takeLanguage(AppLanguage language) {
    tagline_->setText(language.text(QStringLiteral("Новая форма ваших изображений")));
    version_->setText(language.choose(QStringLiteral("Версия "), QStringLiteral("Version ")) +
                      QCoreApplication::applicationVersion());
    for (std::size_t i = 0; i < aboutParagraphs.size(); ++i)
        paragraphs_[i]->setText(aboutParagraphs[i].in(language));
}

void AboutView::takeFonts() {
    name_->setFont(fontOf(TextStyle::pageTitle));
    tagline_->setFont(fontOf(TextStyle::section));
}

} // namespace ovrel
