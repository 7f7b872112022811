#include "tests/ui/announcements.h"

#include "ui/announcement.h"

#include <QString>

#include <utility>

namespace ovrel {

namespace {

std::vector<std::string>& said() {
    static std::vector<std::string> texts;
    return texts;
}

} // namespace

// The program links this one instead of that of the window, whose words reach nobody without a screen reader.
void announce(QWidget& /*widget*/, const QString& text) {
    said().push_back(text.toStdString());
}

} // namespace ovrel

namespace ovrel::test {

std::vector<std::string> takeAnnouncements() {
    return std::exchange(said(), {});
}

} // namespace ovrel::test
