#include "conversion/conversion_error.h"
#include "model/app_language.h"
#include "platform/file_error.h"

#include <new>
#include <string>
#include <string_view>
#include <system_error>

namespace ovrel {

namespace {

/// An error as the platform names it.
struct DomainAndCode {
    QString domain;
    int code = 0;
};

QString fromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString describeFileError(AppLanguage language, int code) {
    switch (code) {
    case FileError::noSuchFile:
    case FileError::readNoSuchFile:
        return language.choose(QStringLiteral("Файл или папка больше не существует."),
                               QStringLiteral("The file or folder no longer exists."));
    case FileError::readNoPermission:
    case FileError::writeNoPermission:
        return language.choose(QStringLiteral("Нет доступа к файлу или папке. Проверьте разрешения."),
                               QStringLiteral("Access to the file or folder was denied. Check its permissions."));
    case FileError::writeOutOfSpace:
        return language.choose(QStringLiteral("Недостаточно свободного места на диске."),
                               QStringLiteral("There is not enough free disk space."));
    default: return {};
    }
}

QString describeByCode(AppLanguage language, const DomainAndCode& error) {
    const QString head = language.choose(QStringLiteral("Не удалось выполнить операцию с файлом"),
                                         QStringLiteral("The file operation could not be completed"));
    return head + QStringLiteral(" (") + error.domain + QStringLiteral(", ") + QString::number(error.code) +
           QStringLiteral(").");
}

} // namespace

QString AppLanguage::describe(const std::exception_ptr& error) const {
    try {
        std::rethrow_exception(error);
    } catch (const ConversionError& failure) {
        return choose(fromUtf8(failure.message()), fromUtf8(failure.english));
    } catch (const FileError& failure) {
        const QString sentence = describeFileError(*this, failure.code());
        return sentence.isEmpty() ? describeByCode(*this, {fromUtf8(failure.domain()), failure.code()}) : sentence;
    } catch (const std::bad_alloc&) {
        // Memory can also run out where no conversion is going on.
        return choose(QStringLiteral("Недостаточно памяти для изображения"),
                      QStringLiteral("Not enough memory to process the image"));
    } catch (const std::system_error& failure) {
        return describeByCode(*this, {QString::fromUtf8(failure.code().category().name()), failure.code().value()});
    } catch (...) {
        return describeByCode(*this, {QStringLiteral("std::exception"), 0});
    }
}

} // namespace ovrel
