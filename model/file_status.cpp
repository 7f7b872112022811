#include "model/file_status.h"

namespace ovrel {

namespace {

/// Words a status; one function for each kind.
class Wording {
public:
    explicit Wording(AppLanguage language) : language_(language) {}

    QString operator()(const FileStatus::Processing& status) const {
        return status.copying ? choose(u"Копирование…", u"Copying…") : choose(u"Преобразование…", u"Converting…");
    }

    QString operator()(const FileStatus::Success& status) const {
        const QString detail = detailOf(status);
        const QString line = QStringLiteral("✓ ") + status.fileName;
        return detail.isEmpty() ? line : line + QStringLiteral(" · ") + detail;
    }

    QString operator()(const FileStatus::Failure& status) const {
        return choose(u"Ошибка: ", u"Error: ") + language_.describe(status.error);
    }

private:
    QString choose(QStringView russian, QStringView english) const {
        return language_.choose(russian.toString(), english.toString());
    }

    QString detailOf(const FileStatus::Success& status) const {
        if (status.copied) {
            return choose(u"скопирован", u"copied");
        }
        if (status.multiFrame) {
            return status.gif ? choose(u"анимация", u"animated") : choose(u"только первый кадр", u"first frame only");
        }
        return {};
    }

    AppLanguage language_;
};

} // namespace

QString FileStatus::text(AppLanguage language) const {
    return std::visit(Wording(language), state_);
}

} // namespace ovrel
