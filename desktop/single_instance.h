/// \file single_instance.h
/// One program for all files: a second start hands its files to the program that runs already.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <filesystem>
#include <optional>
#include <vector>

namespace ovrel {

/// What the desktop gave to this start so that its window may come forward; often empty. To be asked for before a
/// QGuiApplication is made, which uses it up.
QString startToken();

/// The name of the program on the user's bus, and what others ask there of whoever holds it
/// (org.freedesktop.Application of the Desktop Entry Specification 1.5). File managers ask, too. Main thread, except
/// where noted.
class SingleInstance : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SingleInstance)

public:
    using Files = std::vector<std::filesystem::path>;

    // Of one request. Whoever asks for more is refused; handOver() asks several times.
    static constexpr qsizetype filesLimit = 10'000;
    static constexpr qsizetype bytesLimit = 4 << 20; ///< of all addresses together

    /// Milliseconds. Where many files are opened at once, the first program answers only when its window is there, and
    /// all the others start beside it.
    static constexpr int usualPatience = 5000;

    /// \param applicationId a reverse domain name, which is the program's name on the bus as well
    explicit SingleInstance(QString applicationId, QDBusConnection bus = QDBusConnection::sessionBus(),
                            QObject* parent = nullptr);
    /// Gives the name up.
    ~SingleInstance() override;

    /// Whether resign() was called.
    bool hasResigned() const { return hasResigned_; }

    /// Tries to be the one that others ask. Waits at most half a second for the bus; where it says nothing, or where
    /// none is, every start is a first one.
    bool becomeFirst();

    /// Ends being first, for a program that is about to end: others may become it at once, and what is asked of this
    /// one from now on is refused, so that whoever asks opens its files without it.
    void resign();

    /// Becomes the first, or hands the files over to whoever is: to another one where that one ends meanwhile, a few
    /// times. Where nobody answers in time, this program opens them although it may not be the first.
    /// \param token of startToken()
    /// \param patienceMilliseconds for each that is asked
    /// \return nothing when others took all and this program may end; else the files that it has to open itself
    std::optional<Files> becomeFirstOrHandOver(Files files, const QString& token,
                                               int patienceMilliseconds = usualPatience);

    /// Asks the program that was first to open these files, or only to come forward where there are none. A relative
    /// path is one from the current folder of this program. Any thread.
    /// \param token of startToken()
    /// \return nothing when it took all; else the files that it did not take, which are all where nobody answers in
    ///         that time. Nor will it take them later: what it finds too late, it refuses.
    std::optional<Files> handOver(const Files& files, const QString& token,
                                  int patienceMilliseconds = usualPatience) const;

Q_SIGNALS:
    // Only of the first one, and only from the event loop, so that nothing is missed before it runs.

    /// The window is to come forward.
    void activated(const QString& token);
    /// These are to be opened, and the window is to come forward. Absolute paths of this machine, at least one; nobody
    /// has looked yet whether they exist. Several requests may follow each other at once.
    void filesOpened(const std::vector<std::filesystem::path>& files, const QString& token);

private:
    QString path() const;

    QString applicationId_;
    QDBusConnection bus_;
    bool isFirst_ = false;
    bool hasResigned_ = false;
};

} // namespace ovrel
