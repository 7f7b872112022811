#include "remote/transport_error.h"

#include <QMetaEnum>

#include <string>

namespace ovrel {

namespace {

class Category final : public std::error_category {
public:
    const char* name() const noexcept override { return "QNetworkReply"; }
    std::string message(int error) const override {
        const char* const key = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error);
        return key == nullptr ? "error " + std::to_string(error) : key;
    }
};

const std::error_category& category() {
    static const Category instance;
    return instance;
}

} // namespace

TransportError::TransportError(QNetworkReply::NetworkError error) : std::system_error(error, category()) {}

} // namespace ovrel
