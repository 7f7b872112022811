#include "model/app_language.h"

#include "model/english_text.h"
#include "platform/programming_fault.h"

namespace ovrel {

namespace {

QHash<QString, QString> makeEnglishText() {
    QHash<QString, QString> texts;
    texts.reserve(englishTextPairs.size());
    for (const TextPair& pair : englishTextPairs) {
        const QString key = pair.in(AppLanguage::russian);
        if (texts.contains(key)) {
            programmingFault("the table of English texts holds a key twice");
        }
        texts.insert(key, pair.in(AppLanguage::english));
    }
    return texts;
}

} // namespace

QString AppLanguage::rawValue() const {
    switch (case_) {
    case english: return QStringLiteral("en");
    case russian: break;
    }
    return QStringLiteral("ru");
}

std::optional<AppLanguage> AppLanguage::fromRawValue(const QString& text) {
    for (const AppLanguage language : allCases) {
        if (language.rawValue() == text) {
            return language;
        }
    }
    return std::nullopt;
}

AppLanguage AppLanguage::saved(const std::optional<QString>& stored) {
    return fromRawValue(stored.value_or(QString())).value_or(russian);
}

const QHash<QString, QString>& AppLanguage::englishText() {
    static const QHash<QString, QString> texts = makeEnglishText();
    return texts;
}

QString AppLanguage::text(const QString& key) const {
    return case_ == english ? englishText().value(key, key) : key;
}

QString AppLanguage::choose(const QString& russianText, const QString& englishText) const {
    return case_ == english ? englishText : russianText;
}

} // namespace ovrel
