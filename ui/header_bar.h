/// \file header_bar.h
/// The top of the main window.
#pragma once

#include "ui/decoration.h"

#include <QWidget>

class QMenu;

namespace ovrel {

class ElidedLabel;
class Model;
class Segments;
class WordmarkButton;

/// The program's name, which opens its menu; the promise that nothing is uploaded; and the language. Main thread.
class HeaderBar final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HeaderBar)

public:
    /// \param model outlives this
    explicit HeaderBar(Model& model, QWidget* parent = nullptr);
    ~HeaderBar() override = default;

    /// \param menu outlives this; null for none
    void setMenu(QMenu* menu);
    /// \param margin on both sides, in pixels
    /// \param compact whether the text is large for the width of the window
    void setMetrics(int height, int margin, bool compact);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class PrivacyBadge;

    void takeTexts();
    void fitBadge();

    Model& model_;
    int height_ = 68; ///< at least
    bool compact_ = false;
    WordmarkButton* wordmark_;
    ElidedLabel* tagline_;
    PrivacyBadge* badge_;
    Segments* language_;
};

} // namespace ovrel
