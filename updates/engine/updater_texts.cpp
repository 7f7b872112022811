#include "updates/engine/updater_texts.h"

namespace ovrel {

namespace {

UpdateError error(SUError code, const char16_t* russian, const char16_t* english) {
    return {code, QString::fromUtf16(russian), QString::fromUtf16(english)};
}

} // namespace

UpdateError noFeedError() {
    return error(SUError::invalidFeedURL, u"Адрес обновлений неизвестен.", u"The address of updates is not known.");
}

UpdateError insecureFeedError() {
    return error(SUError::invalidFeedURL, u"Адрес обновлений не защищён.", u"The address of updates is not secure.");
}

UpdateError feedDownloadError() {
    return error(SUError::download, u"Не удалось получить сведения об обновлениях.",
                 u"Could not get information about updates.");
}

UpdateError archiveDownloadError() {
    return error(SUError::download, u"Не удалось загрузить обновление.", u"The update could not be downloaded.");
}

UpdateError wrongArchiveLengthError() {
    return error(SUError::download, u"Обновление загрузилось не полностью или не то.",
                 u"The downloaded update is incomplete or a different one.");
}

UpdateError managedInstallationError(const QString& owner) {
    if (owner.isEmpty()) {
        return error(SUError::noWritePermission, u"Эту копию Ovrel обновляет система, через которую она установлена.",
                     u"This copy of Ovrel is updated by the system that installed it.");
    }
    return {SUError::noWritePermission, QStringLiteral("Эту копию Ovrel обновляет система: %1.").arg(owner),
            QStringLiteral("This copy of Ovrel is updated by the system: %1.").arg(owner)};
}

UpdateError unwritableInstallationError() {
    return error(SUError::runningFromReadOnly,
                 u"Папку с программой нельзя изменить. Перенесите её туда, где файлы принадлежат вам.",
                 u"The program's folder cannot be changed. Move it to a place where files belong to you.");
}

UpdateError otherUpdateError() {
    return error(SUError::temporaryDirectory, u"Эту копию Ovrel уже обновляет другое окно.",
                 u"This copy of Ovrel is already being updated by another window.");
}

UpdateError othersRunError() {
    return error(SUError::installation,
                 u"Ovrel открыта ещё в одном окне, или работает ovrel-cli. Закройте их и повторите попытку; иначе "
                 u"обновление установится, когда все они завершатся.",
                 u"Ovrel is open in another window, or ovrel-cli is at work. Close them and try again; otherwise the "
                 u"update is installed once all of them have ended.");
}

UpdateError unfinishedUpdateError() {
    return error(SUError::installation,
                 u"Прошлое обновление Ovrel не удалось завершить. Закройте все её окна и откройте её снова.",
                 u"An earlier update of Ovrel could not be finished. Close all its windows and open it again.");
}

UpdateError unexpectedError() {
    return error(SUError::installation, u"Обновление прервалось из-за нехватки ресурсов компьютера.",
                 u"The update was interrupted because the computer ran short of resources.");
}

UpdateError installerGoneError() {
    return error(SUError::installation, u"Программа установки обновления не запустилась или завершилась.",
                 u"The program that installs the update did not start or has ended.");
}

} // namespace ovrel
