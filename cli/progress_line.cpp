#include "cli/progress_line.h"

#include "cli/display_text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace ovrel::cli {

namespace {

/// Speed and time left, once there is something to judge by.
std::string pace(const BatchProgress& progress, AppLanguage language) {
    const double seconds = std::chrono::duration<double>(progress.elapsed).count();
    if (progress.worked == 0 || seconds <= 0) {
        return {};
    }
    const double imagesPerSecond = static_cast<double>(progress.worked) / seconds;
    const double secondsLeft = static_cast<double>(progress.work - progress.worked) / imagesPerSecond;
    return " · " + speedText(imagesPerSecond, language) + " · " +
           timeLeftText(static_cast<std::uint64_t>(std::llround(secondsLeft)), language);
}

} // namespace

std::string progressLine(const BatchProgress& progress, AppLanguage language, std::size_t columns) {
    // Fewer columns than this show nothing of a name that would tell it from others.
    constexpr std::size_t shortestName = 8;

    std::string head = progress.stopping ? stoppingText(language) + " " : std::string();
    head += activityText(progress.current->action == Step::Action::copy,
                         std::min(progress.completed + 1, progress.steps), progress.steps, language);
    const std::string name = displayable(progress.current->item.url.filename().native());
    const std::string tail = pace(progress, language);

    const std::size_t aroundName = columnsOf(head) + columnsOf(tail);
    if (aroundName + shortestName > columns) {
        return cut(head + name + tail, columns);
    }
    return head + cut(name, columns - aroundName) + tail;
}

} // namespace ovrel::cli
