/// \file footer_bar.h
/// The bottom of the main window.
#pragma once

#include "desktop/links.h"

#include <QWidget>

class QBoxLayout;
class QSpacerItem;

namespace ovrel {

class BannerModel;
class BannerView;
class Button;
class ElidedLabel;
class IconView;
class Model;
class ProgressBar;

/// The status line, what begins and ends a run, and the banner. Main thread.
class FooterBar final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FooterBar)

public:
    /// \param model outlives this, and so does the banner
    FooterBar(Model& model, const BannerModel& banner, LinkOpener openLink, QWidget* parent = nullptr);
    ~FooterBar() override = default;

    /// Takes on the measures of a window of this size.
    /// \param compact whether the text is large for that
    void setMetrics(int windowWidth, int margin, bool compact);

    Button& convert() { return *convert_; }
    Button& stop() { return *stop_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* statusArea();
    QWidget* buttonArea();
    void takeTexts();
    void takeRun();
    void takeMessage();
    void takeHint();
    void takeBanner();
    void arrange();

    Model& model_;
    const BannerModel& banner_;
    LinkOpener openLink_;
    int windowWidth_ = 1080;
    int margin_ = 20;
    bool compact_ = false;
    bool announcedRun_ = false; ///< the run that goes on has been announced

    BannerView* view_ = nullptr; ///< null while there is no banner
    QBoxLayout* row_ = nullptr;
    QSpacerItem* height_ = nullptr; ///< keeps the row as high as designed, at least; it asks nobody else for that
    QBoxLayout* work_ = nullptr;    ///< status and buttons, side by side or one above the other
    QWidget* status_ = nullptr;
    IconView* failure_ = nullptr;
    ElidedLabel* message_ = nullptr;
    ElidedLabel* hint_ = nullptr;
    QSpacerItem* progressGap_ = nullptr; ///< above the bar, while there is one
    ProgressBar* progress_ = nullptr;
    QWidget* buttons_ = nullptr;
    QBoxLayout* buttonRow_ = nullptr;
    Button* open_ = nullptr;
    Button* convert_ = nullptr;
    Button* stop_ = nullptr;
};

} // namespace ovrel
