/// \file help_view.h
/// What the Help window shows.
#pragma once

#include "desktop/preferences.h"
#include "widgets/paragraph.h"

#include <QScrollArea>

#include <vector>

namespace ovrel {

/// Every question with its whole answer, in the stored language. Scrolls by the arrow keys, Page Up and Down, Home and
/// End. Main thread.
class HelpView final : public QScrollArea {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HelpView)

public:
    /// \param preferences outlive the view
    explicit HelpView(const Preferences& preferences, QWidget* parent = nullptr);
    ~HelpView() override = default;

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Entry {
        Paragraph* question;
        Paragraph* answer;
    };

    void takeLanguage(AppLanguage language);
    void takeFonts();

    Paragraph* title_;
    std::vector<Entry> entries_;
};

} // namespace ovrel
