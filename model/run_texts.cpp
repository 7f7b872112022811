#include "model/run_texts.h"

namespace ovrel {

namespace {

QString detailOf(AppLanguage language, const WrittenImage& image) {
    if (image.copied) {
        return language.choose(QStringLiteral("скопирован"), QStringLiteral("copied"));
    }
    if (!image.multiFrame) {
        return {};
    }
    return image.gif ? language.choose(QStringLiteral("анимация"), QStringLiteral("animated"))
                     : language.choose(QStringLiteral("только первый кадр"), QStringLiteral("first frame only"));
}

} // namespace

QString successText(AppLanguage language, const WrittenImage& image) {
    const QString detail = detailOf(language, image);
    const QString line = QStringLiteral("✓ ") + image.fileName;
    return detail.isEmpty() ? line : line + QStringLiteral(" · ") + detail;
}

QString failureText(AppLanguage language, const std::exception_ptr& error) {
    return language.choose(QStringLiteral("Ошибка: "), QStringLiteral("Error: ")) + language.describe(error);
}

QString activityText(AppLanguage language, bool copying, qint64 number, qint64 images) {
    const QString verb = copying ? language.choose(QStringLiteral("Копирую "), QStringLiteral("Copying "))
                                 : language.choose(QStringLiteral("Преобразую "), QStringLiteral("Converting "));
    return verb + QString::number(number) + language.choose(QStringLiteral(" из "), QStringLiteral(" of ")) +
           QString::number(images) + QStringLiteral(": ");
}

QString summaryText(AppLanguage language, bool stopped, qint64 successes, qint64 failures) {
    const QString head = stopped ? language.choose(QStringLiteral("Остановлено: "), QStringLiteral("Stopped: "))
                                 : language.choose(QStringLiteral("Готово: "), QStringLiteral("Done: "));
    return head + QString::number(successes) +
           language.choose(QStringLiteral(" успешно, "), QStringLiteral(" successful, ")) +
           failuresText(language, failures);
}

QString failuresText(AppLanguage language, qint64 failures) {
    return QString::number(failures) + language.choose(QStringLiteral(" с ошибками"), QStringLiteral(" failed"));
}

QString remainingText(AppLanguage language, qint64 images) {
    return QString::number(images) + language.choose(QStringLiteral(" осталось"), QStringLiteral(" remaining"));
}

} // namespace ovrel
