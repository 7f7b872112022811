#include "ui/help_view.h"

#include "model/help_sections.h"
#include "ui/theme.h"

#include <QEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <QVBoxLayout>

namespace ovrel {

namespace {

constexpr QSize smallest(520, 420);
constexpr int largestTextWidth = 760;
constexpr int entryGap = 24;
constexpr int answerGap = 8;
constexpr double answerLineHeight = 1.25;

} // namespace

HelpView::HelpView(const Preferences& preferences, QWidget* parent)
    : QScrollArea(parent), title_(new Paragraph(Paragraph::Role::heading)) {
    setMinimumSize(smallest);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);

    auto* const content = new QWidget;
    content->setMaximumWidth(largestTextWidth + 2 * metrics::dialogPadding);
    auto* const stack = new QVBoxLayout(content);
    stack->setContentsMargins(metrics::dialogPadding, metrics::dialogPadding, metrics::dialogPadding,
                              metrics::dialogPadding);
    stack->setSpacing(0);
    stack->addWidget(title_);
    for (std::size_t i = 0; i < helpSectionTexts.size(); ++i) {
        const Entry entry{new Paragraph(Paragraph::Role::heading), new Paragraph(Paragraph::Role::text)};
        entry.answer->setLineHeight(answerLineHeight);
        stack->addSpacing(entryGap);
        stack->addWidget(entry.question);
        stack->addSpacing(answerGap);
        stack->addWidget(entry.answer);
        entries_.push_back(entry);
    }
    stack->addStretch();
    setWidget(content);

    takeFonts();
    followLanguage(preferences, this, [this](AppLanguage language) { takeLanguage(language); });
}

void HelpView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        takeFonts();
    QScrollArea::changeEvent(event);
}

void HelpView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::MoveToStartOfLine) || event->matches(QKeySequence::MoveToStartOfDocument))
        verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMinimum);
    else if (event->matches(QKeySequence::MoveToEndOfLine) || event->matches(QKeySequence::MoveToEndOfDocument))
        verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMaximum);
    else
        QScrollArea::keyPressEvent(event);
}

void HelpView::takeLanguage(AppLanguage language) {
    title_->setText(language.choose(QStringLiteral("Справка приложения Ovrel"), QStringLiteral("Ovrel Help")));
    setAccessibleName(title_->text());
    const QList<HelpSection> sections = language.helpSections();
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const HelpSection& section = sections.at(static_cast<qsizetype>(i));
        entries_[i].question->setText(section.question);
        entries_[i].answer->setText(section.answer);
    }
    // Nothing is painted in the height of the other language.
    QEvent request(QEvent::LayoutRequest);
    event(&request);
}

void HelpView::takeFonts() {
    title_->setFont(fontOf(TextStyle::pageTitle));
    for (const Entry& entry : entries_)
        entry.question->setFont(fontOf(TextStyle::section));
}

} // namespace ovrel
