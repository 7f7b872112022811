#include "updates/framework/update_error.h"

#include <utility>

namespace ovrel {

QString UpdateError::frameworkDomain() {
    return QStringLiteral("SUSparkleErrorDomain");
}

UpdateError::UpdateError(QString domain, int code, QString russian, QString english)
    : domain_(std::move(domain)), code_(code), russian_(std::move(russian)), english_(std::move(english)) {}

UpdateError::UpdateError(SUError code, QString russian, QString english)
    : UpdateError(frameworkDomain(), static_cast<int>(code), std::move(russian), std::move(english)) {}

bool UpdateError::is(SUError code) const {
    return domain_ == frameworkDomain() && code_ == static_cast<int>(code);
}

QString UpdateError::localizedDescription(AppLanguage language) const {
    return language.choose(russian_, english_);
}

UpdateError UpdateError::withUnderlying(UpdateError cause) const {
    UpdateError error = *this;
    error.underlying_ = std::make_shared<const UpdateError>(std::move(cause));
    return error;
}

UpdateError UpdateError::withReason(SPUNoUpdateFoundReason reason) const {
    UpdateError error = *this;
    error.reason_ = reason;
    return error;
}

} // namespace ovrel
