#include "cli/report.h"

#include "cli/display_text.h"
#include "cli/progress_line.h"
#include "model/path_text.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <cstdint>
#include <string_view>
#include <utility>

namespace ovrel::cli {

namespace {

// ECMA-48, 8.3.41: erase to the end of the line
constexpr std::string_view beginningOfEmptyLine = "\r\x1b[K";

// Files that are copied may pass by faster than a terminal can draw.
constexpr std::chrono::milliseconds shortestTimeBetweenDrawings{50};

QString statusName(Outcome::Status status) {
    switch (status) {
    case Outcome::Status::converted: return QStringLiteral("converted");
    case Outcome::Status::copied: return QStringLiteral("copied");
    case Outcome::Status::skipped: return QStringLiteral("skipped");
    case Outcome::Status::wouldConvert: return QStringLiteral("would-convert");
    case Outcome::Status::wouldCopy: return QStringLiteral("would-copy");
    case Outcome::Status::failed: break;
    }
    return QStringLiteral("failed");
}

std::string outcomeText(const Step& step, const Outcome& outcome, AppLanguage language) {
    switch (outcome.status) {
    case Outcome::Status::converted:
    case Outcome::Status::copied:
        return successText(outcome.result, outcome.status == Outcome::Status::copied, outcome.multiImage,
                           step.item.isGIF(), language);
    case Outcome::Status::skipped: return skippedText(outcome.result, language);
    case Outcome::Status::wouldConvert: return plannedText(outcome.result, false, language);
    case Outcome::Status::wouldCopy: return plannedText(outcome.result, true, language);
    case Outcome::Status::failed: break;
    }
    return failureText(outcome.error, language);
}

QJsonValue number(const std::optional<std::uint64_t>& value) {
    return value ? QJsonValue(static_cast<qint64>(*value)) : QJsonValue();
}

/// A name that is not UTF-8 cannot be said in JSON; its bytes are added, so that the file can still be found.
void insertPath(QJsonObject& object, const QString& key, const std::filesystem::path& path) {
    if (path.empty()) {
        object.insert(key, QJsonValue());
        return;
    }
    const std::string& bytes = path.native();
    const QString shown = textOf(path);
    object.insert(key, shown);
    if (shown.toStdString() != bytes) {
        const QByteArray raw = QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
        object.insert(key + QStringLiteral("Base64"), QString::fromLatin1(raw.toBase64()));
    }
}

/// Qt leaves the controls beyond ASCII as they are, which a terminal obeys. They occur inside strings only.
QByteArray withoutControls(const QByteArray& json) {
    QString escaped;
    for (const QChar character : QString::fromUtf8(json)) {
        if (isControl(character.unicode())) {
            escaped += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            escaped += character;
        }
    }
    return escaped.toUtf8();
}

} // namespace

std::string itemLine(const Step& step, const Outcome& outcome, AppLanguage language) {
    return displayable(step.item.url.native() + ": " + outcomeText(step, outcome, language));
}

QByteArray itemObject(const Step& step, const Outcome& outcome, AppLanguage language) {
    QJsonObject object;
    insertPath(object, QStringLiteral("source"), step.item.url);
    insertPath(object, QStringLiteral("result"), outcome.result);
    object.insert(QStringLiteral("status"), statusName(outcome.status));
    object.insert(QStringLiteral("error"), outcome.error ? QJsonValue(language.describe(outcome.error)) : QJsonValue());
    object.insert(QStringLiteral("multiImage"), outcome.multiImage);
    object.insert(QStringLiteral("sourceBytes"), number(outcome.sourceBytes));
    object.insert(QStringLiteral("resultBytes"), number(outcome.resultBytes));
    object.insert(QStringLiteral("milliseconds"), static_cast<qint64>(outcome.duration.count()));
    return withoutControls(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

Report::Report(const ReportSettings& settings, Output& out, Output& err, std::function<std::size_t()> columns)
    : settings_(settings), out_(out), err_(err), columns_(std::move(columns)) {}

void Report::progressed(const BatchProgress& progress) {
    if (!settings_.progressLine || (lastDrawn_ && progress.elapsed - *lastDrawn_ < shortestTimeBetweenDrawings)) {
        return;
    }
    // A terminal may break the line when its last column is used.
    const std::size_t columns = columns_();
    err_.write(std::string(beginningOfEmptyLine) +
               progressLine(progress, settings_.language, columns > 0 ? columns - 1 : 0));
    lastDrawn_ = progress.elapsed;
}

bool Report::completed(const Step& step, const Outcome& outcome) {
    if (settings_.json) {
        clearProgressLine();
        return out_.write((itemObject(step, outcome, settings_.language) + '\n').toStdString());
    }
    const bool failed = outcome.status == Outcome::Status::failed;
    const bool isPartOnly = outcome.multiImage && !step.item.isGIF();
    if (!failed && (settings_.quiet || (settings_.failuresOnly && !isPartOnly))) {
        return true;
    }
    clearProgressLine();
    const std::string line = itemLine(step, outcome, settings_.language) + "\n";
    if (settings_.quiet) {
        err_.write(line);
        return true;
    }
    return out_.write(line);
}

bool Report::summarise(const Totals& totals) {
    clearProgressLine();
    if (settings_.quiet) {
        return true;
    }
    const std::string line =
        settings_.dryRun ? plannedSummary(totals, settings_.language) : summary(totals, settings_.language);
    if (settings_.json) {
        err_.write(line + "\n");
        return true;
    }
    return out_.write(line + "\n");
}

void Report::clearProgressLine() {
    if (lastDrawn_) {
        err_.write(beginningOfEmptyLine);
        lastDrawn_.reset();
    }
}

} // namespace ovrel::cli
