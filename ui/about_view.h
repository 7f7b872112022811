/// \file about_view.h
/// What the About window shows.
#pragma once

#include "desktop/preferences.h"
#include "ui/text_label.h"
#include "widgets/paragraph.h"

#include <QWidget>

#include <vector>

namespace ovrel {

/// The program's icon, name and version, and what it does, in the stored language and as wide as it has to be.
/// Main thread.
class AboutView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AboutView)

public:
    /// \param preferences outlive the view
    explicit AboutView(const Preferences& preferences, QWidget* parent = nullptr);
    ~AboutView() override = default;

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void takeLanguage(AppLanguage language);
    void takeFonts();

    const Preferences& preferences_;
    Paragraph* name_;
    Paragraph* tagline_;
    TextLabel* version_;
    std::vector<Paragraph*> paragraphs_;
};

} // namespace ovrel
