#include "tests/ui/controls.h"

#include <QCoreApplication>
#include <QTest>
#include <QTextDocument>

#include <algorithm>

namespace ovrel::test {

QString nameOf(QWidget& widget) {
    QAccessibleInterface& spoken = *QAccessible::queryAccessibleInterface(&widget);
    // A control that is called by its value, as a choice is, is told apart by its label.
    const auto labels = spoken.relations(QAccessible::Label);
    return labels.isEmpty() ? spoken.text(QAccessible::Name) : labels.front().first->text(QAccessible::Name);
}

QAccessible::Role roleOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->role();
}

bool shows(const QWidget& window, const QString& text) {
    const QList<QLabel*> labels = window.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(),
                       [&](const QLabel* label) { return label->isVisible() && label->text() == text; });
}

void click(QWidget& widget, Qt::KeyboardModifiers modifiers) {
    QTest::mouseClick(&widget, Qt::LeftButton, modifiers);
}

void settle() {
    // What a longer text needs goes up through the layouts and comes back as another size of the window.
    constexpr int turns = 10;
    for (int turn = 0; turn < turns; ++turn) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

QString plainTextOf(const QString& toolTip) {
    if (!Qt::mightBeRichText(toolTip)) {
        return toolTip;
    }
    QTextDocument document;
    document.setHtml(toolTip);
    return document.toPlainText().trimmed();
}

} // namespace ovrel::test
