#include "fuzz/require.h"
#include "updates/engine/appcast.h"
#include "updates/engine/item_choice.h"
#include "updates/engine/version_comparator.h"
#include "updates/framework/update_error.h"

#include <compare>
#include <cstdint>

namespace {

using namespace ovrel;
using fuzz::require;

bool isWeb(const QUrl& url) {
    const bool isWebScheme = url.scheme() == QLatin1StringView("https") || url.scheme() == QLatin1StringView("http");
    return url.isValid() && isWebScheme && !url.host().isEmpty();
}

void examineItem(const SUAppcastItem& item) {
    require(!item.versionString.isEmpty() && !item.displayVersionString.isEmpty());
    require(item.fileURL || item.infoURL);
    require(!item.fileURL || isWeb(*item.fileURL));
    require(!item.infoURL || isWeb(*item.infoURL));
    require(item.isInformationOnlyUpdate ? item.infoURL.has_value() : item.fileURL.has_value());
}

/// Whichever side a version stands on, the order is the same.
void examineOrder(const QString& left, const QString& right) {
    require(std::is_eq(compareVersions(left, left)));
    require(std::is_lt(compareVersions(left, right)) == std::is_gt(compareVersions(right, left)));
    require(std::is_eq(compareVersions(left, right)) == std::is_eq(compareVersions(right, left)));
}

void examineChoice(const Appcast& appcast, const QString& host) {
    ItemConditions conditions;
    conditions.hostVersion = host;
    conditions.machine = {QStringLiteral("x86_64"), QStringLiteral("2.36")};
    const ItemChoice inBackground = chooseItem(appcast, conditions);
    if (const SPUNoUpdateFoundReason* reason = std::get_if<SPUNoUpdateFoundReason>(&inBackground)) {
        require(noUpdateError(*reason).is(SUError::noUpdate));
        return;
    }
    const AppcastItem* offered = std::get_if<AppcastItem>(&inBackground);
    const QString version = offered->item.versionString;
    require(std::is_gt(compareVersions(version, host)));
    require(offered->channel.isEmpty());
    // Nothing that is not newer is offered once this one has been skipped.
    conditions.skippedVersion = version;
    const ItemChoice afterwards = chooseItem(appcast, conditions);
    const AppcastItem* next = std::get_if<AppcastItem>(&afterwards);
    require(!next || std::is_gt(compareVersions(next->item.versionString, version)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const QByteArray file(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(count));
    const QString host = QStringLiteral("2.3");
    for (const AppLanguage language : AppLanguage::allCases) {
        try {
            const Appcast appcast =
                readAppcast(file, QUrl(QStringLiteral("https://ovrel.example/app/appcast.xml")), {host, language});
            for (const AppcastItem& item : appcast) {
                examineItem(item.item);
                examineOrder(item.item.versionString, host);
                examineOrder(item.item.versionString, appcast.front().item.versionString);
            }
            examineChoice(appcast, host);
        } catch (const UpdateError& error) {
            require(error.is(SUError::appcastParse));
        }
    }
    return 0;
}
