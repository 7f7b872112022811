#include "updates/engine/entry_policy.h"

#include "updates/framework/update_error.h"

#include <QStringDecoder>

#include <algorithm>
#include <optional>
#include <string_view>

namespace ovrel {

namespace {

[[noreturn]] void refuse(const QString& russian, const QString& english) {
    throw UpdateError(SUError::validation, QStringLiteral("Архив обновления отклонён: %1.").arg(russian),
                      QStringLiteral("The update's archive is refused: %1.").arg(english));
}

[[noreturn]] void refuseName() {
    refuse(QStringLiteral("в нём есть недопустимое имя файла"),
           QStringLiteral("it holds a file name that is not allowed"));
}

[[noreturn]] void refuseLink() {
    refuse(QStringLiteral("в нём есть ссылка за пределы папки программы"),
           QStringLiteral("it holds a link that leads out of the program's folder"));
}

[[noreturn]] void refuseSize() {
    refuse(QStringLiteral("он слишком велик"), QStringLiteral("it is too large"));
}

bool isUnwanted(QChar character) {
    const QChar::Category category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
}

QString decoded(std::string_view text) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString result = decoder.decode(QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
    if (decoder.hasError() || std::any_of(result.cbegin(), result.cend(), isUnwanted)) {
        refuseName();
    }
    return result;
}

std::vector<std::string> split(std::string_view path) {
    std::vector<std::string> components;
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        components.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    return components;
}

std::string join(const std::vector<std::string>& components) {
    std::string path;
    for (const std::string& component : components) {
        path += path.empty() ? component : '/' + component;
    }
    return path;
}

bool isName(const std::string& component, const ArchiveLimits& limits) {
    return !component.empty() && component != "." && component != ".." && component.size() <= limits.nameBytes;
}

std::vector<std::string> pathOf(const ArchiveEntry& entry, const ArchiveLimits& limits) {
    std::string_view path = entry.path;
    if (path.size() > limits.pathBytes) {
        refuseName();
    }
    if (entry.kind == EntryKind::directory && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    std::vector<std::string> components = split(path);
    const bool named = std::all_of(components.begin(), components.end(),
                                   [&](const std::string& component) { return isName(component, limits); });
    if (!named || components.size() > limits.depth) {
        refuseName();
    }
    return components;
}

/// File systems that ignore case fold it, some also compose letters; folding may decompose again.
QString comparable(const std::vector<std::string>& components) {
    return decoded(join(components))
        .normalized(QString::NormalizationForm_C)
        .toCaseFolded()
        .normalized(QString::NormalizationForm_C);
}

/// Steps up come first and stop at the top folder: the folders above a link are no links, so each step leads where it
/// seems to. After a name there is no step up, since the name may be another link's.
void requireInside(const std::string& target, std::size_t foldersAbove, const ArchiveLimits& limits) {
    if (target.size() > limits.pathBytes) {
        refuseLink();
    }
    decoded(target);
    const std::vector<std::string> components = split(target);
    const auto firstName =
        std::find_if(components.begin(), components.end(), [](const std::string& one) { return one != ".."; });
    const auto stepsUp = static_cast<std::size_t>(firstName - components.begin());
    const bool named =
        std::all_of(firstName, components.end(), [&](const std::string& one) { return isName(one, limits); });
    if (!named || firstName == components.end() || stepsUp >= foldersAbove) {
        refuseLink();
    }
}

std::uint64_t unpackedLimit(std::uint64_t archiveBytes, const ArchiveLimits& limits) {
    const std::uint64_t byRatio = archiveBytes > limits.totalBytes / limits.ratio
                                      ? limits.totalBytes
                                      : limits.ratioFreeBytes + archiveBytes * limits.ratio;
    return std::min(limits.totalBytes, byRatio);
}

} // namespace

EntryPolicy::EntryPolicy(std::uint64_t archiveBytes, const ArchiveLimits& limits)
    : limits_(limits), bytesLeft_(unpackedLimit(archiveBytes, limits)), entriesLeft_(limits.entries) {}

AcceptedEntry EntryPolicy::accept(const ArchiveEntry& entry) {
    count(entry);
    if (entry.kind == EntryKind::other) {
        refuse(QStringLiteral("в нём есть не только файлы и папки"),
               QStringLiteral("it holds more than files and folders"));
    }
    const std::vector<std::string> components = pathOf(entry, limits_);
    AcceptedEntry accepted;
    accepted.folders.assign(components.begin(), components.end() - 1);
    requireFolder(accepted.folders);
    if (accepted.folders.empty() && (entry.kind != EntryKind::directory || !folders_.empty())) {
        refuse(QStringLiteral("в нём не одна папка программы"),
               QStringLiteral("it does not hold one program's folder"));
    }
    accepted.name = components.back();
    accepted.kind = entry.kind;
    if (entry.kind == EntryKind::symbolicLink) {
        requireInside(entry.linkTarget, accepted.folders.size(), limits_);
        accepted.linkTarget = entry.linkTarget;
    } else if (entry.kind == EntryKind::file) {
        accepted.sizeBytes = entry.sizeBytes;
        accepted.executable = entry.executable;
    }
    remember(components, entry.kind);
    return accepted;
}

void EntryPolicy::count(const ArchiveEntry& entry) {
    if (entriesLeft_ == 0) {
        refuse(QStringLiteral("в нём слишком много файлов"), QStringLiteral("it holds too many files"));
    }
    --entriesLeft_;
    if (entry.sizeBytes > std::min(limits_.fileBytes, bytesLeft_)) {
        refuseSize();
    }
    bytesLeft_ -= entry.sizeBytes;
}

void EntryPolicy::requireFolder(const std::vector<std::string>& folders) const {
    if (folders.empty()) {
        return;
    }
    const auto found = known_.constFind(comparable(folders));
    if (found == known_.cend() || found->kind != EntryKind::directory || found->path != join(folders)) {
        refuse(QStringLiteral("в нём есть файл вне его папок"), QStringLiteral("it holds a file outside its folders"));
    }
}

void EntryPolicy::remember(const std::vector<std::string>& components, EntryKind kind) {
    const QString key = comparable(components);
    if (known_.contains(key)) {
        refuse(QStringLiteral("в нём есть два файла с одним именем"),
               QStringLiteral("it holds two files of the same name"));
    }
    known_.insert(key, {join(components), kind});
    if (kind == EntryKind::directory) {
        folders_.push_back(components);
    }
}

const std::string& EntryPolicy::topFolder() const {
    if (folders_.empty()) {
        refuse(QStringLiteral("он пуст"), QStringLiteral("it is empty"));
    }
    return folders_.front().front();
}

} // namespace ovrel
