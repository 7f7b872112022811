/// \file content_view.h
/// The content of the main window.
#pragma once

#include "desktop/links.h"
#include "model/model.h"
#include "remote/banner_model.h"
#include "ui/qt_texts.h"

#include <QPointer>
#include <QWidget>

#include <stop_token>

class QGridLayout;
class QMenu;
class QMessageBox;

namespace ovrel {

class FocusKeeper;
class FooterBar;
class HeaderBar;
class InspectorPanel;
class QueuePanel;

/// Header, list, settings and footer. Holds no logic of its own. Main thread.
class ContentView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ContentView)

public:
    /// What the view is made of.
    struct Services {
        Model::Services model;
        FetchFunction fetch = BannerModel::defaultFetch(); ///< for the banner
        LinkOpener openLink;                               ///< not empty
    };

    explicit ContentView(Services services, QWidget* parent = nullptr);
    ~ContentView() override;

    Model& model() { return model_; }
    BannerModel& banner() { return banner_; }

    /// \param menu of the program; outlives this
    void setMenu(QMenu* menu);

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void makeActions();
    void arrange();
    void loadBanner();
    void keepFocus();
    void takeError();
    void takeAlertTexts();

    Model model_;
    QtTexts qtTexts_; ///< before what asks Qt for names of keys
    BannerModel banner_;
    UpdateManager& updater_;
    std::stop_source bannerLoad_;
    bool shown_ = false;

    QGridLayout* grid_;
    HeaderBar* header_;
    QueuePanel* queue_;
    InspectorPanel* inspector_;
    FooterBar* footer_;
    FocusKeeper* focus_; ///< a child
    QPointer<QMessageBox> alert_;
};

} // namespace ovrel
