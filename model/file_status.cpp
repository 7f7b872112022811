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

    QString operator()(const FileStatus::Success& status) const { return successText(language_, status); }

    QString operator()(const FileStatus::Failure& status) const { return failureText(language_, status.error); }

private:
    QString choose(QStringView russian, QStringView english) const {
        return language_.choose(russian.toString(), english.toString());
    }

    AppLanguage language_;
};

} // namespace

QString FileStatus::text(AppLanguage language) const {
    return std::visit(Wording(language), state_);
}

} // namespace ovrel
