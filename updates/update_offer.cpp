#include "updates/update_offer.h"

#include "remote/banner_redirect_policy.h"
#include "updates/update_texts.h"

#include <QStringList>

namespace ovrel {

bool canBeOffered(const SUAppcastItem& item) {
    return !item.isInformationOnlyUpdate && item.fileURL && BannerRedirectPolicy::allowed(*item.fileURL) &&
           (item.fileAddress.isEmpty() || BannerRedirectPolicy::allowed(item.fileAddress));
}

QString releaseNotes(const QString& description, AppLanguage language) {
    const QStringList parts = description.split(QStringLiteral("\n---en---\n"));
    return language == AppLanguage::english && parts.size() == 2 ? parts.last() : parts.first();
}

QString offerHeading(const SUAppcastItem& item, AppLanguage language) {
    return update_texts::offer.in(language) + item.displayVersionString;
}

QString offerDetail(const SUAppcastItem& item, AppLanguage language) {
    const QString notes = releaseNotes(item.itemDescription.value_or(QString()), language);
    const QString consequences = update_texts::offerDetail.in(language);
    return notes.isEmpty() ? consequences : notes + QStringLiteral("\n\n") + consequences;
}

} // namespace ovrel
