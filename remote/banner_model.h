/// \file banner_model.h
/// The one banner of the main window.
#pragma once

#include "model/app_language.h"
#include "platform/image.h"
#include "remote/banner_network.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <qcoro/qcorotask.h>

#include <memory>
#include <optional>
#include <stop_token>

namespace ovrel {

/// A picture of 1080 × 180 points, however many pixels it has; more of them make it sharp where a point has several. A
/// view with less room shows it smaller.
struct BannerImage {
    static constexpr int displayWidth = 1080; ///< points
    static constexpr int displayHeight = 180; ///< points

    std::shared_ptr<const Image> pixels; ///< rgba8 in sRGB, straight alpha; not null
};

/// Main thread. Observed through its signal.
class BannerModel : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BannerModel)

public:
    /// The most bytes that a banner has.
    static constexpr qint64 imageLimitBytes = 2'000'000;

    /// A banner ready to be shown.
    struct Creative {
        BannerImage image;
        QUrl link;   ///< opened by a click
        QString alt; ///< what a screen reader says
    };

    explicit BannerModel(FetchFunction fetch = defaultFetch(), QObject* parent = nullptr);
    ~BannerModel() override;

    /// Nothing while there is no banner to show.
    const std::optional<Creative>& creative() const { return creative_; }
    /// Another one with each load.
    const QUuid& generation() const { return generation_; }

    /// Empties `creative` and fetches the banner of a language. Loads may overlap; only the last one that began may
    /// publish. Never throws: after a failure there is no banner. May outlive the model, and does nothing then.
    /// \param stop requested on the main thread; makes the load fail
    QCoro::Task<void> load(AppLanguage language, std::stop_token stop = {});

    /// BannerNetwork::fetch
    static FetchFunction defaultFetch();

Q_SIGNALS:
    void creativeChanged();

private:
    void setCreative(std::optional<Creative> creative);

    FetchFunction fetch_;
    std::optional<Creative> creative_;
    QUuid generation_;
    std::stop_source transfer_; ///< stops what the latest load downloads
};

} // namespace ovrel
