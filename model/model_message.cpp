// The status line.

#include "model/checked_counter.h"
#include "model/model.h"
#include "model/path_text.h"

namespace ovrel {

namespace {

/// The image in hand.
QString activity(AppLanguage language, const InputItem& item, qint64 number, qint64 items) {
    const QString verb = item.isAVIF() ? language.choose(QStringLiteral("Копирую"), QStringLiteral("Copying"))
                                       : language.choose(QStringLiteral("Преобразую"), QStringLiteral("Converting"));
    const QString of = language.choose(QStringLiteral(" из "), QStringLiteral(" of "));
    return verb + QLatin1Char(' ') + QString::number(number) + of + QString::number(items) + QStringLiteral(": ") +
           textOf(item.url.filename());
}

QString summary(AppLanguage language, qint64 successes, qint64 failures) {
    return QStringLiteral(": ") + QString::number(successes) +
           language.choose(QStringLiteral(" успешно, "), QStringLiteral(" successful, ")) + QString::number(failures) +
           language.choose(QStringLiteral(" с ошибками"), QStringLiteral(" failed"));
}

QString remaining(AppLanguage language, qint64 items) {
    return QStringLiteral(", ") + QString::number(items) +
           language.choose(QStringLiteral(" осталось"), QStringLiteral(" remaining"));
}

} // namespace

QString Model::message() const {
    if (busy_ && activeItem_) {
        return activity(language_, *activeItem_, incremented(completed_), items_.size());
    }
    if (!finished_) {
        return messageKey_ == QStringLiteral("queue")
                   ? language_.choose(QStringLiteral("В очереди: "), QStringLiteral("Files queued: ")) +
                         QString::number(items_.size())
                   : t(messageKey_);
    }
    const QString counts = summary(language_, successes_, failures_);
    if (!cancelled_) {
        return language_.choose(QStringLiteral("Готово"), QStringLiteral("Done")) + counts;
    }
    return language_.choose(QStringLiteral("Остановлено"), QStringLiteral("Stopped")) + counts +
           remaining(language_, difference(items_.size(), completed_));
}

} // namespace ovrel
