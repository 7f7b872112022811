#include "desktop/single_instance.h"

#include "desktop/bus_call.h"
#include "desktop/local_file.h"
#include "model/path_text.h"

#include <QDBusAbstractAdaptor>
#include <QDBusError>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QMetaObject>
#include <QStringList>
#include <QSysInfo>
#include <QUrl>
#include <QVariantMap>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <optional>
#include <system_error>
#include <utility>

namespace ovrel {

namespace {

namespace fs = std::filesystem;

constexpr int busPatienceMilliseconds = 500;
constexpr int answerMilliseconds = 250; // that an answer is on its way at most
constexpr qsizetype tokenLimit = 4096;  // characters; real ones have below a hundred

// Desktop Entry Specification 1.5, section "D-Bus Activation"
const char* const applicationInterface = "org.freedesktop.Application";

QString tokenKey() {
    return QStringLiteral("activation-token");
}
QString formerTokenKey() {
    return QStringLiteral("desktop-startup-id");
}

QString tokenIn(const QVariantMap& platformData) {
    for (const QString& key : {tokenKey(), formerTokenKey()}) {
        const QVariant value = platformData.value(key);
        QString token = value.userType() == QMetaType::QString ? value.toString() : QString();
        if (!token.isEmpty() && token.size() <= tokenLimit) {
            return token;
        }
    }
    return {};
}

QVariantMap platformDataOf(const QString& token) {
    return token.isEmpty() ? QVariantMap() : QVariantMap{{tokenKey(), token}, {formerTokenKey(), token}};
}

/// Until when whoever asks waits for the answer. Others than this program need not say.
QString deadlineKey() {
    return QStringLiteral("x-ovrel-deadline");
}

/// Milliseconds of a clock that all programs of a computer share.
qint64 now() {
    using std::chrono::steady_clock;
    return std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool isTooLate(const QVariantMap& platformData) {
    const QVariant deadline = platformData.value(deadlineKey());
    return deadline.userType() == QMetaType::LongLong && deadline.toLongLong() <= now();
}

SingleInstance::Files localFiles(const QStringList& uris) {
    SingleInstance::Files files;
    for (const QString& uri : uris) {
        if (std::optional<fs::path> file = localFile(QUrl(uri))) {
            files.push_back(std::move(*file));
        }
    }
    return files;
}

bool isTooMuch(const QStringList& uris) {
    return uris.size() > SingleInstance::filesLimit ||
           std::accumulate(uris.begin(), uris.end(), qsizetype{0}, [](qsizetype sum, const QString& uri) {
               return sum + uri.toUtf8().size();
           }) > SingleInstance::bytesLimit;
}

/// The addresses of files, in as few requests as the limits allow.
QList<QStringList> requestsFor(const SingleInstance::Files& files) {
    QList<QStringList> requests;
    qsizetype bytes = 0;
    for (const fs::path& file : files) {
        std::error_code error;
        const fs::path absolute = fs::absolute(file, error);
        const QByteArray uri = urlOf(error ? file : absolute).toEncoded();
        bytes += uri.size();
        if (requests.isEmpty() || requests.constLast().size() == SingleInstance::filesLimit ||
            bytes > SingleInstance::bytesLimit) {
            requests.append(QStringList());
            bytes = uri.size();
        }
        requests.last().append(QString::fromLatin1(uri));
    }
    return requests;
}

QDBusMessage callOfBus(const QString& method, const QVariantList& arguments) {
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    return busCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus, method, arguments);
}

/// What others see on the bus. The names of its slots are those of the interface. What is asked for is done later, and
/// answered right before it is, so that nothing is lost that was answered.
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationAdaptor(SingleInstance* instance, QDBusConnection bus)
        : QDBusAbstractAdaptor(instance), instance_(instance), bus_(std::move(bus)) {}

public Q_SLOTS:
    void Activate(const QVariantMap& platformData, const QDBusMessage& call) { open({}, platformData, call); }

    void Open(const QStringList& uris, const QVariantMap& platformData, const QDBusMessage& call) {
        if (isTooMuch(uris)) {
            refuse(call, QDBusError::LimitsExceeded, QStringLiteral("Too many files at once"));
        } else {
            open(localFiles(uris), platformData, call);
        }
    }

    /// There is no action but the window.
    void ActivateAction(const QString& /*action*/, const QVariantList& /*parameter*/, const QVariantMap& platformData,
                        const QDBusMessage& call) {
        open({}, platformData, call);
    }

private:
    void refuse(const QDBusMessage& call, QDBusError::ErrorType error, const QString& text) {
        call.setDelayedReply(true);
        bus_.send(call.createErrorReply(error, text));
    }

    void open(SingleInstance::Files files, const QVariantMap& platformData, const QDBusMessage& call) {
        call.setDelayedReply(true);
        QMetaObject::invokeMethod(
            this,
            [this, files = std::move(files), platformData, call] {
                // Judged only now: whatever was done since the request came has taken its time.
                if (instance_->hasResigned()) {
                    refuse(call, QDBusError::Failed, QStringLiteral("The program is about to end"));
                    return;
                }
                if (isTooLate(platformData)) { // whoever asked opens the files without this program by now
                    refuse(call, QDBusError::TimedOut, QStringLiteral("Nobody waits any longer"));
                    return;
                }
                bus_.send(call.createReply());
                const QString token = tokenIn(platformData);
                if (files.empty()) {
                    Q_EMIT instance_->activated(token);
                } else {
                    Q_EMIT instance_->filesOpened(files, token);
                }
            },
            Qt::QueuedConnection);
    }

    SingleInstance* instance_;
    QDBusConnection bus_;
};

} // namespace

QString startToken() {
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

SingleInstance::SingleInstance(QString applicationId, QDBusConnection bus, QObject* parent)
    : QObject(parent), applicationId_(std::move(applicationId)), bus_(std::move(bus)) {
    new ApplicationAdaptor(this, bus_);
}

SingleInstance::~SingleInstance() {
    resign();
}

void SingleInstance::resign() {
    hasResigned_ = true;
    if (std::exchange(isFirst_, false)) {
        bus_.unregisterObject(path());
        bus_.send(callOfBus(QStringLiteral("ReleaseName"), {applicationId_}));
    }
}

bool SingleInstance::becomeFirst() {
    if (isFirst_) {
        return true;
    }
    // First the object and then the name, so that nobody finds the one without the other.
    bus_.registerObject(path(), this, QDBusConnection::ExportAdaptors);
    // D-Bus Specification, org.freedesktop.DBus.RequestName: the flag 4 declines to wait for the name, and the answer 3
    // is that another has it. The calls of Qt's own for this cannot be limited in time.
    constexpr quint32 doNotQueue = 4;
    constexpr quint32 exists = 3;
    const QDBusMessage reply = bus_.call(callOfBus(QStringLiteral("RequestName"), {applicationId_, doNotQueue}),
                                         QDBus::Block, busPatienceMilliseconds);
    isFirst_ = onlyAnswer(reply).value_or(QVariant()).toUInt() != exists;
    if (!isFirst_) {
        bus_.unregisterObject(path());
    }
    return isFirst_;
}

std::optional<SingleInstance::Files> SingleInstance::handOver(const Files& files, const QString& token,
                                                              int patienceMilliseconds) const {
    const QDeadlineTimer deadline(patienceMilliseconds);
    const auto isTaken = [&](const char* method, QVariantList arguments, QVariantMap platformData) {
        const auto remaining = static_cast<int>(std::max(deadline.remainingTime(), qint64{1}));
        platformData.insert(deadlineKey(), now() + remaining - std::min((remaining + 1) / 2, answerMilliseconds));
        arguments.append(platformData);
        QDBusMessage message = busCall(applicationId_, path(), QString::fromLatin1(applicationInterface),
                                       QString::fromLatin1(method), arguments);
        message.setAutoStartService(false); // where nobody runs, this start is as good as another
        return bus_.call(message, QDBus::Block, remaining).type() == QDBusMessage::ReplyMessage;
    };
    QVariantMap platformData = platformDataOf(token);
    if (files.empty()) {
        return isTaken("Activate", {}, platformData) ? std::nullopt : std::optional<Files>(Files());
    }
    auto left = files.begin();
    for (const QStringList& uris : requestsFor(files)) {
        if (!isTaken("Open", {uris}, std::exchange(platformData, {}))) { // a token counts once
            return Files(left, files.end());
        }
        left += uris.size();
    }
    return std::nullopt;
}

std::optional<SingleInstance::Files> SingleInstance::becomeFirstOrHandOver(Files files, const QString& token,
                                                                           int patienceMilliseconds) {
    constexpr int mostAsked = 8; // each of them has to end before the next one is asked
    for (int asked = 0; asked < mostAsked && !becomeFirst(); ++asked) {
        const QDeadlineTimer deadline(patienceMilliseconds);
        std::optional<Files> left = handOver(files, token, patienceMilliseconds);
        if (!left) {
            return std::nullopt;
        }
        files = std::move(*left);
        if (deadline.hasExpired()) {
            becomeFirst(); // the one that did not answer may have ended meanwhile
            break;
        }
    }
    return files;
}

QString SingleInstance::path() const {
    QString path = QLatin1Char('/') + applicationId_;
    return path.replace(QLatin1Char('.'), QLatin1Char('/')).replace(QLatin1Char('-'), QLatin1Char('_'));
}

} // namespace ovrel

#include "single_instance.moc"
