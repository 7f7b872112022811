/// \file update_view.h
/// What the panel of updates shows.
#pragma once

#include "updates/update_manager.h"
#include "widgets/paragraph.h"

#include <QList>
#include <QWidget>

class QBoxLayout;
class QProgressBar;
class QPushButton;

namespace ovrel {

class UpdateDetail;

/// A heading of the second level. Its font is the application's for this class.
class UpdateHeading final : public Paragraph {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdateHeading)

public:
    explicit UpdateHeading(QWidget* parent = nullptr) : Paragraph(Role::heading, parent) {}
    ~UpdateHeading() override = default;
};

/// Draws whatever its manager publishes, and offers the manager's actions as buttons. Of several the first is the
/// default one. 510 pixels wide and as high as it has to be. Main thread.
class UpdateView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdateView)

public:
    /// \param manager outlives the view
    explicit UpdateView(UpdateManager& manager, QWidget* parent = nullptr);
    ~UpdateView() override = default;

protected:
    void changeEvent(QEvent* event) override;

private:
    void takeTexts();
    void takeProgress();
    void takeActions();
    void arrangeButtons();

    UpdateManager& manager_;
    UpdateHeading* heading_;
    UpdateDetail* detail_;
    QProgressBar* progress_;
    QWidget* row_; ///< of the buttons
    QBoxLayout* rowLayout_;
    QList<QPushButton*> buttons_;
};

} // namespace ovrel
