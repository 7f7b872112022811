#include "remote/banner_model.h"

#include "model/background.h"
#include "remote/banner_error.h"
#include "remote/banner_settings.h"
#include "remote/linked_stop.h"
#include "remote/transport_error.h"

#include <QPointer>

#include <qcoro/qcorofuture.h>

#include <utility>

namespace ovrel {

namespace {

/// \return null when the bytes are no banner, because exceptions do not leave QtConcurrent as they were thrown
std::shared_ptr<const Image> decodeOrNull(const QByteArray& bytes) {
    try {
        return std::make_shared<const Image>(BannerNetwork::decode(bytes));
    } catch (...) {
        return nullptr;
    }
}

/// Downloads a language's banner. Knows no model, so it may outlive one.
/// \return nothing when the publisher shows none
QCoro::Task<std::optional<BannerModel::Creative>> download(FetchFunction fetch, AppLanguage language,
                                                           std::stop_token stop) {
    const QByteArray text = co_await fetch(BannerSettings::address(), BannerSettings::limitBytes, stop);
    const BannerSettings settings = BannerSettings::fromUtf8(text);
    if (!settings.isEnabled(language)) {
        co_return std::nullopt;
    }
    const BannerSettings::Entry entry = settings.entry(language);
    const QByteArray bytes = co_await fetch(entry.image, BannerModel::imageLimitBytes, stop);
    std::shared_ptr<const Image> pixels = co_await QtConcurrent::run(&backgroundThreads(), decodeOrNull, bytes);
    if (!pixels) {
        throw BannerError(BannerError::invalid);
    }
    if (stop.stop_requested()) {
        throw TransportError(QNetworkReply::OperationCanceledError);
    }
    co_return BannerModel::Creative{{std::move(pixels)}, entry.link, entry.alt};
}

} // namespace

BannerModel::BannerModel(FetchFunction fetch, QObject* parent) : QObject(parent), fetch_(std::move(fetch)) {}

BannerModel::~BannerModel() {
    requestStop(transfer_);
}

FetchFunction BannerModel::defaultFetch() {
    return [](QUrl address, qint64 limitBytes, std::stop_token stop) {
        return BannerNetwork::fetch(std::move(address), limitBytes, std::move(stop));
    };
}

QCoro::Task<void> BannerModel::load(AppLanguage language, std::stop_token stop) {
    const QPointer<BannerModel> self(this);
    const QUuid token = QUuid::createUuid();
    const auto isLatest = [self, token] { return self && self->generation_ == token; };
    const LinkedStop transfer(stop);

    generation_ = token;
    requestStop(std::exchange(transfer_, transfer.source()));
    if (isLatest()) {
        setCreative(std::nullopt);
    }
    // Those who wait for an older load or watch this object may have begun a newer one, or ended it.
    if (!isLatest()) {
        co_return;
    }

    std::optional<Creative> creative;
    try {
        creative = co_await download(fetch_, language, transfer.token());
    } catch (...) {
        // Whatever went wrong, there is no banner then, and nobody is told.
    }
    if (isLatest()) {
        setCreative(std::move(creative));
    }
}

void BannerModel::setCreative(std::optional<Creative> creative) {
    const bool changes = creative_ || creative;
    creative_ = std::move(creative);
    if (changes) {
        Q_EMIT creativeChanged();
    }
}

} // namespace ovrel
