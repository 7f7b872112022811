/// \file shown_texts.h
/// What a user reads in a window, and what a screen reader says there.
#pragma once

#include <QAccessible>
#include <QLabel>
#include <QString>
#include <QStringList>
#include <QWidget>

namespace ovrel::test {

/// The texts of the visible labels, in the order in which they were made.
inline QStringList shownTexts(const QWidget& widget) {
    QStringList texts;
    for (const QLabel* const label : widget.findChildren<QLabel*>()) {
        if (label->isVisibleTo(&widget))
            texts.append(label->text());
    }
    return texts;
}

/// The names that a screen reader says for those of a role below a widget.
inline QStringList spokenNames(QAccessibleInterface* spoken, QAccessible::Role role) {
    QStringList names;
    if (spoken->role() == role)
        names.append(spoken->text(QAccessible::Name));
    for (int i = 0; i < spoken->childCount(); ++i)
        names += spokenNames(spoken->child(i), role);
    return names;
}

inline QStringList spokenNames(QWidget& widget, QAccessible::Role role) {
    return spokenNames(QAccessible::queryAccessibleInterface(&widget), role);
}

} // namespace ovrel::test
