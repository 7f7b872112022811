#include "updates/engine/installation_error.h"

#include <utility>

namespace ovrel {

UpdateError installationError(UpdateError cause) {
    return UpdateError(SUError::installation,
                       QStringLiteral("Не удалось установить обновление. Прежняя версия не изменилась."),
                       QStringLiteral("The update could not be installed. The version that you have is unchanged."))
        .withUnderlying(std::move(cause));
}

} // namespace ovrel
