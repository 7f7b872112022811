/// \file banner_view.h
/// The banner as the user sees it.
#pragma once

#include "desktop/links.h"
#include "model/app_language.h"
#include "remote/banner_model.h"

#include <QLabel>
#include <QWidget>

class QAbstractButton;

namespace ovrel {

/// A small note in the secondary colour. Its font is the application's for this class.
class BannerLabel final : public QLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BannerLabel)

public:
    explicit BannerLabel(QWidget* parent = nullptr);
    ~BannerLabel() override = default;
};

/// One banner that can be clicked, above the note that it is an advertisement. The picture is six times as wide as
/// high, as large as there is room and in its middle. Main thread.
class BannerView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BannerView)

public:
    /// \param language of the note
    /// \param openLink gets the banner's link; not empty
    BannerView(const BannerModel::Creative& creative, AppLanguage language, LinkOpener openLink,
               QWidget* parent = nullptr);
    ~BannerView() override = default;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();

    QAbstractButton* picture_;
    BannerLabel* note_;
};

} // namespace ovrel
