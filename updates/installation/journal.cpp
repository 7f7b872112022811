#include "updates/installation/journal.h"

#include "updates/installation/read_file.h"
#include "updates/installation/tree_mark.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr std::string_view firstLine = "ovrel update journal 1";
constexpr std::size_t limitBytes = 4096;
constexpr unsigned limitStarts = 99;

constexpr std::array<std::pair<JournalState, std::string_view>, 5> stateNames = {{
    {JournalState::exchanging, "exchanging"},
    {JournalState::installed, "installed"},
    {JournalState::confirmed, "confirmed"},
    {JournalState::undoing, "undoing"},
    {JournalState::failed, "failed"},
}};

bool isHexadecimal(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

bool isPlainByte(char character) {
    return character > ' ' && character <= '~' && character != '%';
}

// A file name may hold line breaks.
std::string escaped(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (const char character : text) {
        if (isPlainByte(character)) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result += {'%', digits[byte / digits.size()], digits[byte % digits.size()]};
        }
    }
    return result;
}

std::optional<std::string> unescaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        if (isPlainByte(text.front())) {
            result += text.front();
            text.remove_prefix(1);
            continue;
        }
        if (text.size() < 3 || text[0] != '%' || !isHexadecimal(text[1]) || !isHexadecimal(text[2])) {
            return std::nullopt;
        }
        unsigned byte = 0;
        std::from_chars(text.data() + 1, text.data() + 3, byte, 16);
        result += static_cast<char>(byte);
        text.remove_prefix(3);
    }
    return result;
}

/// Takes the line `name value` off a text.
std::optional<std::string> takeValue(std::string_view& text, std::string_view name) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    if (!line.starts_with(name) || line.size() <= name.size() || line[name.size()] != ' ') {
        return std::nullopt;
    }
    return unescaped(line.substr(name.size() + 1));
}

std::optional<JournalState> stateNamed(const std::optional<std::string>& name) {
    for (const auto& [state, known] : stateNames) {
        if (name == known) {
            return state;
        }
    }
    return std::nullopt;
}

std::optional<unsigned> smallNumber(const std::string& text) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > limitStarts) {
        return std::nullopt;
    }
    return number;
}

bool isSound(const Journal& journal) {
    return isToken(journal.token) && isInstallableVersion(journal.version) && isPlainName(journal.staging) &&
           isPlainName(journal.top) && journal.startCount <= limitStarts;
}

} // namespace

bool isInstallableVersion(const std::string& version) {
    constexpr std::size_t limitBytes = 64;
    return isPlainName(version) && version.size() <= limitBytes;
}

std::string formatJournal(const Journal& journal) {
    const auto* const state = std::find_if(stateNames.begin(), stateNames.end(),
                                           [&](const auto& entry) { return entry.first == journal.state; });
    std::string text(firstLine);
    text += "\nstate " + std::string(state->second);
    text += "\ntoken " + escaped(journal.token);
    text += "\nversion " + escaped(journal.version);
    text += "\nstaging " + escaped(journal.staging);
    text += "\ntop " + escaped(journal.top);
    text += "\nstarts " + std::to_string(journal.startCount);
    text += "\nend\n";
    return text;
}

std::optional<Journal> parseJournal(std::string_view text) {
    const std::string_view whole = text;
    if (text.size() > limitBytes || !text.starts_with(firstLine)) {
        return std::nullopt;
    }
    text.remove_prefix(std::min(text.size(), firstLine.size() + 1));
    const std::optional<JournalState> state = stateNamed(takeValue(text, "state"));
    std::optional<std::string> token = takeValue(text, "token");
    std::optional<std::string> version = takeValue(text, "version");
    std::optional<std::string> staging = takeValue(text, "staging");
    std::optional<std::string> top = takeValue(text, "top");
    const std::optional<unsigned> starts = smallNumber(takeValue(text, "starts").value_or(""));
    if (!state || !token || !version || !staging || !top || !starts) {
        return std::nullopt;
    }
    Journal journal{.state = *state,
                    .token = std::move(*token),
                    .version = std::move(*version),
                    .staging = std::move(*staging),
                    .top = std::move(*top),
                    .startCount = *starts};
    // Writing it again settles every question of form at once, the last line that a cut would have taken included.
    if (!isSound(journal) || formatJournal(journal) != whole) {
        return std::nullopt;
    }
    return journal;
}

std::optional<Journal> readJournal(const InstallationPlace& place) {
    const FileDescriptor file(
        ::openat(place.parent(), place.journalName().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat facts = {};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_uid != ::geteuid()) {
        return std::nullopt;
    }
    const std::optional<std::string> text = readWhole(file.get(), limitBytes);
    return text ? parseJournal(*text) : std::nullopt;
}

void writeJournal(TreeCalls& calls, const InstallationPlace& place, const Journal& journal) {
    if (!isSound(journal)) {
        require(EINVAL, "an update with an impossible name");
    }
    const std::string next = place.journalName() + "-next";
    static_cast<void>(calls.remove(place.parent(), next)); // one that a power cut has left
    require(calls.create(place.parent(), next, formatJournal(journal)), "cannot write the journal");
    require(calls.replace(place.parent(), next, place.journalName()), "cannot place the journal");
    require(calls.sync(place.parent()), "cannot keep the journal");
}

void removeJournal(TreeCalls& calls, const InstallationPlace& place) {
    const int error = calls.remove(place.parent(), place.journalName());
    require(error == ENOENT ? 0 : error, "cannot remove the journal");
    require(calls.sync(place.parent()), "cannot keep the journal away");
}

} // namespace ovrel
