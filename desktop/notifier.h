/// \file notifier.h
/// Telling the user of something while the window is not in view.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <optional>

namespace ovrel {

/// Shows one notification at a time, by the desktop's service for notifications or, where that cannot be reached, as in
/// a sandbox, by the portal. Never waits and never fails. Withdraws the notification when it ends. Main thread.
class Notifier : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Notifier)

public:
    /// \param applicationId the name of the program's desktop entry, without its suffix
    explicit Notifier(QString applicationId, QObject* parent = nullptr);
    /// The same with another bus than that of the user's session.
    Notifier(QString applicationId, QDBusConnection bus, QObject* parent = nullptr);
    ~Notifier() override;

    /// Plain texts, in the language of the interface. Replaces the notification that is shown.
    void show(const QString& title, const QString& body);
    /// Does nothing where none is shown.
    void withdraw();

Q_SIGNALS:
    /// The user chose the notification, and expects the window.
    /// \param token lets the window come forward where the desktop asks for that; often empty
    void activated(const QString& token);

private Q_SLOTS:
    void takeToken(quint32 id, const QString& token);
    void takeAction(quint32 id, const QString& action);
    void takeEnd(quint32 id, quint32 reason);
    void takePortalAction(const QString& id, const QString& action, const QVariantList& parameters);

private:
    struct Text {
        QString title;
        QString body;
    };

    void listen();
    void proceed();
    void notify(const Text& text, const QStringList& capabilities);
    void notifyThroughPortal(const Text& text);
    void remove();

    QString applicationId_;
    QDBusConnection bus_;
    bool isListening_ = false;
    bool isAsking_ = false; ///< an answer of the service is on its way
    bool isWanted_ = false;
    std::optional<Text> next_; ///< has not been handed on yet
    quint32 id_ = 0;           ///< of the notification that the service shows, or 0
    bool isInPortal_ = false;  ///< the portal shows one
    QString token_;            ///< for the action that comes next
};

} // namespace ovrel
