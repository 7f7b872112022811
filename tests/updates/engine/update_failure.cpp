#include "tests/updates/engine/update_failure.h"

namespace ovrel::test {

namespace {

bool isWordedWell(const UpdateError& error) {
    const QString russian = error.localizedDescription(AppLanguage::russian);
    const QString english = error.localizedDescription(AppLanguage::english);
    return russian.endsWith(u'.') && english.endsWith(u'.') && russian != english && !english.contains(u"%1") &&
           (error.underlying() == nullptr || isWordedWell(*error.underlying()));
}

std::string numbersOf(const UpdateError& error) {
    const std::string number = std::to_string(error.code());
    return error.underlying() == nullptr ? number : number + " over " + numbersOf(*error.underlying());
}

} // namespace

std::string failureOf(const std::function<void()>& step) {
    try {
        step();
        return "";
    } catch (const UpdateError& error) {
        return isWordedWell(error) ? numbersOf(error) : "worded badly";
    }
}

} // namespace ovrel::test
