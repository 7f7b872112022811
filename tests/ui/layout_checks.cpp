#include "tests/ui/layout_checks.h"

#include "tests/ui/controls.h"
#include "ui/folder_button.h"
#include "ui/text_label.h"

#include <QComboBox>
#include <QFocusFrame>
#include <QListView>

#include <gtest/gtest.h>

#include <string>

namespace ovrel::test {

namespace {

std::string describe(QWidget& widget) {
    return std::string(widget.metaObject()->className()) + " \"" + nameOf(widget).toStdString() + "\"";
}

/// These end in an ellipsis where there is no room, and say the rest in a tool tip.
bool isElided(const QWidget& widget) {
    return qobject_cast<const ElidedLabel*>(&widget) != nullptr ||
           qobject_cast<const FolderButton*>(&widget) != nullptr;
}

void expectNoTextIsCut(const QWidget& window) {
    for (QLabel* const label : window.findChildren<QLabel*>()) {
        if (!label->isVisible() || label->text().isEmpty()) {
            continue;
        }
        const QSize needed = label->wordWrap() ? QSize(0, label->heightForWidth(label->width())) : label->sizeHint();
        if (!isElided(*label)) {
            EXPECT_GE(label->width(), needed.width()) << describe(*label);
        }
        EXPECT_GE(label->height(), needed.height()) << describe(*label);
    }
    for (QAbstractButton* const button : window.findChildren<QAbstractButton*>()) {
        if (!button->isVisible()) {
            continue;
        }
        if (!isElided(*button)) {
            EXPECT_GE(button->width(), button->sizeHint().width()) << describe(*button);
        }
        EXPECT_GE(button->height(), button->sizeHint().height()) << describe(*button);
    }
    for (QComboBox* const box : window.findChildren<QComboBox*>()) {
        if (box->isVisible()) {
            EXPECT_GE(box->width(), box->sizeHint().width()) << describe(*box);
            EXPECT_GE(box->height(), box->sizeHint().height()) << describe(*box);
        }
    }
}

void expectNothingOverlaps(QWidget& parent) {
    const QList<QWidget*> children = visibleChildrenOf(parent);
    const bool scrolls =
        parent.parentWidget() != nullptr && qobject_cast<QAbstractScrollArea*>(parent.parentWidget()) != nullptr;
    for (QWidget* const child : children) {
        if (!scrolls) {
            EXPECT_TRUE(parent.rect().contains(child->geometry()))
                << describe(*child) << " leaves " << describe(parent);
        }
        for (QWidget* const other : children) {
            EXPECT_TRUE(child == other || !child->geometry().intersects(other->geometry()))
                << describe(*child) << " and " << describe(*other);
        }
        if (qobject_cast<QListView*>(child) == nullptr && qobject_cast<QComboBox*>(child) == nullptr) {
            expectNothingOverlaps(*child);
        }
    }
}

/// They scroll upwards, but have no way to the side.
void expectTheSettingsAreWide(const QScrollArea& settings) {
    EXPECT_GE(settings.viewport()->width(), settings.widget()->minimumSizeHint().width());
    EXPECT_LE(settings.widget()->width(), settings.viewport()->width());
}

} // namespace

const std::vector<WindowState>& windowStates() {
    static const std::vector<WindowState> states{
        {"empty", [](WindowFixture&) {}},
        {"gathering", [](WindowFixture& fixture) { fixture.model().add({"/in"}); }},
        {"filled",
         [](WindowFixture& fixture) {
             fixture.prepare({"a.png", "b.gif", std::string(200, 'n') + ".avif"});
             fixture.model().setSelection({"/in/a.png"});
         }},
        {"system",
         [](WindowFixture& fixture) {
             fixture.prepare({"a.png"});
             fixture.services.systemWriter = false;
             fixture.model().setMode(EncodingMode::system);
         }},
        {"running",
         [](WindowFixture& fixture) {
             fixture.prepare({"a.png", std::string(200, 'n') + ".png"});
             fixture.services.convert();
             fixture.model().start();
             fixture.awaitCompleted(1);
         }},
        {"stopping",
         [](WindowFixture& fixture) {
             fixture.prepare({"a.png"});
             fixture.start();
             fixture.model().setCancelled(true);
         }},
        {"finished",
         [](WindowFixture& fixture) {
             fixture.prepare({"a.png", "b.png"});
             fixture.services.failToConvert();
             fixture.services.convert();
             fixture.model().start();
             fixture.awaitCompleted(2);
             fixture.awaitIdle();
         }},
        {"banner",
         [](WindowFixture& fixture) {
             fixture.prepare({"a.png"});
             fixture.answerBanner();
         }},
        {"banner, running",
         [](WindowFixture& fixture) {
             fixture.prepare({"a.png"});
             fixture.start();
             fixture.answerBanner();
         }},
    };
    return states;
}

QList<QWidget*> visibleChildrenOf(const QWidget& parent) {
    QList<QWidget*> children;
    for (QObject* const child : parent.children()) {
        auto* const widget = qobject_cast<QWidget*>(child);
        // The ring around what has the keyboard lies above everything.
        if (widget != nullptr && widget->isVisible() && !widget->isWindow() &&
            qobject_cast<QFocusFrame*>(widget) == nullptr) {
            children.append(widget);
        }
    }
    return children;
}

QScrollArea& settingsOf(WindowFixture& fixture) {
    return *fixture.window().findChild<QScrollArea*>();
}

void expectGoodLayout(WindowFixture& fixture) {
    settle();
    expectNoTextIsCut(fixture.window());
    expectTheSettingsAreWide(settingsOf(fixture));
    expectNothingOverlaps(fixture.content());
}

} // namespace ovrel::test
